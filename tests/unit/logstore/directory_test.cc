// Tests of the directory walk on real directories.
#include "logstore/directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using ::sarvik::testing::make_dirs;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

std::vector<std::string> walk(const std::string& path, const std::vector<std::string>& ignore) {
  std::vector<std::string> names;
  Directory dir(path, ignore);
  for (const dirent& entry : dir) names.push_back(entry.d_name);
  std::sort(names.begin(), names.end());
  return names;
}

TEST(DefaultIgnoreList, HoldsDotThenDotDot) {
  DirEntryIterator::DefaultIgnoreList list;
  EXPECT_EQ(list, (std::vector<std::string>{".", ".."}));
}

TEST(Directory, OnlyDotEntriesGivesBeginEqualToEnd) {
  TempDir tmp;
  Directory dir(tmp.path(), DirEntryIterator::DefaultIgnoreList());
  EXPECT_TRUE(dir.begin() == dir.end());
  EXPECT_FALSE(dir.begin() != dir.end());
}

TEST(Directory, EmptyPathOpensNothingAndWalksEmpty) {
  Directory dir("", {});
  EXPECT_TRUE(dir.begin() == dir.end());
}

TEST(Directory, MissingDirectoryWalksEmpty) {
  TempDir tmp;
  EXPECT_TRUE(walk(tmp / "missing", {}).empty());
}

TEST(Directory, DeliversEveryEntryOnceFilesAndDirectoriesAlike) {
  TempDir tmp;
  write_file(tmp / "a.csv", "");
  write_file(tmp / "b", "x");
  make_dirs(tmp / "201703");
  EXPECT_EQ(walk(tmp.path(), DirEntryIterator::DefaultIgnoreList()),
            (std::vector<std::string>{"201703", "a.csv", "b"}));
}

TEST(Directory, EmptyIgnoreListDeliversDotEntries) {
  TempDir tmp;
  write_file(tmp / "a", "");
  EXPECT_EQ(walk(tmp.path(), {}), (std::vector<std::string>{".", "..", "a"}));
}

TEST(Directory, IgnoreListHidesExactlyTheNamedEntry) {
  TempDir tmp;
  write_file(tmp / "secret", "");
  write_file(tmp / "Secret", "");
  write_file(tmp / "secret2", "");
  EXPECT_EQ(walk(tmp.path(), {".", "..", "secret"}),
            (std::vector<std::string>{"Secret", "secret2"}));
}

TEST(DirEntryIterator, NullDirectoryIsAtTheEnd) {
  DirEntryIterator it(nullptr, {});
  Directory dir("", {});
  EXPECT_TRUE(it == dir.end());
}

TEST(DirEntryIterator, PostfixIncrementReturnsThePositionBefore) {
  TempDir tmp;
  write_file(tmp / "only", "");
  Directory dir(tmp.path(), DirEntryIterator::DefaultIgnoreList());
  DirEntryIterator it = dir.begin();
  ASSERT_TRUE(it != dir.end());
  DirEntryIterator before = it++;
  EXPECT_STREQ(before->d_name, "only");
  EXPECT_TRUE(it == dir.end());
}

TEST(DirEntryIterator, CopiesShareOneDirectoryStream) {
  TempDir tmp;
  write_file(tmp / "one", "");
  write_file(tmp / "two", "");
  Directory dir(tmp.path(), DirEntryIterator::DefaultIgnoreList());
  DirEntryIterator first = dir.begin();
  DirEntryIterator copy = first;
  std::string first_name = (*first).d_name;
  ++copy;  // the copy reads the next entry of the shared stream
  ASSERT_TRUE(copy != dir.end());
  std::string second_name = copy->d_name;
  EXPECT_NE(first_name, second_name);
  ++first;  // and so the original, advancing on the same stream, finds the end
  EXPECT_TRUE(first == dir.end());
}

TEST(DirEntryIterator, AssignmentCopiesPositionAndIgnoreList) {
  TempDir tmp;
  write_file(tmp / "keep", "");
  write_file(tmp / "skip", "");
  Directory dir(tmp.path(), {".", "..", "skip"});
  DirEntryIterator target(nullptr, {});
  DirEntryIterator result = (target = dir.begin());
  ASSERT_TRUE(target != dir.end());
  EXPECT_STREQ(target->d_name, "keep");
  EXPECT_TRUE(result == target);
  ++target;  // the copied ignore list still hides "skip"
  EXPECT_TRUE(target == dir.end());
}

}  // namespace
}  // namespace sarvik
