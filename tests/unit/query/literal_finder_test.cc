// Tests of the block search for a fixed string against a plain search, on every alignment.
#include "query/literal_finder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace sarvik::query {
namespace {

char fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

const char* plain_find(const std::string& text, size_t from, const std::string& needle,
                       bool ignore_case) {
  for (size_t i = from; i + needle.size() <= text.size(); ++i) {
    bool same = true;
    for (size_t j = 0; same && j < needle.size(); ++j) {
      same = ignore_case ? fold(text[i + j]) == fold(needle[j]) : text[i + j] == needle[j];
    }
    if (same) return text.data() + i;
  }
  return nullptr;
}

TEST(LiteralFinder, FindsWhatAPlainSearchFindsAtEveryPosition) {
  std::mt19937 random(11);
  // Few letters, so that candidates abound; '@' and '`' differ from letters only in bit 0x20.
  const char alphabet[] = "aAbB@`,\xC3\xA9";
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    size_t length = random() % 200;
    for (size_t i = 0; i < length; ++i) text += alphabet[random() % (sizeof alphabet - 1)];
    std::string needle;
    size_t needle_length = 1 + random() % 6;
    for (size_t i = 0; i < needle_length; ++i) {
      needle += alphabet[random() % (sizeof alphabet - 1)];
    }
    for (bool ignore_case : {false, true}) {
      LiteralFinder finder(needle, ignore_case);
      size_t from = text.empty() ? 0 : random() % text.size();
      const char* found = finder.find(text.data() + from, text.data() + text.size());
      ASSERT_EQ(found, plain_find(text, from, needle, ignore_case))
          << "round " << round << " needle '" << needle << "' case " << ignore_case;
    }
  }
}

TEST(LiteralFinder, LettersFoldOnlyWhenAsked) {
  std::string text = "x REPORTS/Q3.XLSX y";
  EXPECT_EQ(LiteralFinder("q3.xlsx", false).find(text.data(), text.data() + text.size()), nullptr);
  EXPECT_EQ(LiteralFinder("q3.xlsx", true).find(text.data(), text.data() + text.size()),
            text.data() + 10);
  // Signs that differ from a letter or from each other in the bit 0x20 alone do not fold.
  std::string signs = "@`[{";
  EXPECT_EQ(LiteralFinder("`", true).find(signs.data(), signs.data() + signs.size()),
            signs.data() + 1);
  EXPECT_EQ(LiteralFinder("{", true).find(signs.data(), signs.data() + signs.size()),
            signs.data() + 3);
  EXPECT_EQ(LiteralFinder("", true).find(signs.data(), signs.data() + signs.size()), signs.data());
}

}  // namespace
}  // namespace sarvik::query
