// The star matcher on its worst cases: long texts against patterns of many stars, beside the
// recursive reference, whose cost grows with the product of the runs between the stars.
#include <benchmark/benchmark.h>

#include <string>

#include "settings/alert_info.h"
#include "unit/settings/reference_wildcard.h"

namespace sarvik {
namespace {

// `stars` stars, each but the last followed by "a", the last by "b": never matches a text of
// only "a", and the recursive walk tries every placement of the a's.
std::string stars_then_b(int stars) {
  std::string pattern;
  for (int i = 1; i < stars; ++i) pattern += "*a";
  return pattern + "*b";
}

template <typename Matcher>
void run(benchmark::State& state, const std::string& text, const std::string& pattern,
         Matcher matcher) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(matcher(text.data(), text.data() + text.size(), pattern.data(),
                                     pattern.data() + pattern.size()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}

bool bounded(const char* tb, const char* te, const char* pb, const char* pe) {
  static const AlertInfo rule("bench");
  return rule.match_wildcard(tb, te, pb, pe);
}

// A 4 KB text of "a" against 2 to 10 stars.
void BM_BoundedStars4K(benchmark::State& state) {
  run(state, std::string(4096, 'a'), stars_then_b(static_cast<int>(state.range(0))), bounded);
}
BENCHMARK(BM_BoundedStars4K)->DenseRange(2, 10);

// The bounded matcher's own worst case: one star, then a long run that fails at its last byte
// at every position of the text.
void BM_BoundedLongRun4K(benchmark::State& state) {
  std::string pattern = "*" + std::string(static_cast<size_t>(state.range(0)), 'a') + "b";
  run(state, std::string(4096, 'a'), pattern, bounded);
}
BENCHMARK(BM_BoundedLongRun4K)->RangeMultiplier(4)->Range(4, 1024);

// A pattern ending in stars against 4 KB that never contain its last letter.
void BM_BoundedTrailingStar4K(benchmark::State& state) {
  run(state, std::string(4096, 'a'), "*a*a*a*a*b*", bounded);
}
BENCHMARK(BM_BoundedTrailingStar4K);

// The recursive reference: text length n and k stars, about n^(k-1) / (k-1)! steps.
void BM_ReferenceStars(benchmark::State& state) {
  run(state, std::string(static_cast<size_t>(state.range(0)), 'a'),
      stars_then_b(static_cast<int>(state.range(1))), testing::reference_match_wildcard);
}
// Kept to sizes that end in about a second; 4096 bytes against 3 stars take about a minute.
BENCHMARK(BM_ReferenceStars)
    ->ArgsProduct({{16, 64, 256, 1024}, {2, 3}})
    ->Args({4096, 2})
    ->ArgsProduct({{16, 32, 64}, {4, 5, 6}})
    ->Args({128, 4})
    ->Args({128, 5})
    ->Unit(benchmark::kMicrosecond);

// The bounded matcher on the same small sizes, for a side-by-side reading.
void BM_BoundedStars(benchmark::State& state) {
  run(state, std::string(static_cast<size_t>(state.range(0)), 'a'),
      stars_then_b(static_cast<int>(state.range(1))), bounded);
}
BENCHMARK(BM_BoundedStars)
    ->ArgsProduct({{16, 64, 256, 1024, 4096}, {2, 3}})
    ->ArgsProduct({{16, 32, 64, 128}, {4, 5, 6}})
    ->Unit(benchmark::kMicrosecond);

// Half as many stars as text bytes: the recursive walk is exponential in the length.
void BM_ReferenceHalfStars(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  run(state, std::string(static_cast<size_t>(n), 'a'), stars_then_b(n / 2),
      testing::reference_match_wildcard);
}
BENCHMARK(BM_ReferenceHalfStars)->DenseRange(8, 28, 4)->Unit(benchmark::kMicrosecond);

void BM_BoundedHalfStars(benchmark::State& state) {
  int n = static_cast<int>(state.range(0));
  run(state, std::string(static_cast<size_t>(n), 'a'), stars_then_b(n / 2), bounded);
}
BENCHMARK(BM_BoundedHalfStars)->DenseRange(8, 28, 4)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace sarvik
