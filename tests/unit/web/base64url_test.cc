// Base64url as the token and the cursors use it.
#include "web/base64url.h"

#include <gtest/gtest.h>

#include <vector>

namespace sarvik::web {
namespace {

TEST(Base64Url, EncodesWithTheUrlAlphabetAndNoPadding) {
  EXPECT_EQ(base64url_encode(""), "");
  EXPECT_EQ(base64url_encode("f"), "Zg");
  EXPECT_EQ(base64url_encode("fo"), "Zm8");
  EXPECT_EQ(base64url_encode("foo"), "Zm9v");
  EXPECT_EQ(base64url_encode("\xfb\xff\xbf"), "-_-_");
}

TEST(Base64Url, DecodesWhatItEncodes) {
  std::string bytes;
  for (const std::string& text :
       std::vector<std::string>{"", "a", "ab", "abc", "abcd", std::string("\0\xff\x80", 3)}) {
    ASSERT_TRUE(base64url_decode(base64url_encode(text), &bytes)) << text;
    EXPECT_EQ(bytes, text);
  }
}

TEST(Base64Url, RefusesOtherAlphabetsAndImpossibleLengths) {
  std::string bytes;
  EXPECT_FALSE(base64url_decode("Zm9v+/==", &bytes));
  EXPECT_FALSE(base64url_decode("Zm9vY", &bytes));  // a length no encoding has
  EXPECT_FALSE(base64url_decode("Zm 9", &bytes));
  EXPECT_TRUE(is_base64url_text("-_aZ09"));
  EXPECT_FALSE(is_base64url_text("a=b"));
}

}  // namespace
}  // namespace sarvik::web
