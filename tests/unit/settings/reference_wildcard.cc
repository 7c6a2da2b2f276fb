// The recursive star matcher, transcribed step by step.
#include "reference_wildcard.h"

#include <cctype>

namespace sarvik::testing {

bool reference_match_wildcard(const char* text_begin, const char* text_end,
                              const char* pattern_begin, const char* pattern_end) {
  const char* text = text_begin;
  const char* pattern = pattern_begin;
  bool after_star = false;
  while (text != text_end && pattern != pattern_end) {
    if (*pattern == '*') {
      ++pattern;
      after_star = true;
      continue;
    }
    if (after_star) {
      if (reference_match_wildcard(text, text_end, pattern, pattern_end)) return true;
      ++text;
      continue;
    }
    if (tolower(static_cast<signed char>(*text)) != tolower(static_cast<signed char>(*pattern))) {
      return false;
    }
    ++text;
    ++pattern;
  }
  if (text == text_end) return pattern == pattern_end;
  return after_star;
}

}  // namespace sarvik::testing
