// Finding a fixed string in a large buffer at memory speed, with or without regard to ASCII case.
#ifndef SARVIK_QUERY_LITERAL_FINDER_H_
#define SARVIK_QUERY_LITERAL_FINDER_H_

#include <string>

namespace sarvik::query {

// A needle and the fastest search for it that the processor offers: blocks of 16 or 32 bytes
// are tested at once for the needle's first and last byte, and only those candidates are
// compared in full. Immutable after construction; any thread may search with it.
class LiteralFinder {
 public:
  // With `ignore_case`, ASCII letters match either case; other bytes match only themselves.
  LiteralFinder(std::string needle, bool ignore_case);

  // The first occurrence of the needle in [begin, end), or nullptr. An empty needle is found at
  // `begin`.
  const char* find(const char* begin, const char* end) const;

  const std::string& needle() const { return text; }
  bool ignores_case() const { return ignore_case; }

 private:
  // Whether the needle stands at `at`, where at least needle().size() bytes follow.
  bool matches_at(const char* at) const;
  const char* find_bytewise(const char* begin, const char* end) const;

  std::string text;
  bool ignore_case;
  // Per end byte of the needle: the bits that the fold sets (0x20 for a letter under
  // ignore_case, else 0) and the value a matching byte has after it.
  unsigned char first_fold, first_value, last_fold, last_value;
  bool wide;  // 32-byte blocks are available
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_LITERAL_FINDER_H_
