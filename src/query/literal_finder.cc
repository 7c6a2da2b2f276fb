// Finding a fixed string in a large buffer at memory speed.
#include "query/literal_finder.h"

#include <cstring>
#include <utility>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace sarvik::query {

namespace {

bool is_ascii_letter(unsigned char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }

unsigned char fold(unsigned char c) { return is_ascii_letter(c) ? c | 0x20 : c; }

#if defined(__x86_64__)

// The block searches: for each position of a block, whether the needle's first byte stands
// there and its last byte needle-length minus one further, both after the fold. A letter's two
// cases are the only bytes that become equal under `| 0x20`, so a candidate is exact for the two
// end bytes; the middle is compared afterwards. Loads stay inside [begin, end).
template <typename Matches>
const char* scan_blocks_sse2(const char* begin, const char* end, size_t length,
                             unsigned char first_fold, unsigned char first_value,
                             unsigned char last_fold, unsigned char last_value,
                             const Matches& matches) {
  const __m128i ff = _mm_set1_epi8(static_cast<char>(first_fold));
  const __m128i fv = _mm_set1_epi8(static_cast<char>(first_value));
  const __m128i lf = _mm_set1_epi8(static_cast<char>(last_fold));
  const __m128i lv = _mm_set1_epi8(static_cast<char>(last_value));
  const char* p = begin;
  for (; p + length - 1 + 16 <= end; p += 16) {
    __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + length - 1));
    __m128i hit = _mm_and_si128(_mm_cmpeq_epi8(_mm_or_si128(first, ff), fv),
                                _mm_cmpeq_epi8(_mm_or_si128(last, lf), lv));
    for (unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(hit)); mask != 0;
         mask &= mask - 1) {
      const char* candidate = p + __builtin_ctz(mask);
      if (matches(candidate)) return candidate;
    }
  }
  return p;  // the caller goes on byte by byte from here
}

template <typename Matches>
__attribute__((target("avx2"))) const char* scan_blocks_avx2(
    const char* begin, const char* end, size_t length, unsigned char first_fold,
    unsigned char first_value, unsigned char last_fold, unsigned char last_value,
    const Matches& matches) {
  const __m256i ff = _mm256_set1_epi8(static_cast<char>(first_fold));
  const __m256i fv = _mm256_set1_epi8(static_cast<char>(first_value));
  const __m256i lf = _mm256_set1_epi8(static_cast<char>(last_fold));
  const __m256i lv = _mm256_set1_epi8(static_cast<char>(last_value));
  const char* p = begin;
  for (; p + length - 1 + 32 <= end; p += 32) {
    __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    __m256i last = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + length - 1));
    __m256i hit = _mm256_and_si256(_mm256_cmpeq_epi8(_mm256_or_si256(first, ff), fv),
                                   _mm256_cmpeq_epi8(_mm256_or_si256(last, lf), lv));
    for (unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(hit)); mask != 0;
         mask &= mask - 1) {
      const char* candidate = p + __builtin_ctz(mask);
      if (matches(candidate)) return candidate;
    }
  }
  return p;
}

#endif

}  // namespace

LiteralFinder::LiteralFinder(std::string needle, bool ignore_case)
    : text(std::move(needle)), ignore_case(ignore_case), wide(false) {
  if (text.empty()) return;
  auto end_byte = [&](unsigned char c, unsigned char* bits, unsigned char* value) {
    bool folds = ignore_case && is_ascii_letter(c);
    *bits = folds ? 0x20 : 0;
    *value = folds ? c | 0x20 : c;
  };
  end_byte(static_cast<unsigned char>(text.front()), &first_fold, &first_value);
  end_byte(static_cast<unsigned char>(text.back()), &last_fold, &last_value);
#if defined(__x86_64__)
  wide = __builtin_cpu_supports("avx2");
#endif
}

bool LiteralFinder::matches_at(const char* at) const {
  if (!ignore_case) return std::memcmp(at, text.data(), text.size()) == 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (fold(static_cast<unsigned char>(at[i])) != fold(static_cast<unsigned char>(text[i]))) {
      return false;
    }
  }
  return true;
}

const char* LiteralFinder::find_bytewise(const char* begin, const char* end) const {
  for (const char* p = begin; p + text.size() <= end; ++p) {
    if (matches_at(p)) return p;
  }
  return nullptr;
}

const char* LiteralFinder::find(const char* begin, const char* end) const {
  if (text.empty()) return begin;
  if (static_cast<size_t>(end - begin) < text.size()) return nullptr;
  if (!ignore_case && text.size() == 1) {
    return static_cast<const char*>(std::memchr(begin, text[0], end - begin));
  }
  const char* rest = begin;
#if defined(__x86_64__)
  // A candidate that is no match returns false and the scan goes on; a match ends it. The scan
  // stops short of the last block, which the byte-wise loop finishes.
  const char* found = nullptr;
  auto matches = [&](const char* candidate) {
    if (!matches_at(candidate)) return false;
    found = candidate;
    return true;
  };
  rest = wide ? scan_blocks_avx2(begin, end, text.size(), first_fold, first_value, last_fold,
                                 last_value, matches)
              : scan_blocks_sse2(begin, end, text.size(), first_fold, first_value, last_fold,
                                 last_value, matches);
  if (found != nullptr) return found;
#endif
  return find_bytewise(rest, end);
}

}  // namespace sarvik::query
