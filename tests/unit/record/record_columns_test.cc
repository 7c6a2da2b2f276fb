// Tests of the column reader: a log line back into its fields, commas in the path restored.
#include "record/record_columns.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace sarvik {
namespace {

struct AccessCase {
  const char* line;
  std::vector<std::string> fields;  // time, user, host, ip, op, result, share, path
  ColumnFault fault;
};

std::vector<std::string> fields_of(const AccessColumns& c) {
  return {std::string(c.time),   std::string(c.user),      std::string(c.host),
          std::string(c.ipaddr), std::string(c.operation), std::string(c.result),
          std::string(c.share),  std::string(c.path)};
}

TEST(AccessColumns, RestoresCommasInThePathAndMarksWhatCannotBeTold) {
  const AccessCase cases[] = {
      {"2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,ok,docs,dir/file.txt",
       {"2017/03/04 12:34:56", "alice", "pc1", "192.0.2.7", "open_read", "ok", "docs",
        "dir/file.txt"},
       ColumnFault::kNone},
      {"2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,fail (Permission denied),docs,a,b,c",
       {"2017/03/04 12:34:56", "alice", "pc1", "192.0.2.7", "open_read", "fail (Permission denied)",
        "docs", "a,b,c"},
       ColumnFault::kNone},
      {"2017/03/04 12:34:56,alice,pc1,192.0.2.7,delete,fail,docs,,",  // empty path with a comma
       {"2017/03/04 12:34:56", "alice", "pc1", "192.0.2.7", "delete", "fail", "docs", ","},
       ColumnFault::kNone},
      {"2017/03/04 12:34:56,,,,,ok,,",  // empty fields stay empty
       {"2017/03/04 12:34:56", "", "", "", "", "ok", "", ""},
       ColumnFault::kNone},
      // A comma in the user name moves every column behind it: the result column is no result.
      {"2017/03/04 12:34:56,smith,john,pc1,192.0.2.7,open_read,ok,docs,x",
       {"2017/03/04 12:34:56", "smith", "john", "pc1", "192.0.2.7", "open_read", "ok", "docs,x"},
       ColumnFault::kAmbiguous},
      {"2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,fail (x,docs,p",
       {"2017/03/04 12:34:56", "alice", "pc1", "192.0.2.7", "open_read", "fail (x", "docs", "p"},
       ColumnFault::kAmbiguous},
      {"2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,ok,docs",
       {"2017/03/04 12:34:56", "alice", "pc1", "192.0.2.7", "open_read", "ok", "docs", ""},
       ColumnFault::kTooFew},
      {"continued text", {"continued text", "", "", "", "", "", "", ""}, ColumnFault::kTooFew},
      {"", {"", "", "", "", "", "", "", ""}, ColumnFault::kTooFew},
  };
  for (const AccessCase& c : cases) {
    AccessColumns columns = read_access_columns(c.line);
    EXPECT_EQ(fields_of(columns), c.fields) << c.line;
    EXPECT_EQ(columns.fault, c.fault) << c.line;
  }
}

TEST(AccessColumns, ReadsOnlyTheLeadingColumnsAsked) {
  const char* line = "2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,ok,docs,a,b";
  AccessColumns two = read_access_columns(line, 2);
  EXPECT_EQ(two.time, "2017/03/04 12:34:56");
  EXPECT_EQ(two.user, "alice");
  EXPECT_EQ(two.host, "");
  EXPECT_EQ(two.path, "");
  EXPECT_EQ(two.fault, ColumnFault::kNone);
  AccessColumns seven = read_access_columns(line, 7);
  EXPECT_EQ(seven.share, "docs");
  EXPECT_EQ(seven.path, "a,b");
  // The result column tells a line whose columns moved, once it is read.
  const char* moved = "2017/03/04 12:34:56,smith,john,pc1,192.0.2.7,open_read,ok,docs,x";
  EXPECT_EQ(read_access_columns(moved, 5).fault, ColumnFault::kNone);
  EXPECT_EQ(read_access_columns(moved, 6).fault, ColumnFault::kAmbiguous);
  EXPECT_EQ(read_access_columns("2017/03/04 12:34:56,alice", 3).fault, ColumnFault::kTooFew);
  EXPECT_EQ(read_access_columns("2017/03/04 12:34:56,alice", 3).user, "alice");
}

struct SystemCase {
  const char* line;
  std::vector<std::string> fields;  // time, text1, text2, text3, texts
  ColumnFault fault;
};

TEST(SystemColumns, GivesTheLastTextTheRestAndKeepsAllTexts) {
  const SystemCase cases[] = {
      {"2017/03/04 12:34:56,backup,finished,nightly",
       {"2017/03/04 12:34:56", "backup", "finished", "nightly", "backup,finished,nightly"},
       ColumnFault::kNone},
      {"2017/03/04 12:34:56,,,", {"2017/03/04 12:34:56", "", "", "", ",,"}, ColumnFault::kNone},
      {"2017/03/04 12:34:56,a,b,c,d",
       {"2017/03/04 12:34:56", "a", "b", "c,d", "a,b,c,d"},
       ColumnFault::kAmbiguous},
      {"2017/03/04 12:34:56,a,b",
       {"2017/03/04 12:34:56", "a", "b", "", "a,b"},
       ColumnFault::kTooFew},
      {"2017/03/04 12:34:56", {"2017/03/04 12:34:56", "", "", "", ""}, ColumnFault::kTooFew},
  };
  for (const SystemCase& c : cases) {
    SystemColumns columns = read_system_columns(c.line);
    std::vector<std::string> fields = {std::string(columns.time), std::string(columns.text1),
                                       std::string(columns.text2), std::string(columns.text3),
                                       std::string(columns.texts)};
    EXPECT_EQ(fields, c.fields) << c.line;
    EXPECT_EQ(columns.fault, c.fault) << c.line;
  }
}

TEST(ResultWords, KnowsTheServicesTwoFormsAndTheBriefOne) {
  EXPECT_TRUE(is_result_word("ok"));
  EXPECT_TRUE(is_result_word("fail"));
  EXPECT_TRUE(is_result_word("fail (Permission denied)"));
  EXPECT_TRUE(is_result_word("fail ()"));
  EXPECT_FALSE(is_result_word("fail ("));
  EXPECT_FALSE(is_result_word("failed"));
  EXPECT_FALSE(is_result_word("OK"));
  EXPECT_FALSE(is_result_word(""));
  EXPECT_FALSE(is_result_word("ok (x)"));

  EXPECT_EQ(brief_result("ok"), "ok");
  EXPECT_EQ(brief_result("fail"), "fail");
  EXPECT_EQ(brief_result("fail (No such file or directory)"), "fail");
  EXPECT_EQ(brief_result("open_read"), "open_read");
}

}  // namespace
}  // namespace sarvik
