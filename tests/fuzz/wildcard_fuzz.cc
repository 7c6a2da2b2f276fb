// Fuzz target: the bounded star matcher against the plain recursive walk, byte for byte.
#include <algorithm>
#include <string>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "settings/alert_info.h"
#include "unit/settings/reference_wildcard.h"

namespace {

// The recursive walk costs about text^runs / runs! steps for a pattern with that many star
// runs; these bounds keep one input well under a millisecond.
constexpr size_t kMaxPattern = 24;
constexpr size_t kMaxText = 40;
constexpr int kMaxStarRuns = 5;

int star_runs(const std::string& pattern) {
  int runs = 0;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '*' && (i == 0 || pattern[i - 1] != '*')) ++runs;
  }
  return runs;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  sarvik::fuzzing::FuzzInput in(data, size);
  std::string pattern = in.take_text(kMaxPattern);
  std::string text = in.take_rest(kMaxText);
  if (star_runs(pattern) > kMaxStarRuns) return 0;

  const sarvik::AlertInfo rule("fuzz");
  const char* text_end = text.data() + text.size();
  const char* pattern_end = pattern.data() + pattern.size();
  bool fast = rule.match_wildcard(text.data(), text_end, pattern.data(), pattern_end);
  bool reference =
      sarvik::testing::reference_match_wildcard(text.data(), text_end, pattern.data(), pattern_end);
  if (fast != reference) sarvik::fuzzing::fuzz_fail("match_wildcard differs from the walk");
  return 0;
}
