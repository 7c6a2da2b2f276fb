// One field in each output form.
#include "query/field_encoding.h"

#include <cstdint>
#include <cstdio>

#include "query/display_text.h"
#include "query/utf8.h"

namespace sarvik::query {

namespace {

constexpr char kReplacementCharacter[] = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

bool is_plain_json(unsigned char byte) {
  return byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\';
}

void append_json_escape(std::string* out, uint32_t code_point) {
  switch (code_point) {
    case '"':
      *out += "\\\"";
      return;
    case '\\':
      *out += "\\\\";
      return;
    case '\n':
      *out += "\\n";
      return;
    case '\r':
      *out += "\\r";
      return;
    case '\t':
      *out += "\\t";
      return;
  }
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code_point));
  *out += escape;
}

}  // namespace

void append_csv_field(std::string* out, std::string_view text, bool terminal,
                      std::string* scratch) {
  if (terminal) {
    scratch->clear();
    append_display_text(scratch, text);
    text = *scratch;
  }
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out->append(text);
    return;
  }
  *out += '"';
  for (char c : text) {
    if (c == '"') *out += '"';
    *out += c;
  }
  *out += '"';
}

void append_tsv_field(std::string* out, std::string_view text, bool terminal) {
  if (terminal) {
    append_display_text(out, text);
    return;
  }
  for (char c : text) {
    switch (c) {
      case '\\':
        *out += "\\\\";
        break;
      case '\t':
        *out += "\\t";
        break;
      case '\n':
        *out += "\\n";
        break;
      case '\r':
        *out += "\\r";
        break;
      default:
        *out += c;
    }
  }
}

void append_json_string(std::string* out, std::string_view text) {
  *out += '"';
  size_t i = 0;
  while (i < text.size()) {
    size_t run = i;
    while (run < text.size() && is_plain_json(static_cast<unsigned char>(text[run]))) ++run;
    out->append(text.data() + i, run - i);
    i = run;
    if (i == text.size()) break;
    uint32_t code_point = 0;
    size_t length = utf8_sequence(text.substr(i), &code_point);
    if (length == 0) {
      *out += kReplacementCharacter;
      ++i;
    } else if (code_point == '"' || code_point == '\\' || is_terminal_control(code_point)) {
      append_json_escape(out, code_point);
      i += length;
    } else {
      out->append(text.data() + i, length);
      i += length;
    }
  }
  *out += '"';
}

}  // namespace sarvik::query
