// Text from records made safe for a terminal: nothing a terminal would act on is sent raw.
#ifndef SARVIK_QUERY_DISPLAY_TEXT_H_
#define SARVIK_QUERY_DISPLAY_TEXT_H_

#include <string>
#include <string_view>

namespace sarvik::query {

// Appends `text` to `out` as a terminal may show it: a backslash becomes "\\", tab, line feed
// and carriage return "\t", "\n", "\r", any other control byte and every byte that is not part
// of valid UTF-8 "\xHH", and the C1 controls and bidirectional controls "\uHHHH". Everything
// else, other UTF-8 included, stays as it is. So escape sequences and forged lines of a hostile
// record are shown, not obeyed, and the escaped text tells the original bytes exactly.
void append_display_text(std::string* out, std::string_view text);

// The same, as a new string.
std::string display_text(std::string_view text);

// The number of terminal columns that `shown` (text that append_display_text produced) takes.
size_t display_width(std::string_view shown);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_DISPLAY_TEXT_H_
