// Record lines: the columns of both record kinds, composed from requests.
#include "record/record_lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "record/record_text.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using testing::ScopedTimeZone;

TEST(JoinFields, JoinsWithOneCommaAndNoQuoting) {
  EXPECT_EQ(join_fields({}), "");
  EXPECT_EQ(join_fields({"a"}), "a");
  EXPECT_EQ(join_fields({"", ""}), ",");
  EXPECT_EQ(join_fields({"a,b", "c\r\nd", "", "\"e\""}), "a,b,c\r\nd,,\"e\"");
}

struct SystemCase {
  const char* time;
  const char* text1;
  const char* text2;
  const char* text3;
  time_t when;
  const char* line;
};

TEST(SystemRecord, TakesTheClientsTimeAndTheThreeTexts) {
  ScopedTimeZone zone(testing::kUtc);
  const SystemCase cases[] = {
      {"1700000000", "a", "b", "c", 1700000000, "2023/11/14 22:13:20,a,b,c"},
      {"abc", "x", "", "z", 0, "1970/01/01 00:00:00,x,,z"},
      {"1700000000", "a,b", "c", "d", 1700000000, "2023/11/14 22:13:20,a,b,c,d"},
      {"-99999999999", "", "", "", -2147483648, "1901/12/13 20:45:52,,,"},
  };
  for (const SystemCase& c : cases) {
    SystemRecord record = system_record(ReqSystemLog(c.time, c.text1, c.text2, c.text3));
    EXPECT_EQ(record.when, c.when) << c.time;
    EXPECT_EQ(record.line, c.line) << c.time;
  }
}

TEST(SystemRecord, ShortEntryListReadsMissingTextsAsEmpty) {
  ScopedTimeZone zone(testing::kUtc);
  Packet type_alone;  // the type entry of a system request and nothing behind it
  type_alone.set_size(4);
  const uint8_t bytes[] = {0x00, 0x02, 0x00, 0x01};
  std::copy(bytes, bytes + 4, type_alone.data);
  EXPECT_EQ(system_record(ReqSystemLog(type_alone)).line, "1970/01/01 00:00:00,,,");
}

struct AccessCase {
  const char* user;
  uint16_t status;
  uint16_t error_number;
  const char* share;
  const char* path;
  const char* line;
};

TEST(AccessLine, TakesTheHandlingTimeAndTheNormalisedFields) {
  ScopedTimeZone zone(testing::kUtc);
  const AccessCase cases[] = {
      {"ALICE", 0, 13, "docs", "r|dir/x",
       "alice,pc1,192.0.2.7,open_read,fail (Permission denied),"
       "docs,dir/x"},
      {"bob", 1, 13, "docs", "w|.", "bob,pc1,192.0.2.7,open_write,ok,docs,docs"},
      {"c", 1, 0, "docs", "a,b", "c,pc1,192.0.2.7,open,ok,docs,a,b"},
  };
  for (const AccessCase& c : cases) {
    ReqAccessLog request(c.user, "pc1", "192.0.2.7", "open", c.status, c.error_number, c.share,
                         c.path);
    EXPECT_EQ(access_line(1700000000, access_fields(request, c.share)),
              std::string("2023/11/14 22:13:20,") + c.line)
        << c.path;
  }
}

TEST(AccessFields, AreThoseOfTheSingleBuilders) {
  const ReqAccessLog requests[] = {
      ReqAccessLog("Bob", "h", "", "write", 1, 5, "s", "w|."),
      ReqAccessLog("", "", "", "", 0, 0, "", ""),
      ReqAccessLog("x", "y,z", "::1", "rename", 7, 0, "IPC$", "r|w|./a"),
  };
  for (const ReqAccessLog& request : requests) {
    std::string share = request.text_entry(kAccessShare);
    AccessFields fields = access_fields(request, share);
    EXPECT_EQ(fields.user, access_user(request));
    EXPECT_EQ(fields.host, request.text_entry(kAccessHost));
    EXPECT_EQ(fields.ipaddr, request.text_entry(kAccessIpAddr));
    EXPECT_EQ(fields.operation, access_operation(request));
    EXPECT_EQ(fields.result, access_result(request, /*brief=*/false));
    EXPECT_EQ(fields.share, share);
    EXPECT_EQ(fields.path, access_path(request, share));
  }
}

}  // namespace
}  // namespace sarvik
