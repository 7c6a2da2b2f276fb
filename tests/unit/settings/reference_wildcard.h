// The star matcher as a plain recursive walk, the reference that the bounded matcher must equal.
#ifndef SARVIK_TESTS_UNIT_SETTINGS_REFERENCE_WILDCARD_H_
#define SARVIK_TESTS_UNIT_SETTINGS_REFERENCE_WILDCARD_H_

namespace sarvik::testing {

// Walks text and pattern with one flag, `after_star`; behind a star it tries the rest of the
// pattern at each later text position by recursion. Exact but unbounded in cost: a pattern with
// k stars against n bytes can take about n^k / k! steps. For tests and benchmarks only.
bool reference_match_wildcard(const char* text_begin, const char* text_end,
                              const char* pattern_begin, const char* pattern_end);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_SETTINGS_REFERENCE_WILDCARD_H_
