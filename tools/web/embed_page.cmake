# Writes OUTPUT, a C++ source that defines the table of the console's page files
# (web/page_files.h) with the bytes of every file in FILES (a list) and its content type.
#   cmake -DFILES=a;b -DOUTPUT=FILE -P embed_page.cmake
set(entries "")
set(arrays "")
set(index 0)
foreach(input ${FILES})
  get_filename_component(name "${input}" NAME)
  get_filename_component(extension "${input}" LAST_EXT)
  string(TOLOWER "${extension}" extension)
  if(extension STREQUAL ".html")
    set(type "text/html; charset=utf-8")
  elseif(extension STREQUAL ".js")
    set(type "text/javascript; charset=utf-8")
  elseif(extension STREQUAL ".css")
    set(type "text/css; charset=utf-8")
  elseif(extension STREQUAL ".svg")
    set(type "image/svg+xml; charset=utf-8")
  elseif(extension STREQUAL ".json")
    set(type "application/json; charset=utf-8")
  elseif(extension STREQUAL ".png")
    set(type "image/png")
  elseif(extension STREQUAL ".ico")
    set(type "image/x-icon")
  elseif(extension STREQUAL ".txt")
    set(type "text/plain; charset=utf-8")
  else()
    message(FATAL_ERROR "${input}: no content type is known for '${extension}'")
  endif()
  file(READ "${input}" hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(APPEND arrays "const unsigned char kFile${index}[] = {${bytes}0};\n")
  string(APPEND entries "    {\"${name}\", \"${type}\", kFile${index}, ${size}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE "${OUTPUT}.new"
  "// Generated from the files of tools/web/page when the server is built.\n"
  "#include \"web/page_files.h\"\n"
  "namespace sarvik::web {\n"
  "namespace {\n"
  "${arrays}"
  "const PageFile kFiles[] = {\n"
  "${entries}"
  "};\n"
  "}  // namespace\n"
  "const PageFile* page_files_begin() { return kFiles; }\n"
  "const PageFile* page_files_end() { return kFiles + sizeof kFiles / sizeof kFiles[0]; }\n"
  "}  // namespace sarvik::web\n")
file(COPY_FILE "${OUTPUT}.new" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.new")
