// A deterministic random source for the log corpus, and weighted choices over it.
#include "random.h"

#include <algorithm>
#include <cmath>

namespace sarvik::corpus {

namespace {

uint64_t splitmix64(uint64_t* x) {
  uint64_t z = (*x += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

uint64_t rotl(uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }

}  // namespace

Random::Random(uint64_t seed) {
  for (uint64_t& word : state) word = splitmix64(&seed);
}

uint64_t Random::next() {
  uint64_t result = rotl(state[1] * 5, 7) * 9;
  uint64_t t = state[1] << 17;
  state[2] ^= state[0];
  state[3] ^= state[1];
  state[1] ^= state[2];
  state[0] ^= state[3];
  state[2] ^= t;
  state[3] = rotl(state[3], 45);
  return result;
}

uint32_t Random::below(uint32_t n) {
  // Lemire's multiply-shift; its bias is far below anything a corpus could show.
  return static_cast<uint32_t>(((next() >> 32) * n) >> 32);
}

double Random::unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }

WeightedPick::WeightedPick(const std::vector<double>& weights) {
  cumulative.reserve(weights.size());
  double sum = 0;
  for (double weight : weights) cumulative.push_back(sum += weight);
}

size_t WeightedPick::pick(Random& random) const {
  double target = random.unit() * cumulative.back();
  size_t index =
      std::upper_bound(cumulative.begin(), cumulative.end(), target) - cumulative.begin();
  return std::min(index, cumulative.size() - 1);
}

std::vector<double> zipf_weights(size_t count, double exponent) {
  std::vector<double> weights(count);
  for (size_t rank = 0; rank < count; ++rank) {
    weights[rank] = 1.0 / std::pow(static_cast<double>(rank + 1), exponent);
  }
  return weights;
}

}  // namespace sarvik::corpus
