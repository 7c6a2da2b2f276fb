// The event log and the buzzer through the appliance's own script paths, which never raise.
#include <signal.h>

#include <gtest/gtest.h>

#include "notice/event_codes.h"
#include "notice/notice_request.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"
#include "testing/stub_script.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::StubScript;

constexpr char kRecordDir[] = "/mnt/data/record";

class NotifyTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  // A private, empty /mnt/data with the script folder and a record folder for the stubs.
  void SetUp() override {
    SARVIK_REQUIRE_FRESH_VOLUMES();
    testing::make_dirs("/mnt/data/bin");
    testing::make_dirs(kRecordDir);
  }
};

TEST_F(NotifyTest, EventLogGoesToTheEventLogScript) {
  StubScript stub(paths::kEventLogScript, kRecordDir);
  notify_eventlog(kEventAlertRaised, {{"number", "2"}, {"name", "r"}});
  ASSERT_EQ(stub.runs(), 1);
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"add\"><eventlog><log><code>71100010</code>"
            "<arglist><arg name=\"name\">r</arg><arg name=\"number\">2</arg></arglist></log>"
            "</eventlog></entry></entrylist></request>");
}

TEST_F(NotifyTest, BuzzerGoesToTheBuzzerScript) {
  StubScript stub(paths::kBuzzerScript, kRecordDir);
  notify_buzzer(1);
  ASSERT_EQ(stub.runs(), 1);
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"play\"><buzzer><melody type=\"error\"/></buzzer>"
            "</entry></entrylist></request>");
}

TEST_F(NotifyTest, MissingScriptsRaiseNothing) {
  EXPECT_NO_THROW(notify_eventlog(kEventAlertRaised, {{"name", "r"}}));
  EXPECT_NO_THROW(notify_buzzer(1));
}

TEST_F(NotifyTest, FailingOrGarbledScriptsRaiseNothing) {
  const struct {
    const char* reply;
    int status;
  } cases[] = {{testing::kOkReply, 1}, {"garbage", 0}, {"<r><entrylist/></r>", 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    testing::remove_tree(kRecordDir);
    testing::make_dirs(kRecordDir + std::string("/eventlog"));
    testing::make_dirs(kRecordDir + std::string("/buzzer"));
    StubScript eventlog(paths::kEventLogScript, kRecordDir + std::string("/eventlog"));
    StubScript buzzer(paths::kBuzzerScript, kRecordDir + std::string("/buzzer"));
    eventlog.answer(c.reply, c.status);
    buzzer.answer(c.reply, c.status);
    EXPECT_NO_THROW(notify_eventlog(kEventAlertRaised, {{"name", "r"}}));
    EXPECT_NO_THROW(notify_buzzer(1));
    // Both scripts did run: the failure was theirs and was dropped.
    EXPECT_EQ(eventlog.runs(), 1);
    EXPECT_EQ(buzzer.runs(), 1);
  }
}

}  // namespace
}  // namespace sarvik
