// Tests of the wildcard patterns of --path, --text and --op.
#include "query/text_pattern.h"

#include <gtest/gtest.h>

namespace sarvik::query {
namespace {

constexpr TextPattern::Syntax kPath{true, true, true};
constexpr TextPattern::Syntax kOperation{false, false, false};

struct Case {
  const char* pattern;
  const char* text;
  bool matches;
};

TEST(TextPattern, PathPatternsMatchTheWholeFieldOrASubstring) {
  const Case cases[] = {
      {"reports/q3.xlsx", "reports/q3.xlsx", true},
      {"q3", "reports/q3.xlsx", true},  // no wildcard: a substring
      {"Q3.XLSX", "reports/q3.xlsx", true},
      {"q4", "reports/q3.xlsx", false},
      {"", "anything", true},
      {"*.xlsx", "reports/q3.xlsx", true},
      {"*.XLSX", "reports/q3.xlsx", true},
      {"*.xls", "reports/q3.xlsx", false},  // with a wildcard: the whole field
      {"reports/*", "reports/q3.xlsx", true},
      {"reports/*", "reports/", true},  // a star stands for none too
      {"*", "", true},
      {"*q3*", "reports/q3.xlsx", true},
      {"reports/q?.xlsx", "reports/q3.xlsx", true},
      {"reports/q?.xlsx", "reports/q.xlsx", false},
      {"r?sum?.docx", "R\xC3\xA9sum\xC3\xA9.docx", true},  // '?' is one character, not one byte
      {"r??sum??.docx", "R\xC3\xA9sum\xC3\xA9.docx", false},
      {"*,*", "a,b", true},
      {"a*b*c", "aXbYbZc", true},
      {"a*b*c", "aXbYbZ", false},
      {"\xC3\xA9*", "\xC3\x89t\xC3\xA9", false},  // only ASCII letters fold
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TextPattern(c.pattern, kPath).matches(c.text), c.matches)
        << c.pattern << " on " << c.text;
  }
}

TEST(TextPattern, OperationPatternsAreExactButForStars) {
  const Case cases[] = {
      {"open_read", "open_read", true},  {"open", "open_read", false},
      {"OPEN_READ", "open_read", false}, {"open_*", "open_read", true},
      {"open_*", "open_write", true},    {"*_write", "open_write", true},
      {"open_?ead", "open_read", false},  // '?' stands for itself here
      {"open_?ead", "open_?ead", true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TextPattern(c.pattern, kOperation).matches(c.text), c.matches)
        << c.pattern << " on " << c.text;
  }
}

TEST(TextPattern, OnlyAPlainPatternOffersItsSubstring) {
  EXPECT_NE(TextPattern("q3", kPath).substring(), nullptr);
  EXPECT_EQ(TextPattern("q3", kPath).substring()->needle(), "q3");
  EXPECT_TRUE(TextPattern("q3", kPath).substring()->ignores_case());
  EXPECT_EQ(TextPattern("q*", kPath).substring(), nullptr);
  EXPECT_EQ(TextPattern("q?", kPath).substring(), nullptr);
  EXPECT_EQ(TextPattern("open", kOperation).substring(), nullptr);
}

TEST(TextPattern, ManyStarsOnALongTextStayCheap) {
  std::string text(20000, 'a');
  // Backtracking to every star would take forever here; returning only to the last one does not.
  EXPECT_FALSE(TextPattern("*a*a*a*a*a*a*a*a*a*a*b", kPath).matches(text));
  EXPECT_TRUE(TextPattern("*a*a*a*a*a*a*a*a*a*a*", kPath).matches(text));
}

}  // namespace
}  // namespace sarvik::query
