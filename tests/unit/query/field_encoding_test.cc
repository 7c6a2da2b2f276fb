// Tests of the encodings of one field: CSV, TSV, JSON, and text made safe for a terminal.
#include "query/field_encoding.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "query/display_text.h"

namespace sarvik::query {
namespace {

std::string csv(const std::string& text, bool terminal = false) {
  std::string out, scratch;
  append_csv_field(&out, text, terminal, &scratch);
  return out;
}

std::string tsv(const std::string& text, bool terminal = false) {
  std::string out;
  append_tsv_field(&out, text, terminal);
  return out;
}

std::string json(const std::string& text) {
  std::string out;
  append_json_string(&out, text);
  return out;
}

TEST(CsvField, QuotesOnlyWhatNeedsIt) {
  EXPECT_EQ(csv("plain text"), "plain text");
  EXPECT_EQ(csv(""), "");
  EXPECT_EQ(csv("a,b"), "\"a,b\"");
  EXPECT_EQ(csv("say \"hi\""), "\"say \"\"hi\"\"\"");
  EXPECT_EQ(csv("two\nlines"), "\"two\nlines\"");
  EXPECT_EQ(csv("cr\r"), "\"cr\r\"");
  EXPECT_EQ(csv("M\xC3\xBCller"), "M\xC3\xBCller");
  EXPECT_EQ(csv("bad \xFF byte"), "bad \xFF byte");  // bytes go as they are to a file
}

TEST(CsvField, OnATerminalEscapesBeforeQuoting) {
  EXPECT_EQ(csv("\x1b[2Jwiped", true), "\\x1b[2Jwiped");
  EXPECT_EQ(csv("two\nlines, more", true), "\"two\\nlines, more\"");
  EXPECT_EQ(csv("bad \xFF byte", true), "bad \\xff byte");
}

TEST(TsvField, EscapesWhatATabSeparatedLineCannotHold) {
  EXPECT_EQ(tsv("a,b"), "a,b");
  EXPECT_EQ(tsv("a\tb"), "a\\tb");
  EXPECT_EQ(tsv("a\nb\r"), "a\\nb\\r");
  EXPECT_EQ(tsv("back\\slash"), "back\\\\slash");
  EXPECT_EQ(tsv("\x1b[31m"), "\x1b[31m");  // to a file as it is
  EXPECT_EQ(tsv("\x1b[31m", true), "\\x1b[31m");
}

TEST(JsonString, EscapesAndReplacesInvalidUtf8) {
  EXPECT_EQ(json("plain"), "\"plain\"");
  EXPECT_EQ(json("q\"b\\"), "\"q\\\"b\\\\\"");
  EXPECT_EQ(json("a\nb\tc\rd"), "\"a\\nb\\tc\\rd\"");
  EXPECT_EQ(json("\x1b[2J"), "\"\\u001b[2J\"");
  EXPECT_EQ(json("\x7f"), "\"\\u007f\"");
  EXPECT_EQ(json("M\xC3\xBCller \xE6\x97\xA5"), "\"M\xC3\xBCller \xE6\x97\xA5\"");
  EXPECT_EQ(json("bad \xFF"), "\"bad \xEF\xBF\xBD\"");
  EXPECT_EQ(json("cut \xC3"), "\"cut \xEF\xBF\xBD\"");
  EXPECT_EQ(json("\xC0\xAF"), "\"\xEF\xBF\xBD\xEF\xBF\xBD\"");  // overlong: each byte replaced
  EXPECT_EQ(json("\xED\xA0\x80"), "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"");  // a surrogate
  EXPECT_EQ(json("\xC2\x9B"
                 "31m"),
            "\"\\u009b31m\"");  // a C1 control, as CSI
  EXPECT_EQ(json("\xE2\x80\xAE"
                 "fdp.exe"),
            "\"\\u202efdp.exe\"");  // right-to-left override
}

TEST(JsonString, EveryByteStringGivesValidJsonThatKeepsTheValidText) {
  for (int first = 0; first < 256; ++first) {
    for (int second : {0x00, 0x41, 0x80, 0xBF, 0xC3, 0xFF}) {
      std::string text = {'x', static_cast<char>(first), static_cast<char>(second), 'y'};
      std::string encoded = json(text);
      nlohmann::json parsed = nlohmann::json::parse(encoded);  // throws when invalid
      std::string back = parsed.get<std::string>();
      EXPECT_EQ(back.front(), 'x');
      EXPECT_EQ(back.back(), 'y');
      // No byte that a terminal acts on comes out raw.
      for (unsigned char byte : encoded) EXPECT_TRUE(byte >= 0x20 && byte != 0x7F) << first;
    }
  }
}

TEST(DisplayText, ShowsControlsAndBadBytesEscapedAndKeepsTheRest) {
  EXPECT_EQ(display_text("plain, text"), "plain, text");
  EXPECT_EQ(display_text("\x1b]0;owned\x07"), "\\x1b]0;owned\\x07");
  EXPECT_EQ(display_text("a\tb\nc\rd"), "a\\tb\\nc\\rd");
  EXPECT_EQ(display_text("back\\slash"), "back\\\\slash");  // so that no escape can be forged
  EXPECT_EQ(display_text("\xFF\xC3"), "\\xff\\xc3");
  EXPECT_EQ(display_text("\xC2\x9B"), "\\u009b");
  EXPECT_EQ(display_text("\xE2\x81\xA6"), "\\u2066");  // a bidirectional isolate
  EXPECT_EQ(display_text("R\xC3\xA9sum\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC"),
            "R\xC3\xA9sum\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC");
  EXPECT_EQ(display_text(std::string("nul\0byte", 8)), "nul\\x00byte");
}

TEST(DisplayText, WidthCountsColumnsOfTheShownText) {
  EXPECT_EQ(display_width("abc"), 3u);
  EXPECT_EQ(display_width("M\xC3\xBCller"), 6u);
  EXPECT_EQ(display_width("\xE6\x97\xA5\xE6\x9C\xAC"), 4u);  // two wide characters
  EXPECT_EQ(display_width(display_text("\x1b")), 4u);
}

}  // namespace
}  // namespace sarvik::query
