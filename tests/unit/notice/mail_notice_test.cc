// Mail per notice profile: request bytes, the "%s" of the body, and the addresses on each side.
#include "notice/mail_notice.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/xml_error.h"
#include "testing/notice_stubs.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::mail_profile;
using testing::mail_request;

// The notice settings and a stub mail script in a temporary directory.
class SendMailTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Results of an earlier send that must not survive this one.
    notice.sent_addresses = {"earlier-sent@x"};
    notice.failed_addresses = {"earlier-failed@x"};
  }

  // Writes the notice settings with `confs` as the profile list.
  void set_profiles(const std::string& confs) { stubs.write_mail_profiles(confs); }

  testing::TempDir tmp;
  testing::NoticeStubs stubs{tmp.path()};
  testing::StubScript* stub = &stubs.mail;
  MailNotice notice{stubs.paths()};
};

TEST_F(SendMailTest, NoProfileReturnsOneWithBothListsCleared) {
  set_profiles(mail_profile(false, {"a@x"}));
  EXPECT_EQ(send_mail(notice, "s", "b"), 1);
  EXPECT_TRUE(notice.sent_addresses.empty());
  EXPECT_TRUE(notice.failed_addresses.empty());
  EXPECT_EQ(stub->runs(), 0);
}

TEST_F(SendMailTest, UnreadableSettingsRaiseAndLeaveTheListsAlone) {
  EXPECT_THROW(send_mail(notice, "s", "b"), Vexil::CXMLError);
  EXPECT_EQ(notice.sent_addresses, std::vector<std::string>{"earlier-sent@x"});
  EXPECT_EQ(notice.failed_addresses, std::vector<std::string>{"earlier-failed@x"});
  EXPECT_EQ(stub->runs(), 0);
}

TEST_F(SendMailTest, OneRequestPerProfileWithItsNumberAndEscapedTexts) {
  set_profiles(mail_profile(false, {"off@x"}) + mail_profile(true, {"a&amp;1@x", "b@x"}));
  EXPECT_EQ(send_mail(notice, "S & <T> \"q\" %s", "Hi %s, see <a> & 'b'"), 0);
  ASSERT_EQ(stub->runs(), 1);
  EXPECT_EQ(stub->request(1),
            mail_request(1, "S &amp; &lt;T&gt; \"q\" %s", "Hi a&amp;1@x, see &lt;a&gt; &amp; 'b'"));
  EXPECT_EQ(notice.sent_addresses, (std::vector<std::string>{"a&1@x", "b@x"}));
  EXPECT_TRUE(notice.failed_addresses.empty());
}

TEST_F(SendMailTest, SecondProfileFailingKeepsTheFirstSent) {
  set_profiles(mail_profile(true, {"a@x", "b@x"}) + mail_profile(true, {"c@x", "d@x"}) +
               mail_profile(true, {"e@x"}));
  stub->answer_run(2, testing::kOkReply, 1);
  stub->answer_run(3, "<r><entrylist><entry result=\"1\"/></entrylist></r>", 0);
  EXPECT_EQ(send_mail(notice, "s", "b"), 0);
  EXPECT_EQ(stub->runs(), 3);  // a failed profile does not stop the next
  EXPECT_EQ(stub->request(3), mail_request(2, "s", "b"));
  EXPECT_EQ(notice.sent_addresses, (std::vector<std::string>{"a@x", "b@x"}));
  EXPECT_EQ(notice.failed_addresses, (std::vector<std::string>{"c@x", "d@x", "e@x"}));
}

TEST_F(SendMailTest, MissingScriptFailsEveryProfile) {
  set_profiles(mail_profile(true, {"a@x"}) + mail_profile(true, {"b@x"}));
  notice.script_path = tmp / "missing.sh";
  EXPECT_EQ(send_mail(notice, "s", "b"), 0);
  EXPECT_TRUE(notice.sent_addresses.empty());
  EXPECT_EQ(notice.failed_addresses, (std::vector<std::string>{"a@x", "b@x"}));
}

TEST_F(SendMailTest, OnlyTheFirstPercentSStandsForTheAddress) {
  set_profiles(mail_profile(true, {"a@x", "b@x"}));
  const struct {
    std::string body;
    std::string sent;
  } cases[] = {
      {"no address here", "no address here"},
      {"to %s.", "to a@x."},
      {"%s and %s", "a@x and %s"},
      {"%d %n %% %i %", "%d %n %% %i %"},
      {"100%% %d %s %s %n", "100%% %d a@x %s %n"},
      {"%%s", "%a@x"},
  };
  int run = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.body);
    EXPECT_EQ(send_mail(notice, "s", c.body), 0);
    EXPECT_EQ(stub->request(++run), mail_request(0, "s", c.sent));
  }
}

TEST_F(SendMailTest, ProfileWithoutAddressesReplacesPercentSByNothing) {
  set_profiles(mail_profile(true, {}) + mail_profile(true, {"b@x"}));
  EXPECT_EQ(send_mail(notice, "s", "to [%s]"), 0);
  EXPECT_EQ(stub->request(1), mail_request(0, "s", "to []"));
  EXPECT_EQ(stub->request(2), mail_request(1, "s", "to [b@x]"));
  EXPECT_EQ(notice.sent_addresses, std::vector<std::string>{"b@x"});
  EXPECT_TRUE(notice.failed_addresses.empty());
}

TEST_F(SendMailTest, LineEndsAndNonAsciiBytesGoThroughUntouched) {
  set_profiles(mail_profile(true, {"a@x"}));
  const std::string subject = "\xE3\x82\xB5\xE3\x83\xAB - \xE6\x9D\xA1:r\r\n";
  const std::string body = "\xE3\x82\xA2 r\n\nline 1,\xFF\xFE\r\nline 2\n";
  EXPECT_EQ(send_mail(notice, subject, body), 0);
  EXPECT_EQ(stub->request(1), mail_request(0, subject, body));
}

}  // namespace
}  // namespace sarvik
