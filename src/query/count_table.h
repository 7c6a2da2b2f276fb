// Counting lines by a text key, with no allocation for a key that has been seen before.
#ifndef SARVIK_QUERY_COUNT_TABLE_H_
#define SARVIK_QUERY_COUNT_TABLE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sarvik::query {

// An open-addressing hash table from byte strings to counts. Lookups take a view, so counting a
// line whose key is known costs a hash and a comparison. One thread at a time.
class CountTable {
 public:
  CountTable();

  void add(std::string_view key, uint64_t count = 1);
  // Adds every count of `other`.
  void merge(const CountTable& other);

  // The keys with their counts, in no particular order.
  const std::vector<std::pair<std::string, uint64_t>>& entries() const { return items; }

 private:
  void grow();

  std::vector<std::pair<std::string, uint64_t>> items;
  std::vector<uint32_t> slots;  // 0: empty, else an index into items plus one
  std::vector<size_t> hashes;   // of items, kept for growing
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_COUNT_TABLE_H_
