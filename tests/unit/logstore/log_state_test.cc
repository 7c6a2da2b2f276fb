// The state file: read as a standard stream reads it, written in two writes with the stream's mode.
#include "logstore/log_state.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>
#include <string>
#include <utility>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

// What getline and `>>` of a standard stream make of `text`, from a count of `start`.
std::pair<std::string, int32_t> StreamRead(const std::string& text, int32_t start) {
  std::istringstream stream(text);
  std::string name;
  int32_t count = start;
  std::getline(stream, name);
  stream >> count;
  return {name, count};
}

TEST(ParseState, ReadsAsAStandardStreamDoes) {
  const char* const kTexts[] = {"access_20170304123456.csv\n12\n",
                                "name\n7",
                                "name\n",
                                "name",
                                "",
                                "\n",
                                "\n5\n",
                                "name\n  \t 42 trailing",
                                "name\n\n\n3\n",
                                "name\n+8\n",
                                "name\n-3\n",
                                "name\n- 3\n",
                                "name\n-\n",
                                "name\nabc\n",
                                "name\n12abc\n",
                                "name\n0x10\n",
                                "name\n007\n",
                                "name\n2147483647\n",
                                "name\n2147483648\n",
                                "name\n-2147483649\n",
                                "name\n99999999999999999999999\n",
                                "name\n-99999999999999999999999\n",
                                "name\r\n4\r\n",
                                "na me,x\n1\n",
                                "name\n   ",
                                "name\n\v\f9"};
  for (const char* text : kTexts) {
    for (int32_t start : {0, 5}) {
      std::string name = "before";
      int32_t count = start;
      parse_state(text, &name, &count);
      EXPECT_EQ(std::make_pair(name, count), StreamRead(text, start)) << "text " << text;
    }
  }
}

TEST(WriteState, ReplacesTheFileWithNameAndCountWithTheStreamMode) {
  testing::TempDir dir;
  std::string path = dir.path() + "/access_info";
  testing::write_file(path, "a much longer text that was there before\n99999\n");
  mode_t old_mask = umask(022);
  std::string fresh = dir.path() + "/system_info";
  write_state(fresh, "system_20170304123456.csv", 3);
  write_state(path, "access_x.csv", -2);
  umask(old_mask);
  EXPECT_EQ(testing::read_file(fresh), "system_20170304123456.csv\n3\n");
  EXPECT_EQ(testing::file_mode(fresh), 0644);
  EXPECT_EQ(testing::read_file(path), "access_x.csv\n-2\n");
}

TEST(WriteState, NothingHappensWhenTheDirectoryIsMissing) {
  testing::TempDir dir;
  write_state(dir.path() + "/missing/access_info", "x", 1);
  EXPECT_FALSE(testing::exists(dir.path() + "/missing"));
}

TEST(ReadStateFile, ReadsTheWholeFileAndFailsWhenItIsMissing) {
  testing::TempDir dir;
  std::string path = dir.path() + "/system_info";
  std::string text = "x";
  EXPECT_FALSE(read_state_file(path, &text));
  std::string big(20000, 'n');  // longer than one read
  testing::write_file(path, big + "\n4\n");
  ASSERT_TRUE(read_state_file(path, &text));
  EXPECT_EQ(text, big + "\n4\n");
}

}  // namespace
}  // namespace sarvik
