// The token: made once, kept private, read back, compared, and found in a request.
#include "web/token.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "web/base64url.h"

namespace sarvik::web {
namespace {

using ::sarvik::testing::file_mode;
using ::sarvik::testing::read_file;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

TEST(Token, IsFortyThreeCharactersOfBase64Url) {
  std::string token = new_token();
  EXPECT_EQ(token.size(), kTokenLength);
  EXPECT_TRUE(is_base64url_text(token));
  EXPECT_NE(new_token(), token);
}

TEST(Token, IsMadeAtFirstStartPrivatelyAndKept) {
  TempDir dir;
  std::string state = dir / "state";
  std::string token, error;
  ASSERT_TRUE(load_or_create_token(state, &token, &error)) << error;
  EXPECT_EQ(file_mode(state), 0700);
  EXPECT_EQ(file_mode(state + "/token"), 0600);
  EXPECT_EQ(read_file(state + "/token"), token + "\n");
  EXPECT_FALSE(::sarvik::testing::exists(state + "/token.new"));

  std::string again;
  ASSERT_TRUE(load_or_create_token(state, &again, &error)) << error;
  EXPECT_EQ(again, token);
  ASSERT_TRUE(read_token(state, &again, &error)) << error;
  EXPECT_EQ(again, token);
}

TEST(Token, ReadingWithoutOneDoesNotMakeOne) {
  TempDir dir;
  std::string token, error;
  EXPECT_FALSE(read_token(dir.path(), &token, &error));
  EXPECT_NE(error.find("no token yet"), std::string::npos) << error;
  EXPECT_FALSE(::sarvik::testing::exists(dir / "token"));
}

TEST(Token, AFileThatHoldsNoTokenIsRefusedNotReplaced) {
  TempDir dir;
  write_file(dir / "token", "short\n", 0600);
  std::string token, error;
  EXPECT_FALSE(load_or_create_token(dir.path(), &token, &error));
  EXPECT_NE(error.find("holds no token"), std::string::npos) << error;
  EXPECT_EQ(read_file(dir / "token"), "short\n");
}

TEST(Token, ALinkInPlaceOfTheFileIsNotFollowed) {
  TempDir dir;
  write_file(dir / "elsewhere", new_token() + "\n", 0600);
  ASSERT_EQ(symlink((dir / "elsewhere").c_str(), (dir / "token").c_str()), 0);
  std::string token, error;
  EXPECT_FALSE(load_or_create_token(dir.path(), &token, &error));
  EXPECT_FALSE(read_token(dir.path(), &token, &error));
}

TEST(Token, ComparesWholeTokensOnly) {
  std::string token = new_token();
  EXPECT_TRUE(same_token(token, token));
  EXPECT_FALSE(same_token(token.substr(0, 42), token));
  EXPECT_FALSE(same_token(token + "x", token));
  EXPECT_FALSE(same_token("", token));
  std::string last_differs = token;
  last_differs.back() = last_differs.back() == 'A' ? 'B' : 'A';
  EXPECT_FALSE(same_token(last_differs, token));
  EXPECT_FALSE(same_token("", ""));  // no token configured lets nobody in
}

TEST(Token, IsFoundInTheCookieOrTheBearerHeader) {
  EXPECT_EQ(token_of("sarvik_web=abc", ""), "abc");
  EXPECT_EQ(token_of("theme=dark; sarvik_web=abc; other=1", ""), "abc");
  EXPECT_EQ(token_of("xsarvik_web=abc", ""), "");
  EXPECT_EQ(token_of("", "Bearer abc"), "abc");
  EXPECT_EQ(token_of("", "Basic abc"), "");
  EXPECT_EQ(token_of("", ""), "");
}

}  // namespace
}  // namespace sarvik::web
