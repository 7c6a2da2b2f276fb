// The trigrams of a text as the index's signature keeps them: three bytes, ASCII case folded.
#ifndef SARVIK_QUERY_TRIGRAMS_H_
#define SARVIK_QUERY_TRIGRAMS_H_

#include <cstdint>
#include <string_view>

namespace sarvik::query {

// A byte with an ASCII capital letter made small; other bytes stay.
inline uint32_t folded_byte(char c) {
  unsigned char byte = static_cast<unsigned char>(c);
  return byte >= 'A' && byte <= 'Z' ? byte | 0x20u : byte;
}

// The row of the signature, of 2^row_bits rows, that a trigram (its three folded bytes, the
// first in the high bits) sets. The rows of a smaller signature are the leading bits of those
// of a larger one, so a signature can be folded to fewer rows after it was built.
inline uint32_t trigram_row(uint32_t trigram, unsigned row_bits) {
  return static_cast<uint32_t>((trigram * uint64_t{0x9E3779B97F4A7C15}) >> (64 - row_bits));
}

// Calls `take(trigram)` for every run of three bytes of `text`, folded.
template <typename Take>
void for_each_trigram(std::string_view text, const Take& take) {
  uint32_t trigram = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    trigram = ((trigram << 8) | folded_byte(text[i])) & 0xFFFFFFu;
    if (i >= 2) take(trigram);
  }
}

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_TRIGRAMS_H_
