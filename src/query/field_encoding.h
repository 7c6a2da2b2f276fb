// One field in each output form: CSV, TSV, JSON and the terminal's table.
#ifndef SARVIK_QUERY_FIELD_ENCODING_H_
#define SARVIK_QUERY_FIELD_ENCODING_H_

#include <string>
#include <string_view>

namespace sarvik::query {

// RFC 4180: the field in double quotes, its quotes doubled, when it holds a comma, a quote, a CR
// or a LF; otherwise as it stands. With `terminal`, the text is first made safe for a terminal
// (append_display_text), so no control byte is written raw. `scratch` is working space.
void append_csv_field(std::string* out, std::string_view text, bool terminal, std::string* scratch);

// Tab-separated values cannot quote: a backslash, tab, LF and CR in the field are written
// "\\", "\t", "\n", "\r". With `terminal`, every other control byte is escaped too.
void append_tsv_field(std::string* out, std::string_view text, bool terminal);

// A JSON string, quotes included. Invalid UTF-8 becomes U+FFFD; control characters, DEL, the C1
// controls and the bidirectional controls are written as escapes, so the text is valid JSON
// and safe on a terminal alike.
void append_json_string(std::string* out, std::string_view text);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_FIELD_ENCODING_H_
