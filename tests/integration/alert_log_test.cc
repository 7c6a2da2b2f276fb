// Alert evaluation end to end: hits land in the alert log at once, as the access line.
#include <gtest/gtest.h>

#include "harness/alert_rules.h"
#include "harness/records.h"
#include "harness/service_test.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {
namespace {

using AlertLog = ServiceTest;

std::string read_access() {
  return access_record("Alice", "pc1", "192.0.2.7", "open", 1, 0, "docs", "r|dir/a.txt");
}

std::string log_text(const std::string& log) {
  std::string text;
  for (const std::string& file : log_files(log, kLogVolume)) {
    text += read_file(std::string(kLogVolume) + "/" + log + "/" + file);
  }
  return text;
}

TEST_F(AlertLog, HitWritesTheAccessLineByteForByte) {
  Settings settings;
  settings.alerts = alert_rule("reads", "<path>*.TXT</path>");
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(read_access()), kOkAnswer);
  std::vector<std::string> files = log_files("alertlog", kLogVolume);
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].rfind("alert_"), 7u);  // YYYYMM/alert_<stamp>.csv
  EXPECT_EQ(log_text("alertlog"), log_text("accesslog"));
  EXPECT_EQ(log_lines("alertlog", kLogVolume).size(), 1u);
  EXPECT_EQ(read_file(std::string(paths::kStateDir) + "/alert_info"), files[0].substr(7) + "\n1\n");
}

TEST_F(AlertLog, TwoRulesOfOneNameWriteTwoLines) {
  Settings settings;
  settings.alerts = alert_rule("twin") + alert_rule("twin");
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(read_access()), kOkAnswer);
  std::vector<std::string> lines = log_lines("alertlog", kLogVolume);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], lines[1]);
}

TEST_F(AlertLog, NoRulesCreateNoAlertLog) {
  start_service();
  EXPECT_EQ(exchange(read_access()), kOkAnswer);
  EXPECT_EQ(log_lines("accesslog", kLogVolume).size(), 1u);
  EXPECT_FALSE(exists(std::string(kLogVolume) + "/alertlog"));
}

TEST_F(AlertLog, RulesSeeTheBriefResultAndTheLineKeepsTheLongOne) {
  Settings settings;
  settings.alerts = alert_rule("failures", "<result>fail</result>");
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(access_record("u", "h", "i", "open", 0, 13, "docs", "r|x")), kOkAnswer);
  EXPECT_EQ(exchange(access_record("u", "h", "i", "open", 1, 0, "docs", "r|y")), kOkAnswer);
  std::vector<std::string> lines = log_lines("alertlog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(fields_of(lines[0])[5], "fail (Permission denied)");
}

TEST_F(AlertLog, RulesSeeTheFoldedUserAndTheOperationWithItsDirection) {
  Settings settings;
  settings.alerts =
      "<alert><name>alice</name><period><weekdays sun='true' mon='true' "
      "tue='true' wed='true' thu='true' fri='true' sat='true'/></period>"
      "<usernamelist><username>ALICE</username></usernamelist><operationlist>"
      "<operation type='open_write' enable='true'/></operationlist></alert>";
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(access_record("aLiCe", "h", "i", "open", 1, 0, "docs", "w|x")), kOkAnswer);
  EXPECT_EQ(exchange(access_record("alice", "h", "i", "open", 1, 0, "docs", "r|x")), kOkAnswer);
  EXPECT_EQ(exchange(access_record("bob", "h", "i", "open", 1, 0, "docs", "w|x")), kOkAnswer);
  std::vector<std::string> lines = log_lines("alertlog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(fields_of(lines[0])[1], "alice");
  EXPECT_EQ(fields_of(lines[0])[4], "open_write");
}

TEST_F(AlertLog, RecordsThatAreNotLoggedFireNoRule) {
  Settings settings;
  settings.all_shares = "false";
  settings.shares = {"docs"};
  settings.alerts = alert_rule("any");
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(access_record("u", "h", "i", "open", 1, 0, "public", "r|x")), kOkAnswer);
  EXPECT_EQ(exchange(access_record("u", "h", "i", "open", 1, 0, "IPC$", "r|x")), kOkAnswer);
  EXPECT_FALSE(exists(std::string(kLogVolume) + "/alertlog"));
}

TEST_F(AlertLog, RuleFiresForARecordTheAccessLogCouldNotTake) {
  write_file(std::string(kLogVolume) + "/accesslog", "a file where the log's directory belongs");
  Settings settings;
  settings.alerts = alert_rule("any");
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(read_access()), kOkAnswer);
  EXPECT_EQ(log_lines("alertlog", kLogVolume).size(), 1u);
}

TEST_F(AlertLog, AlertLogNeverExpires) {
  std::string always =
      "<autodelete enable=\"true\"><expire><days>0</days><percent>100</percent>"
      "</expire></autodelete>";
  Settings settings;
  settings.event_autodelete = always;
  settings.access_autodelete = always;
  settings.alerts = alert_rule("any");
  write_settings(settings);
  for (const char* log : {"accesslog/201001/access_", "alertlog/201001/alert_"}) {
    std::string path = std::string(kLogVolume) + "/" + log + "20100101000000.csv";
    make_dirs(path.substr(0, path.rfind('/')));
    write_file(path, "\xEF\xBB\xBFold\r\n");
  }
  start_service();
  EXPECT_EQ(exchange(read_access()), kOkAnswer);
  EXPECT_EQ(exchange(read_access()), kOkAnswer);
  EXPECT_FALSE(exists(std::string(kLogVolume) + "/accesslog/201001/access_20100101000000.csv"));
  EXPECT_TRUE(exists(std::string(kLogVolume) + "/alertlog/201001/alert_20100101000000.csv"));
  EXPECT_EQ(log_lines("alertlog", kLogVolume).size(), 3u);  // the old line and two hits
}

}  // namespace
}  // namespace sarvik::testing
