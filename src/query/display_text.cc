// Text from records made safe for a terminal.
#include "query/display_text.h"

#include <cstdint>
#include <cstdio>

#include "query/utf8.h"

namespace sarvik::query {

namespace {

const char kHex[] = "0123456789abcdef";

void append_hex_byte(std::string* out, unsigned char byte) {
  *out += "\\x";
  *out += kHex[byte >> 4];
  *out += kHex[byte & 0xF];
}

bool is_plain_ascii(unsigned char byte) { return byte >= 0x20 && byte < 0x7F && byte != '\\'; }

}  // namespace

void append_display_text(std::string* out, std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    size_t run = i;
    while (run < text.size() && is_plain_ascii(static_cast<unsigned char>(text[run]))) ++run;
    out->append(text.data() + i, run - i);
    i = run;
    if (i == text.size()) break;
    unsigned char byte = static_cast<unsigned char>(text[i]);
    switch (byte) {
      case '\\':
        *out += "\\\\";
        ++i;
        continue;
      case '\t':
        *out += "\\t";
        ++i;
        continue;
      case '\n':
        *out += "\\n";
        ++i;
        continue;
      case '\r':
        *out += "\\r";
        ++i;
        continue;
    }
    uint32_t code_point = 0;
    size_t length = utf8_sequence(text.substr(i), &code_point);
    if (length == 0 || (length == 1 && is_terminal_control(code_point))) {
      append_hex_byte(out, byte);
      ++i;
    } else if (is_terminal_control(code_point)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code_point));
      *out += escape;
      i += length;
    } else {
      out->append(text.data() + i, length);
      i += length;
    }
  }
}

std::string display_text(std::string_view text) {
  std::string shown;
  append_display_text(&shown, text);
  return shown;
}

size_t display_width(std::string_view shown) {
  size_t width = 0;
  size_t i = 0;
  while (i < shown.size()) {
    uint32_t code_point = 0;
    size_t length = utf8_sequence(shown.substr(i), &code_point);
    if (length == 0) length = 1;  // not expected in shown text; counts as one column
    width += static_cast<size_t>(display_columns(code_point));
    i += length;
  }
  return width;
}

}  // namespace sarvik::query
