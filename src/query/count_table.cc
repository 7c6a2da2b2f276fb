// Counting lines by a text key.
#include "query/count_table.h"

#include <functional>

namespace sarvik::query {

namespace {

constexpr size_t kFirstSlots = 64;  // a power of two, as every size of the table

}  // namespace

CountTable::CountTable() : slots(kFirstSlots, 0) {}

void CountTable::add(std::string_view key, uint64_t count) {
  size_t hash = std::hash<std::string_view>()(key);
  size_t mask = slots.size() - 1;
  for (size_t i = hash & mask;; i = (i + 1) & mask) {
    uint32_t slot = slots[i];
    if (slot == 0) {
      items.emplace_back(std::string(key), count);
      hashes.push_back(hash);
      slots[i] = static_cast<uint32_t>(items.size());
      // At most half full, so that probes stay short.
      if (items.size() * 2 > slots.size()) grow();
      return;
    }
    if (hashes[slot - 1] == hash && items[slot - 1].first == key) {
      items[slot - 1].second += count;
      return;
    }
  }
}

void CountTable::grow() {
  std::vector<uint32_t> larger(slots.size() * 2, 0);
  size_t mask = larger.size() - 1;
  for (size_t item = 0; item < items.size(); ++item) {
    size_t i = hashes[item] & mask;
    while (larger[i] != 0) i = (i + 1) & mask;
    larger[i] = static_cast<uint32_t>(item + 1);
  }
  slots.swap(larger);
}

void CountTable::merge(const CountTable& other) {
  for (const auto& [key, count] : other.items) add(key, count);
}

}  // namespace sarvik::query
