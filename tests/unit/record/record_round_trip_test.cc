// The column reader against the service's own line builders: what one writes, the other reads.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "record/access_fields.h"
#include "record/record_columns.h"
#include "record/record_lines.h"
#include "record/record_text.h"
#include "record/record_time.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using ::sarvik::testing::kBerlin;
using ::sarvik::testing::ScopedTimeZone;

TEST(RecordRoundTrip, AccessLinesReadBackIntoTheirFields) {
  ScopedTimeZone zone(kBerlin);
  const char* paths[] = {"r|dir/file.txt", "w|a,b,c.txt", "r|.", "plain", "r|,", "w|"};
  for (const char* raw_path : paths) {
    for (uint16_t status : {0, 1}) {
      ReqAccessLog request("ALICE", "pc1", "192.0.2.7", "open", status, 13, "docs", raw_path);
      AccessFields fields = access_fields(request, "docs");
      std::string line = access_line(1488630896, fields);
      AccessColumns columns = read_access_columns(line);
      EXPECT_EQ(columns.fault, ColumnFault::kNone) << line;
      EXPECT_EQ(columns.time, format_time(1488630896)) << line;
      EXPECT_EQ(columns.user, fields.user) << line;
      EXPECT_EQ(columns.host, fields.host) << line;
      EXPECT_EQ(columns.ipaddr, fields.ipaddr) << line;
      EXPECT_EQ(columns.operation, fields.operation) << line;
      EXPECT_EQ(columns.result, fields.result) << line;
      EXPECT_EQ(brief_result(columns.result), access_result(request, /*brief=*/true)) << line;
      EXPECT_EQ(columns.share, fields.share) << line;
      EXPECT_EQ(columns.path, fields.path) << line;
    }
  }
}

TEST(RecordRoundTrip, EveryFailureReasonOfTheSystemIsAResultWord) {
  for (int number = 0; number < 200; ++number) {
    ReqAccessLog request("u", "h", "i", "open", 0, static_cast<uint16_t>(number), "s", "p");
    std::string result = access_result(request, /*brief=*/false);
    EXPECT_TRUE(is_result_word(result)) << result;
    // No reason holds a comma, so a result never splits a line.
    EXPECT_EQ(result.find(','), std::string::npos) << result;
  }
}

TEST(RecordRoundTrip, RecordTimesReadBackAsTheyWereWritten) {
  ScopedTimeZone zone(kBerlin);
  for (time_t when = 1700000000; when < 1700000000 + 400 * 86400; when += 86400 / 3 + 7) {
    std::string text = format_time(when);
    CivilTime read;
    ASSERT_TRUE(read_record_time(text, &read)) << text;
    EXPECT_EQ(record_time_text(read), text);
    struct tm local;
    localtime_r(&when, &local);
    EXPECT_EQ(civil_weekday(read), local.tm_wday) << text;
  }
}

TEST(RecordRoundTrip, SystemLinesKeepTheirTexts) {
  ScopedTimeZone zone(kBerlin);
  SystemRecord record = system_record(ReqSystemLog("1488630896", "backup", "done", "nightly"));
  SystemColumns columns = read_system_columns(record.line);
  EXPECT_EQ(columns.fault, ColumnFault::kNone);
  EXPECT_EQ(columns.time, format_time(1488630896));
  EXPECT_EQ(columns.text1, "backup");
  EXPECT_EQ(columns.text2, "done");
  EXPECT_EQ(columns.text3, "nightly");
}

}  // namespace
}  // namespace sarvik
