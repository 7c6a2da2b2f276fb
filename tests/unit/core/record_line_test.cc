// The record lines of both logs: fields joined as they stand, the access fields normalised.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "core/access_fields.h"
#include "core/record_text.h"
#include "core/system_log_handler.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

TEST(JoinFields, JoinsWithOneCommaAndNoQuoting) {
  EXPECT_EQ(join_fields({}), "");
  EXPECT_EQ(join_fields({"a"}), "a");
  EXPECT_EQ(join_fields({"", ""}), ",");
  EXPECT_EQ(join_fields({"a,b", "c\r\nd", "", "\"e\""}), "a,b,c\r\nd,,\"e\"");
}

class RecordLine : public ::testing::Test {
 protected:
  testing::ScopedTimeZone zone{"UTC0"};
  static constexpr time_t kWhen = 1488630896;  // 2017/03/04 12:34:56 UTC
};

TEST_F(RecordLine, AccessLineHasTheEightColumnsInOrder) {
  ReqAccessLog request("ALICE", "pc1", "192.0.2.7", "open", 0, 13, "docs", "r|dir/file.txt");
  AccessFields fields = access_fields(request, "docs");
  std::string expected = std::string("2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,fail (") +
                         std::strerror(13) + "),docs,dir/file.txt";
  EXPECT_EQ(access_line(kWhen, fields), expected);
}

TEST_F(RecordLine, AccessFieldsAreThoseOfTheSingleBuilders) {
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

TEST_F(RecordLine, SystemLineHasTheTimeAndTheThreeTexts) {
  ReqSystemLog request("1488630896", "one", "two,three", "");
  EXPECT_EQ(system_line(parse_time("1488630896"), request), "2017/03/04 12:34:56,one,two,three,");
}

}  // namespace
}  // namespace sarvik
