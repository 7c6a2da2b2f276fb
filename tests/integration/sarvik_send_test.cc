// The client tool end to end: records delivered, exit statuses and messages.
#include <gtest/gtest.h>

#include "harness/command.h"
#include "harness/records.h"
#include "harness/service_test.h"

namespace sarvik::testing {
namespace {

using SarvikSend = ServiceTest;

CommandResult send(const std::vector<std::string>& args) {
  std::vector<std::string> argv{SARVIK_SEND_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_command(argv);
}

TEST_F(SarvikSend, DeliversASystemRecordAndExitsWithTheResultCode) {
  start_service();
  CommandResult result = send({"system", "1700000000", "a", "b b", "c"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(1700000000) + ",a,b b,c"});
}

TEST_F(SarvikSend, DeliversAnAccessRecordWithItsNumbers) {
  start_service();
  CommandResult result =
      send({"access", "Bob", "pc2", "192.0.2.9", "open", "0", "13", "docs", "w|x.txt"});
  EXPECT_EQ(result.status, 0) << result.err;
  std::vector<std::string> lines = log_lines("accesslog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].substr(19),
            ",bob,pc2,192.0.2.9,open_write,fail (Permission denied),docs,x.txt");
}

TEST_F(SarvikSend, NoServiceIsAClearFailure) {
  CommandResult result = send({"system", "1", "a", "b", "c"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "sarvik-send: cannot deliver the record to /tmp/sarvik: No such file or directory\n");
}

TEST_F(SarvikSend, ServiceClosingWithoutAnAnswerIsAFailure) {
  Settings settings;
  settings.share_path.clear();  // every enabled log fails its requests
  write_settings(settings);
  start_service();
  CommandResult result = send({"system", "1", "a", "b", "c"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "sarvik-send: /tmp/sarvik closed the connection without an answer\n");
}

TEST_F(SarvikSend, SocketOptionNamesAnotherPath) {
  CommandResult result = send({"--socket", "/tmp/elsewhere", "system", "1", "a", "b", "c"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("/tmp/elsewhere"), std::string::npos);
}

TEST_F(SarvikSend, UsageErrorsExitWith2) {
  for (const auto& args : std::vector<std::vector<std::string>>{
           {},
           {"mail"},
           {"system", "1", "a"},
           {"access", "u", "h", "i", "op", "x", "0", "s", "p"},
           {"access", "u", "h", "i", "op", "1", "65536", "s", "p"},
           {"access", "u", "h", "i", "op", "-1", "0", "s", "p"}}) {
    CommandResult result = send(args);
    EXPECT_EQ(result.status, 2) << ::testing::PrintToString(args);
    EXPECT_NE(result.err.find("Usage: sarvik-send"), std::string::npos);
  }
}

TEST_F(SarvikSend, HelpGoesToStandardOutput) {
  CommandResult result = send({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("Usage: sarvik-send", 0), 0u);
  EXPECT_EQ(result.err, "");
}

TEST_F(SarvikSend, BatchSendsEachLineAsARecordInOrder) {
  start_service();
  CommandResult result =
      run_command({SARVIK_SEND_PATH, "--batch"},
                  "system\t1700000000\ta\tb b\tc\n"
                  "access\tBob\tpc2\t192.0.2.9\topen\t0\t13\tdocs\tw|x,y.txt\n"
                  "system\t1700000001\td\t\tf");  // the last line needs no line end
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            (std::vector<std::string>{record_time(1700000000) + ",a,b b,c",
                                      record_time(1700000001) + ",d,,f"}));
  std::vector<std::string> lines = log_lines("accesslog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].substr(19),
            ",bob,pc2,192.0.2.9,open_write,fail (Permission denied),docs,x,y.txt");
}

TEST_F(SarvikSend, BatchReportsABadLineBySkippingItAndExitsWith2) {
  start_service();
  CommandResult result = run_command({SARVIK_SEND_PATH, "--batch"},
                                     "system\t1\ta\n"
                                     "system\t1700000000\ta\tb\tc\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "sarvik-send: line 1: a system record takes exactly four fields\n");
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(1700000000) + ",a,b,c"});
}

TEST_F(SarvikSend, BatchWithoutAServiceExitsWith1) {
  CommandResult result = run_command({SARVIK_SEND_PATH, "--batch"}, "system\t1\ta\tb\tc\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "sarvik-send: cannot deliver the record to /tmp/sarvik: No such file or directory\n");
}

}  // namespace
}  // namespace sarvik::testing
