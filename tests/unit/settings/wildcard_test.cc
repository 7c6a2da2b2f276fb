// The star matcher: a table of cases, and equality with the recursive reference on every short
// pattern and text and on many random ones.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "reference_wildcard.h"
#include "settings/alert_info.h"

namespace sarvik {
namespace {

bool wildcard(const std::string& text, const std::string& pattern) {
  static const AlertInfo rule("rule");
  return rule.match_wildcard(text.data(), text.data() + text.size(), pattern.data(),
                             pattern.data() + pattern.size());
}

bool reference(const std::string& text, const std::string& pattern) {
  return testing::reference_match_wildcard(text.data(), text.data() + text.size(), pattern.data(),
                                           pattern.data() + pattern.size());
}

struct WildcardCase {
  const char* pattern;
  const char* text;
  bool matches;
};

const WildcardCase kCases[] = {
    {"*.txt", "a.TXT", true},      // case is ignored
    {"*.txt", ".txt", true},       // a star before more pattern may be empty
    {"*.txt", "dir/a.txt", true},  // and may cover a slash
    {"*.txt", "a.txt.bak", false},
    {"a?c", "a?c", true},  // the question mark is a plain character
    {"a?c", "abc", false},
    {"a?c", "a?C", true},
    {"*", "x", true},  // a lone star needs at least one character
    {"*", "any text", true},
    {"*", "", false},
    {"**", "x", true},  // consecutive stars collapse
    {"**", "", false},
    {"a**b", "ab", true},
    {"a*", "a", false},  // a trailing star needs one more character
    {"a*", "ab", true},
    {"abc*", "abc", false},
    {"abc*", "abcd", true},
    {"a*c*", "abc", false},
    {"a*c*", "abcd", true},
    {"a*b", "ab", true},
    {"a*b", "axxb", true},
    {"a*b", "abx", false},
    {"*b", "b", true},
    {"*a*", "a", false},
    {"*a*", "ab", true},
    {"*a*", "ba", false},
    {"a\\b", "a\\b", true},  // backslash is a plain character, it escapes nothing
    {"a\\b", "ab", false},
    {"a\\*", "a*", false},  // nor does it make the star plain
    {"a\\*", "a\\x", true},
    {"ABC", "abc", true},
    {"abc", "ABC", true},
    {"\xC3\x89", "\xC3\xA9", false},  // bytes above 127 do not fold
    {"\xC3\xA9", "\xC3\xA9", true},
    {"a", "*", false},  // a star in the text is a plain character
    {"*", "*", true},
    {"abc", "abcd", false},
    {"abcd", "abc", false},
};

TEST(MatchWildcard, TableOfCases) {
  for (const WildcardCase& c : kCases) {
    EXPECT_EQ(wildcard(c.text, c.pattern), c.matches) << c.pattern << " / " << c.text;
    EXPECT_EQ(reference(c.text, c.pattern), c.matches) << c.pattern << " / " << c.text;
  }
}

TEST(MatchWildcard, ManyStarsAgainstALongText) {
  std::string text(4096, 'a');
  std::string pattern;
  for (int i = 0; i < 10; ++i) pattern += "*a";
  EXPECT_FALSE(wildcard(text, pattern + "*b"));
  EXPECT_TRUE(wildcard(text.substr(1) + "b", pattern + "*b"));
  EXPECT_TRUE(wildcard(text, pattern + "*"));
  EXPECT_FALSE(wildcard(std::string(10, 'a'), pattern + "*"));
  EXPECT_TRUE(wildcard(std::string(11, 'a'), pattern + "*"));
}

// Every string of length 0 to `max_length` over `alphabet`.
std::vector<std::string> all_strings(const std::string& alphabet, size_t max_length) {
  std::vector<std::string> strings{""};
  for (size_t begin = 0; begin < strings.size(); ++begin) {
    if (strings[begin].size() == max_length) continue;
    for (char c : alphabet) strings.push_back(strings[begin] + c);
  }
  return strings;
}

// A star, one letter in both cases, another letter, the question mark and a byte above 127.
const std::string kAlphabet = "*aAb?\xE9";

// One test per pattern length, so that the work spreads over parallel test runs.
class MatchWildcardExhaustive : public ::testing::TestWithParam<size_t> {};

TEST_P(MatchWildcardExhaustive, EqualsTheReferenceOnEveryShortText) {
  std::vector<std::string> texts = all_strings(kAlphabet, 5);
  int differences = 0;
  for (const std::string& pattern : all_strings(kAlphabet, GetParam())) {
    if (pattern.size() != GetParam()) continue;
    for (const std::string& text : texts) {
      if (wildcard(text, pattern) != reference(text, pattern) && ++differences <= 10) {
        ADD_FAILURE() << "pattern \"" << pattern << "\" text \"" << text << "\"";
      }
    }
  }
  EXPECT_EQ(differences, 0);
}

INSTANTIATE_TEST_SUITE_P(PatternLength, MatchWildcardExhaustive,
                         ::testing::Values(0, 1, 2, 3, 4, 5, 6));

TEST(MatchWildcard, EqualsTheReferenceOnRandomCases) {
  std::mt19937 random(20240611);
  std::uniform_int_distribution<size_t> pattern_length(0, 12);
  std::uniform_int_distribution<size_t> text_length(0, 24);
  std::uniform_int_distribution<size_t> pick(0, kAlphabet.size() - 1);
  std::bernoulli_distribution star(0.3);
  // Texts mostly of the one letter, so that a good share of the cases match.
  std::discrete_distribution<size_t> text_byte{1, 6, 3, 1, 1, 1};
  int differences = 0;
  int matches = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string pattern;
    for (size_t n = pattern_length(random); n > 0; --n) {
      pattern += star(random) ? '*' : kAlphabet[pick(random)];
    }
    std::string text;
    for (size_t n = text_length(random); n > 0; --n) text += kAlphabet[text_byte(random)];
    bool expected = reference(text, pattern);
    matches += expected;
    if (wildcard(text, pattern) != expected && ++differences <= 10) {
      ADD_FAILURE() << "pattern \"" << pattern << "\" text \"" << text << "\"";
    }
  }
  EXPECT_EQ(differences, 0);
  EXPECT_GT(matches, 10000);  // the cases are not all mismatches
}

}  // namespace
}  // namespace sarvik
