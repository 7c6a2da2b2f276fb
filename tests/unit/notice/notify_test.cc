// The event log and the buzzer through the scripts they are given, which never raise.
#include <signal.h>

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>

#include "notice/event_codes.h"
#include "notice/notice_request.h"
#include "testing/notice_stubs.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::kBuzzerErrorRequest;

// The stub scripts in a temporary directory.
class NotifyTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  void eventlog(const std::string& code, const std::map<std::string, std::string>& args) {
    notify_eventlog(code, args, NoticeLimits{}, stubs->paths());
  }
  void buzzer(int melody) { notify_buzzer(melody, NoticeLimits{}, stubs->paths()); }

  testing::TempDir tmp;
  std::optional<testing::NoticeStubs> stubs{std::in_place, tmp.path()};
};

TEST_F(NotifyTest, EventLogGoesToTheEventLogScript) {
  eventlog(kEventAlertRaised, {{"number", "2"}, {"name", "r"}});
  ASSERT_EQ(stubs->eventlog.runs(), 1);
  EXPECT_EQ(stubs->eventlog.request(1),
            "<request><entrylist><entry type=\"add\"><eventlog><log><code>71100010</code>"
            "<arglist><arg name=\"name\">r</arg><arg name=\"number\">2</arg></arglist></log>"
            "</eventlog></entry></entrylist></request>");
}

TEST_F(NotifyTest, BuzzerGoesToTheBuzzerScript) {
  buzzer(1);
  ASSERT_EQ(stubs->buzzer.runs(), 1);
  EXPECT_EQ(stubs->buzzer.request(1), kBuzzerErrorRequest);
}

TEST_F(NotifyTest, MissingScriptsRaiseNothing) {
  NoticePaths missing{tmp / "none1", tmp / "none2", tmp / "none3", "", ""};
  EXPECT_NO_THROW(notify_eventlog(kEventAlertRaised, {{"name", "r"}}, NoticeLimits{}, missing));
  EXPECT_NO_THROW(notify_buzzer(1, NoticeLimits{}, missing));
}

TEST_F(NotifyTest, FailingOrGarbledScriptsRaiseNothing) {
  const struct {
    const char* reply;
    int status;
  } cases[] = {{testing::kOkReply, 1}, {"garbage", 0}, {"<r><entrylist/></r>", 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    stubs.reset();
    testing::remove_tree(tmp / "record");
    stubs.emplace(tmp.path());
    stubs->eventlog.answer(c.reply, c.status);
    stubs->buzzer.answer(c.reply, c.status);
    EXPECT_NO_THROW(eventlog(kEventAlertRaised, {{"name", "r"}}));
    EXPECT_NO_THROW(buzzer(1));
    // Both scripts did run: the failure was theirs and was dropped.
    EXPECT_EQ(stubs->eventlog.runs(), 1);
    EXPECT_EQ(stubs->buzzer.runs(), 1);
  }
}

}  // namespace
}  // namespace sarvik
