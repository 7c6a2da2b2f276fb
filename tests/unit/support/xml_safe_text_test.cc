// Tests of the text that XML 1.0 can carry: a table of byte sequences and what they become.
#include "support/xml_safe_text.h"

#include <gtest/gtest.h>

#include <string>

namespace sarvik {
namespace {

const std::string kR = "\xEF\xBF\xBD";  // U+FFFD

struct Case {
  std::string in;
  std::string out;
};

TEST(XmlSafeText, KeepsWhatXmlCarriesAndReplacesTheRest) {
  const Case cases[] = {
      {"", ""},
      {"plain, text & <marks>", "plain, text & <marks>"},
      {"tab\tlf\ncr\r", "tab\tlf\ncr\r"},
      {std::string("nul\0x", 5), "nul" + kR + "x"},
      {"\x01\x1F", kR + kR},
      {"del\x7F", "del\x7F"},                    // allowed, if discouraged
      {"\xC2\x80\xC2\x9F", "\xC2\x80\xC2\x9F"},  // C1 controls likewise
      {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
      {"\xE3\x82\xA2\xE3\x83\xA9", "\xE3\x82\xA2\xE3\x83\xA9"},
      {"\xFF", kR},                             // never in UTF-8
      {"\x80x", kR + "x"},                      // a lone continuation byte
      {"\xC0\xAF", kR + kR},                    // overlong '/'
      {"\xE0\x80\xAF", kR + kR + kR},           // overlong, three bytes
      {"\xED\xA0\x80", kR + kR + kR},           // a surrogate
      {"\xF4\x90\x80\x80", kR + kR + kR + kR},  // beyond U+10FFFF
      {"\xE2\x82x", kR + "x"},                  // cut short: one for the run
      {"\xF0\x9F\x98", kR},                     // cut short at the end
      {"\xEF\xBF\xBE\xEF\xBF\xBF", kR + kR},    // U+FFFE, U+FFFF
      {"\xEF\xBF\xBD", kR},                     // U+FFFD itself stays
  };
  for (const Case& c : cases) EXPECT_EQ(xml_safe_text(c.in), c.out) << c.in;
}

}  // namespace
}  // namespace sarvik
