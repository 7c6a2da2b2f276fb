// Tests of the counting table against a standard map.
#include "query/count_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace sarvik::query {
namespace {

std::map<std::string, uint64_t> as_map(const CountTable& table) {
  std::map<std::string, uint64_t> counts;
  for (const auto& [key, count] : table.entries()) {
    EXPECT_TRUE(counts.emplace(key, count).second) << "twice: " << key;
  }
  return counts;
}

TEST(CountTable, CountsLikeAMapThroughGrowthAndMerge) {
  std::mt19937 random(3);
  CountTable left, right;
  std::map<std::string, uint64_t> expected;
  for (int i = 0; i < 20000; ++i) {
    std::string key = "k" + std::to_string(random() % 3000);
    if (i % 5 == 0) key += std::string("\0,x", 3);  // any bytes may be part of a key
    (i % 2 == 0 ? left : right).add(key);
    ++expected[key];
  }
  left.merge(right);
  EXPECT_EQ(as_map(left), expected);
}

TEST(CountTable, TellsEmptyAndSimilarKeysApart) {
  CountTable table;
  table.add("");
  table.add("a");
  table.add("a", 4);
  table.add(std::string_view("a\0", 2));
  EXPECT_EQ(as_map(table),
            (std::map<std::string, uint64_t>{{"", 1}, {"a", 5}, {std::string("a\0", 2), 1}}));
}

}  // namespace
}  // namespace sarvik::query
