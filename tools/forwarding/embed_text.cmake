# Writes OUTPUT, a C++ source that defines the NUL-terminated array sarvik::forwarding::NAME with
# the bytes of INPUT, declared in forwarding/embedded_templates.h.
#   cmake -DINPUT=FILE -DOUTPUT=FILE -DNAME=IDENTIFIER -P embed_text.cmake
file(READ "${INPUT}" hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
get_filename_component(source_name "${INPUT}" NAME)
file(WRITE "${OUTPUT}"
  "// Generated from ${source_name} when the tool is built.\n"
  "#include \"forwarding/embedded_templates.h\"\n"
  "namespace sarvik::forwarding {\n"
  "const char ${NAME}[] = {${bytes}0};\n"
  "}  // namespace sarvik::forwarding\n")
