#include "forwarding/placeholders.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace sarvik::forwarding {
namespace {

TEST(FillPlaceholders, ReplacesEachNameWithItsValue) {
  struct Case {
    const char* text;
    const char* filled;
  } cases[] = {
      {"port=\"@HOST@\" @PORT@", "port=\"collector\" 514"},
      {"@HOST@:@PORT@", "collector:514"},
      {"@HOST@@PORT@", "collector514"},
      {"@PORT@ and @PORT@ again, @HOST@", "514 and 514 again, collector"},
      {"@HOST@\n@PORT@\n", "collector\n514\n"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(fill_placeholders(c.text, {{"HOST", "collector"}, {"PORT", "514"}}), c.filled)
        << c.text;
  }
}

TEST(FillPlaceholders, CopiesAnAtSignThatOpensNoName) {
  const char* texts[] = {
      "sarvik@32473 file=\"x\"",
      "$!rfc5424-sd!sarvik@32473!file",
      "a@b.example",
      "@",
      "@@",
      "trailing @",
      "@lower@",
      "@NO END",
  };
  for (const char* text : texts) EXPECT_EQ(fill_placeholders(text, {}), text) << text;
}

TEST(FillPlaceholders, AValueIsNotSearchedForPlaceholders) {
  EXPECT_EQ(fill_placeholders("@A@", {{"A", "@A@"}}), "@A@");
}

TEST(FillPlaceholders, RaisesForAPlaceholderWithoutValue) {
  EXPECT_THROW(fill_placeholders("x @MISSING@ y", {}), std::invalid_argument);
}

TEST(FillPlaceholders, RaisesForAValueWithoutPlaceholder) {
  EXPECT_THROW(fill_placeholders("@A@", {{"A", "1"}, {"B", "2"}}), std::invalid_argument);
}

}  // namespace
}  // namespace sarvik::forwarding
