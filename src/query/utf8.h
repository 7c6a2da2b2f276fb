// The UTF-8 facts that the output forms need: valid sequences, code points, display width.
#ifndef SARVIK_TOOLS_LOG_UTF8_H_
#define SARVIK_TOOLS_LOG_UTF8_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sarvik::query {

// The length of the valid UTF-8 sequence at the front of `text` (1 to 4 bytes), its code point
// in `code_point`; 0 when the front byte starts no valid sequence (stray continuation bytes,
// overlong forms, surrogates, beyond U+10FFFF, a sequence cut short). `text` is not empty.
size_t utf8_sequence(std::string_view text, uint32_t* code_point);

// The columns a terminal gives the code point: 2 for the wide East Asian ranges, else 1.
int display_columns(uint32_t code_point);

// Whether a terminal acts on the code point instead of showing it, or may reorder text around
// it: C0 and C1 controls, DEL, and the bidirectional embeddings, overrides and isolates.
bool is_terminal_control(uint32_t code_point);

}  // namespace sarvik::query

#endif  // SARVIK_TOOLS_LOG_UTF8_H_
