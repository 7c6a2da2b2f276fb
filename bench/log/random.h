// A deterministic random source for the log corpus, and weighted choices over it.
#ifndef SARVIK_BENCH_LOG_RANDOM_H_
#define SARVIK_BENCH_LOG_RANDOM_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace sarvik::corpus {

// xoshiro256** seeded through splitmix64. The standard library's distributions differ between
// implementations, so every draw here is plain arithmetic: one seed gives one corpus on any
// build. Not thread-safe; each thread of generation owns its own.
class Random {
 public:
  explicit Random(uint64_t seed);

  uint64_t next();
  // Uniform in [0, n); n must be above 0.
  uint32_t below(uint32_t n);
  // Uniform in [0, 1).
  double unit();
  // True with probability `p`.
  bool chance(double p) { return unit() < p; }

 private:
  uint64_t state[4];
};

// Draws indices 0..n-1 in proportion to fixed weights.
class WeightedPick {
 public:
  WeightedPick() = default;
  explicit WeightedPick(const std::vector<double>& weights);

  size_t pick(Random& random) const;
  size_t size() const { return cumulative.size(); }

 private:
  std::vector<double> cumulative;
};

// Weights 1/rank^exponent for ranks 1..count: a few items take most of the draws, as the
// busiest users and the most used files do.
std::vector<double> zipf_weights(size_t count, double exponent);

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_RANDOM_H_
