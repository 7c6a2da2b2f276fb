// Tests of each filter on the columns of a line, of --grep, and of the string looked for first.
#include "query/record_filter.h"

#include <gtest/gtest.h>

#include <string>

namespace sarvik::query {
namespace {

const char kLine[] =
    "2024/03/04 12:34:56,alice,pc1,192.0.2.7,open_write,fail (Permission denied),docs,"
    "reports/Q3, final.xlsx";

// Filter values built up option by option, as the command line gives them.
struct Values : FilterValues {
  Values& user(const std::string& v) { return add(&FilterValues::users, v); }
  Values& host(const std::string& v) { return add(&FilterValues::hosts, v); }
  Values& share(const std::string& v) { return add(&FilterValues::shares, v); }
  Values& ip(const std::string& v) { return add(&FilterValues::addresses, v); }
  Values& op(const std::string& v) { return add(&FilterValues::operations, v); }
  Values& result(const std::string& v) { return add(&FilterValues::results, v); }
  Values& path(const std::string& v) { return add(&FilterValues::paths, v); }
  Values& text(const std::string& v) { return add(&FilterValues::texts, v); }
  Values& grep(const std::string& v) { return add(&FilterValues::greps, v); }

 private:
  Values& add(std::vector<std::string> FilterValues::*field, const std::string& value) {
    (this->*field).push_back(value);
    return *this;
  }
};

RecordFilter built(const FilterValues& values) {
  RecordFilter filter;
  std::string error;
  EXPECT_TRUE(filter.build(values, &error)) << error;
  return filter;
}

bool passes(const FilterValues& values, const char* line = kLine) {
  RecordFilter filter = built(values);
  return filter.accepts(read_access_columns(line)) && filter.accepts_line(line);
}

TEST(RecordFilter, NoFilterPassesEverything) {
  EXPECT_TRUE(passes(Values()));
  EXPECT_FALSE(built(Values()).has_field_filters());
  EXPECT_EQ(built(Values()).needle(), nullptr);
}

TEST(RecordFilter, UserIgnoresAsciiCaseAndIsExact) {
  EXPECT_TRUE(passes(Values().user("alice")));
  EXPECT_TRUE(passes(Values().user("ALICE")));
  EXPECT_FALSE(passes(Values().user("alic")));
  EXPECT_TRUE(passes(Values().user("bob").user("Alice")));  // alternatives
}

TEST(RecordFilter, HostShareAndAddressAreExact) {
  EXPECT_TRUE(passes(Values().host("pc1")));
  EXPECT_FALSE(passes(Values().host("PC1")));
  EXPECT_FALSE(passes(Values().host("pc")));
  EXPECT_TRUE(passes(Values().share("docs")));
  EXPECT_FALSE(passes(Values().share("doc")));
  EXPECT_TRUE(passes(Values().ip("192.0.2.7")));
  EXPECT_TRUE(passes(Values().ip("192.0.2.0/24")));
  EXPECT_FALSE(passes(Values().ip("198.51.100.0/24")));
}

TEST(RecordFilter, OperationAndResult) {
  EXPECT_TRUE(passes(Values().op("open_write")));
  EXPECT_TRUE(passes(Values().op("open_*")));
  EXPECT_FALSE(passes(Values().op("open")));
  EXPECT_TRUE(passes(Values().result("fail")));  // any reason
  EXPECT_FALSE(passes(Values().result("ok")));
  EXPECT_TRUE(passes(Values().result("ok").result("fail")));
  std::string ok_line = "2024/03/04 12:34:56,bob,pc2,192.0.2.8,delete,ok,docs,x";
  EXPECT_TRUE(passes(Values().result("ok"), ok_line.c_str()));
}

TEST(RecordFilter, PathIsAPatternOrASubstringWithCommasRestored) {
  EXPECT_TRUE(passes(Values().path("q3, final")));
  EXPECT_TRUE(passes(Values().path("REPORTS/*.xlsx")));
  EXPECT_TRUE(passes(Values().path("*final.xlsx")));
  EXPECT_FALSE(passes(Values().path("*.xls")));
  EXPECT_FALSE(passes(Values().path("docs")));  // the share is no part of the path
}

TEST(RecordFilter, DifferentOptionsMustAllHold) {
  EXPECT_TRUE(passes(Values().user("alice").share("docs").result("fail")));
  EXPECT_FALSE(passes(Values().user("alice").share("home")));
}

TEST(RecordFilter, GrepSearchesTheWholeLine) {
  EXPECT_TRUE(passes(Values().grep("Permission denied")));
  EXPECT_TRUE(passes(Values().grep("^2024/03/04 12:")));
  EXPECT_TRUE(passes(Values().grep("nothing").grep("alice,pc1")));
  EXPECT_FALSE(passes(Values().grep("permission denied")));
  EXPECT_TRUE(passes(Values().grep("(?i)permission denied")));
  EXPECT_TRUE(passes(Values().grep("xlsx$").grep("^alice")));  // either
}

TEST(RecordFilter, RefusesBadValues) {
  RecordFilter filter;
  std::string error;
  EXPECT_FALSE(filter.build(Values().result("failed"), &error));
  EXPECT_NE(error.find("--result"), std::string::npos);
  EXPECT_FALSE(RecordFilter().build(Values().ip("pc1"), &error));
  EXPECT_NE(error.find("--ip"), std::string::npos);
  EXPECT_FALSE(RecordFilter().build(Values().grep("(unclosed"), &error));
  EXPECT_NE(error.find("--grep"), std::string::npos);
  EXPECT_FALSE(RecordFilter().build(Values().grep("fine").grep("a)(b"), &error));
}

TEST(RecordFilter, TextMatchesAnyOfTheThreeTextsAndTheJoinedOnes) {
  RecordFilter filter = built(Values().text("finished"));
  EXPECT_TRUE(filter.accepts(read_system_columns("2024/03/04 12:00:00,backup,finished,ok")));
  EXPECT_FALSE(filter.accepts(read_system_columns("2024/03/04 12:00:00,backup,started,ok")));
  // With a comma in a text, which text held it cannot be told: the texts as joined count too.
  // Four columns hold no comma in a text, so there the texts are known.
  RecordFilter joined = built(Values().text("a,b"));
  EXPECT_FALSE(joined.accepts(read_system_columns("2024/03/04 12:00:00,a,b,c")));
  EXPECT_TRUE(joined.accepts(read_system_columns("2024/03/04 12:00:00,x,a,b,c")));
}

TEST(RecordFilter, LooksFirstForAStringEveryMatchHolds) {
  EXPECT_EQ(built(Values().grep("IMG_0001")).needle()->needle(), "IMG_0001");
  EXPECT_FALSE(built(Values().grep("IMG_0001")).needle()->ignores_case());
  EXPECT_EQ(built(Values().grep("IMG_0001.jpg")).needle()->needle(), "IMG_0001");
  EXPECT_EQ(built(Values().grep("a").grep("b")).needle(), nullptr);  // either may match
  EXPECT_EQ(built(Values().path("q3.xlsx")).needle()->needle(), "q3.xlsx");
  EXPECT_TRUE(built(Values().path("q3.xlsx")).needle()->ignores_case());
  EXPECT_EQ(built(Values().path("*.xlsx")).needle(), nullptr);
  EXPECT_EQ(built(Values().path("a").path("b")).needle(), nullptr);
  // A plain --grep wins over the path, as it is exact.
  EXPECT_EQ(built(Values().path("q3").grep("alice")).needle()->needle(), "alice");
}

struct LiteralCase {
  const char* pattern;
  const char* literal;
};

TEST(RequiredLiteral, TakesOnlyWhatEveryMatchHolds) {
  const LiteralCase cases[] = {
      {"IMG_0001.jpg", "IMG_0001"},
      {"reports/q3\\.xlsx", "reports/q3.xlsx"},
      {"abc?def", "def"},  // the c is optional
      {"abcd*ef", "abc"},
      {"ab{2}cde", "cde"},
      {"abc+de", "abc"},
      {"^alice,pc", "alice,pc"},
      {"(x|y)longer", "longer"},  // an alternative inside a group leaves the rest required
      {"a|bcdef", ""},            // an alternative at the top: nothing is required
      {"[abc]defg", "defg"},
      {"[]abc]de", "de"},
      {"\\d+abcd", "abcd"},
      {"\\x41bc", ""},     // an escape that runs on
      {"(?i)abcdef", ""},  // flags change what matches
      {"caf\xC3\xA9?x", "caf"},
      {".*", ""},
      {"", ""},
  };
  for (const LiteralCase& c : cases) {
    EXPECT_EQ(required_literal(c.pattern), c.literal) << c.pattern;
  }
}

TEST(RequiredLiteral, PlainStringsHaveNoSpecialCharacter) {
  EXPECT_TRUE(is_plain_string("budget, final"));
  EXPECT_TRUE(is_plain_string("R\xC3\xA9sum\xC3\xA9"));
  EXPECT_FALSE(is_plain_string("q3.xlsx"));
  EXPECT_FALSE(is_plain_string("a|b"));
  EXPECT_FALSE(is_plain_string(""));
}

}  // namespace
}  // namespace sarvik::query
