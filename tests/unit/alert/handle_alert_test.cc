// Raising one alert through the real notice code and stub scripts: the exact requests, in order.
#include "alert/handle_alert.h"

#include <signal.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "stdout_capture.h"
#include "testing/notice_stubs.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::arg;
using testing::eventlog_request;
using testing::kBuzzerErrorRequest;
using testing::mail_profile;
using testing::mail_request;

// The three stubs and the notice settings in a temporary directory.
class HandleAlert : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  void raise_alert(const std::string& name, const std::vector<std::string>& lines) {
    handle_alert(name, lines, NoticeLimits{}, stubs->paths());
  }
  void report(const std::string& name, const std::string& code,
              const std::vector<std::string>& addresses) {
    notify_mail_results(name, code, addresses, NoticeLimits{}, stubs->paths());
  }
  void write_mail_profiles(const std::string& profiles) { stubs->write_mail_profiles(profiles); }

  testing::TempDir tmp;
  std::optional<testing::NoticeStubs> stubs{std::in_place, tmp.path()};
  testing::StdoutCapture out;
};

TEST_F(HandleAlert, NoProfileLogsAndBuzzesAndSaysNoMailWent) {
  write_mail_profiles(mail_profile(false, {"off@x"}));
  raise_alert("reads", {"line 1", "line 2"});
  ASSERT_EQ(stubs->eventlog.runs(), 1);
  EXPECT_EQ(stubs->eventlog.request(1),
            eventlog_request("71100010", arg("name", "reads") + arg("number", "2")));
  ASSERT_EQ(stubs->buzzer.runs(), 1);
  EXPECT_EQ(stubs->buzzer.request(1), kBuzzerErrorRequest);
  EXPECT_EQ(stubs->mail.runs(), 0);
  EXPECT_EQ(out.text(), "handle_alert: no mail send.");
}

TEST_F(HandleAlert, MailPerProfileThenOneRecordPerAddressOnItsSide) {
  write_mail_profiles(mail_profile(false, {"off@x"}) + mail_profile(true, {"a@x", "b@x"}) +
                      mail_profile(true, {"c@x"}));
  stubs->mail.answer_run(2, testing::kFailReply, 0);
  const std::vector<std::string> lines = {
      "2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,ok,docs,a<b>&c%d.txt",
      "2017/03/04 12:34:57,alice,pc1,192.0.2.7,open_read,ok,docs,\xE6\x97\xA5.txt"};
  raise_alert("r&d", lines);

  ASSERT_EQ(stubs->eventlog.runs(), 4);
  EXPECT_EQ(stubs->eventlog.request(1),
            eventlog_request("71100010", arg("name", "r&amp;d") + arg("number", "2")));
  EXPECT_EQ(stubs->eventlog.request(2),
            eventlog_request("71000010", arg("mail_address", "a@x") + arg("name", "r&amp;d")));
  EXPECT_EQ(stubs->eventlog.request(3),
            eventlog_request("71000010", arg("mail_address", "b@x") + arg("name", "r&amp;d")));
  EXPECT_EQ(stubs->eventlog.request(4),
            eventlog_request("71090010", arg("mail_address", "c@x") + arg("name", "r&amp;d")));
  ASSERT_EQ(stubs->buzzer.runs(), 1);
  EXPECT_EQ(stubs->buzzer.request(1), kBuzzerErrorRequest);

  const std::string subject = "サルビク アラート - 条件名:r&amp;d";
  const std::string body =
      "アラート条件 r&amp;d: アクセスを2件検出しました。\n\n"
      "2017/03/04 12:34:56,alice,pc1,192.0.2.7,open_read,ok,docs,a&lt;b&gt;&amp;c%d.txt\n"
      "2017/03/04 12:34:57,alice,pc1,192.0.2.7,open_read,ok,docs,\xE6\x97\xA5.txt\n";
  ASSERT_EQ(stubs->mail.runs(), 2);
  EXPECT_EQ(stubs->mail.request(1), mail_request(1, subject, body));
  EXPECT_EQ(stubs->mail.request(2), mail_request(2, subject, body));
  EXPECT_EQ(out.text(), "");
}

TEST_F(HandleAlert, UnreadableNoticeSettingsEndTheAlertSilently) {
  raise_alert("reads", {"line"});
  ASSERT_EQ(stubs->eventlog.runs(), 1);
  EXPECT_EQ(stubs->eventlog.request(1),
            eventlog_request("71100010", arg("name", "reads") + arg("number", "1")));
  EXPECT_EQ(stubs->buzzer.runs(), 1);
  EXPECT_EQ(stubs->mail.runs(), 0);
  EXPECT_EQ(out.text(), "");
}

TEST_F(HandleAlert, FailingEventLogAndBuzzerDoNotStopTheMail) {
  write_mail_profiles(mail_profile(true, {"a@x"}));
  stubs->eventlog.answer("garbage", 0);
  stubs->buzzer.answer(testing::kOkReply, 1);
  raise_alert("reads", {"line"});
  EXPECT_EQ(stubs->mail.runs(), 1);
  EXPECT_EQ(stubs->eventlog.runs(), 2);  // the alert and the address, both answered badly
}

TEST_F(HandleAlert, EveryMailFailingGivesOnlyFailureRecords) {
  write_mail_profiles(mail_profile(true, {"a@x"}) + mail_profile(true, {"b@x"}));
  stubs->mail.answer(testing::kOkReply, 1);
  raise_alert("reads", {"line"});
  EXPECT_EQ(stubs->mail.runs(), 2);
  ASSERT_EQ(stubs->eventlog.runs(), 3);
  EXPECT_EQ(stubs->eventlog.request(2),
            eventlog_request("71090010", arg("mail_address", "a@x") + arg("name", "reads")));
  EXPECT_EQ(stubs->eventlog.request(3),
            eventlog_request("71090010", arg("mail_address", "b@x") + arg("name", "reads")));
}

TEST_F(HandleAlert, MailResultsGiveOneRecordPerAddressInOrderWithoutNumber) {
  report("r", "71000010", {"z@x", "a<b>@x"});
  ASSERT_EQ(stubs->eventlog.runs(), 2);
  EXPECT_EQ(stubs->eventlog.request(1),
            eventlog_request("71000010", arg("mail_address", "z@x") + arg("name", "r")));
  EXPECT_EQ(stubs->eventlog.request(2),
            eventlog_request("71000010", arg("mail_address", "a&lt;b&gt;@x") + arg("name", "r")));
}

TEST_F(HandleAlert, EmptyAddressListGivesNoRecord) {
  report("r", "71090010", {});
  EXPECT_EQ(stubs->eventlog.runs(), 0);
}

}  // namespace
}  // namespace sarvik
