// Cursors: where the next page begins, for the query that made them only.
#include "web/cursor.h"

#include <gtest/gtest.h>

#include "web/base64url.h"

namespace sarvik::web {
namespace {

TEST(Cursor, ReadsBackWhatItHolds) {
  query::LogPosition position{"202403", "access_20240304000000.csv", {123456, 789, false}};
  std::string cursor = encode_cursor(position, 0xfeedULL);
  EXPECT_TRUE(is_base64url_text(cursor));
  query::LogPosition read;
  std::string error;
  ASSERT_TRUE(decode_cursor(cursor, 0xfeedULL, &read, &error)) << error;
  EXPECT_EQ(read.month, "202403");
  EXPECT_EQ(read.name, "access_20240304000000.csv");
  EXPECT_EQ(read.at.offset, 123456u);
  EXPECT_EQ(read.at.next_line, 789u);
}

TEST(Cursor, OfAnotherQueryIsRefused) {
  std::string cursor = encode_cursor({"202403", "access_1.csv", {1, 1, false}}, 1);
  query::LogPosition read;
  std::string error;
  EXPECT_FALSE(decode_cursor(cursor, 2, &read, &error));
  EXPECT_NE(error.find("another query"), std::string::npos);
}

TEST(Cursor, ThatCannotBeReadIsRefused) {
  query::LogPosition read;
  std::string error;
  for (std::string text :
       {std::string("garbage!"), std::string(""), base64url_encode("1/202403/a.csv/1/1"),
        base64url_encode("2/202403/a.csv/1/1/0000000000000001"),
        base64url_encode("1/2024/a.csv/1/1/0000000000000001"),
        base64url_encode("1/202403/../1/1/0000000000000001"),
        base64url_encode("1/202403/a.csv/x/1/0000000000000001"),
        base64url_encode("1/202403/a.csv/99999999999999999999999/1/0000000000000001"),
        std::string(2000, 'A')}) {
    EXPECT_FALSE(decode_cursor(text, 1, &read, &error)) << text;
    EXPECT_NE(error.find("'cursor'"), std::string::npos);
  }
}

TEST(Cursor, CannotNameAFileOutsideItsMonth) {
  query::LogPosition read;
  std::string error;
  EXPECT_FALSE(
      decode_cursor(base64url_encode("1/202403/..%2Fx/1/1/0000000000000001"), 1, &read, &error) &&
      read.name.find('/') != std::string::npos);
  EXPECT_FALSE(decode_cursor(base64url_encode("1/202403/a/../../etc/passwd/1/1/0000000000000001"),
                             1, &read, &error));
}

}  // namespace
}  // namespace sarvik::web
