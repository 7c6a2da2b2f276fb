// Tests of path joining and the existence tests.
#include "logstore/path.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using ::sarvik::testing::make_dirs;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

struct JoinCase {
  const char* a;
  const char* b;
  const char* joined;
};

TEST(JoinPath, JoinsWithExactlyOneMissingSlash) {
  const JoinCase cases[] = {
      {"a/", "b", "a/b"},   {"a", "b", "a/b"},       {"a", "/b", "/b"},
      {"", "x", "/x"},      {"a", "", "a/"},         {"", "", "/"},
      {"a/", "", "a/"},     {"/", "b", "/b"},        {"/vol", "systemlog", "/vol/systemlog"},
      {"a//", "b", "a//b"}, {"a", "b//c", "a/b//c"}, {"a/.", "../b", "a/./../b"},
      {"a", "/", "/"},
  };
  for (const JoinCase& c : cases) {
    EXPECT_EQ(join_path(c.a, c.b), c.joined) << '"' << c.a << "\" + \"" << c.b << '"';
    std::string in_place = c.a;
    std::string& result = append_path(in_place, c.b);
    EXPECT_EQ(&result, &in_place);
    EXPECT_EQ(in_place, c.joined) << '"' << c.a << "\" + \"" << c.b << '"';
  }
}

TEST(PathTests, FileExistsAndIsNoDirectory) {
  TempDir tmp;
  write_file(tmp / "f", "x");
  EXPECT_TRUE(path_exists(tmp / "f"));
  EXPECT_FALSE(is_directory(tmp / "f"));
}

TEST(PathTests, DirectoryExistsAndIsOne) {
  TempDir tmp;
  make_dirs(tmp / "d");
  EXPECT_TRUE(path_exists(tmp / "d"));
  EXPECT_TRUE(is_directory(tmp / "d"));
}

TEST(PathTests, MissingPathNeitherExistsNorIsDirectory) {
  TempDir tmp;
  EXPECT_FALSE(path_exists(tmp / "none"));
  EXPECT_FALSE(is_directory(tmp / "none"));
  EXPECT_FALSE(path_exists(""));
}

TEST(PathTests, LinksAreFollowed) {
  TempDir tmp;
  make_dirs(tmp / "d");
  write_file(tmp / "f", "");
  ASSERT_EQ(symlink((tmp / "d").c_str(), (tmp / "to_dir").c_str()), 0);
  ASSERT_EQ(symlink((tmp / "f").c_str(), (tmp / "to_file").c_str()), 0);
  ASSERT_EQ(symlink((tmp / "gone").c_str(), (tmp / "dangling").c_str()), 0);
  EXPECT_TRUE(is_directory(tmp / "to_dir"));
  EXPECT_TRUE(path_exists(tmp / "to_file"));
  EXPECT_FALSE(is_directory(tmp / "to_file"));
  EXPECT_FALSE(path_exists(tmp / "dangling"));
  EXPECT_FALSE(is_directory(tmp / "dangling"));
}

}  // namespace
}  // namespace sarvik
