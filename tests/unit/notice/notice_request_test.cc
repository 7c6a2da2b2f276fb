// Requests to the notification scripts: escaping, exact request bytes and the judging of replies.
#include "notice/notice_request.h"

#include <signal.h>

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "notice/cmd_exec_error.h"
#include "notice/event_codes.h"
#include "notice/notice_dialect.h"
#include "testing/file_text.h"
#include "testing/stub_script.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::StubScript;
using testing::TempDir;

TEST(EscapeXml, ReplacesAmpersandAndAngleBracketsOnly) {
  const struct {
    std::string text;
    std::string escaped;
  } cases[] = {
      {"", ""},
      {"plain text", "plain text"},
      {"a&b", "a&amp;b"},
      {"<x>", "&lt;x&gt;"},
      {"&amp;", "&amp;amp;"},
      {"\"quoted\" 'single'", "\"quoted\" 'single'"},
      {"%s %d %%", "%s %d %%"},
      {"\xE3\x82\xB5\r\n\t\xFF\x80", "\xE3\x82\xB5\r\n\t\xFF\x80"},
      {std::string("a\0<", 3), std::string("a\0&lt;", 6)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(escape_xml(c.text), c.escaped) << c.text;
  }
}

TEST(FillTemplate, PlaceholdersTakeTheOperandsInOrderAndOperandsStayAsTheyAre) {
  const struct {
    const char* form;
    std::initializer_list<std::string_view> operands;
    std::string filled;
  } cases[] = {
      {"<a>%s</a>", {"x"}, "<a>x</a>"},
      {"<a n=\"%d\">%s</a>", {"12", "y"}, "<a n=\"12\">y</a>"},
      {"%s|%s", {"%s%d", "%%"}, "%s%d|%%"},
      {"%s|%s", {"only"}, "only|"},
      {"50% %x %", {"unused"}, "50% %x %"},
      {"", {}, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(fill_template(c.form, c.operands), c.filled) << c.form;
  }
}

TEST(MakeArgs, SortedByKeyWhateverTheInsertionOrder) {
  std::map<std::string, std::string> args;
  args["number"] = "3";
  args["name"] = "rule";
  args["mail_address"] = "a@example.com";
  EXPECT_EQ(make_args(args),
            "<arg name=\"mail_address\">a@example.com</arg><arg name=\"name\">rule</arg>"
            "<arg name=\"number\">3</arg>");
}

TEST(MakeArgs, ValuesAreEscapedAndKeysStandAsTheyAre) {
  EXPECT_EQ(make_args({{"k<&>", "v<&>\"'"}}), "<arg name=\"k<&>\">v&lt;&amp;&gt;\"'</arg>");
}

TEST(MakeArglist, EmptyMapGivesNoListAtAll) {
  EXPECT_EQ(make_args({}), "");
  EXPECT_EQ(make_arglist({}), "");
  EXPECT_EQ(make_arglist({{"name", ""}}), "<arglist><arg name=\"name\"></arg></arglist>");
}

class NoticeRequestTest : public ::testing::Test {
 protected:
  // Like the service: a script that leaves without reading makes the write fail, not the test.
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  // Runs send_request and expects it to raise; returns the error's text, flag and status.
  struct Failure {
    std::string what;
    bool exec_failed;
    int exit_code;
  };
  Failure failure_of(const std::string& path) {
    try {
      send_request(NoticeScript{path}, "<entry/>");
    } catch (const CmdExecError& e) {
      return Failure{e.what(), e.exec_failed, e.exit_code};
    }
    ADD_FAILURE() << "no CmdExecError";
    return Failure{"", false, -1};
  }

  TempDir dir;
  StubScript stub{dir / "script.py", dir.path()};
};

TEST_F(NoticeRequestTest, EventLogRequestIsOneLineWithEscapedArguments) {
  request_eventlog(NoticeScript{stub.path()}, kEventAlertRaised, {{"name", "a&b"}});
  ASSERT_EQ(stub.runs(), 1);
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"add\"><eventlog><log><code>71100010</code>"
            "<arglist><arg name=\"name\">a&amp;b</arg></arglist></log></eventlog></entry>"
            "</entrylist></request>");
  EXPECT_EQ(stub.argc(1), "0");  // the script gets no arguments beyond its path
}

TEST_F(NoticeRequestTest, EventLogWithoutArgumentsClosesTheLogRightAfterTheCode) {
  request_eventlog(NoticeScript{stub.path()}, kEventMailSent, {});
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"add\"><eventlog><log><code>71000010</code></log>"
            "</eventlog></entry></entrylist></request>");
}

TEST_F(NoticeRequestTest, EventLogArgumentsArriveSortedQuotesAsTheyStand) {
  std::map<std::string, std::string> args;
  args["name"] = "r\"1' <x>";
  args["mail_address"] = "a&b@example.com";
  request_eventlog(NoticeScript{stub.path()}, kEventMailFailed, args);
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"add\"><eventlog><log><code>71090010</code>"
            "<arglist><arg name=\"mail_address\">a&amp;b@example.com</arg>"
            "<arg name=\"name\">r\"1' &lt;x&gt;</arg></arglist></log></eventlog></entry>"
            "</entrylist></request>");
}

TEST_F(NoticeRequestTest, BuzzerRequestNamesTheMelody) {
  request_buzzer(NoticeScript{stub.path()}, 0);
  request_buzzer(NoticeScript{stub.path()}, 1);
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"play\"><buzzer><melody type=\"ok\"/></buzzer>"
            "</entry></entrylist></request>");
  EXPECT_EQ(stub.request(2),
            "<request><entrylist><entry type=\"play\"><buzzer><melody type=\"error\"/></buzzer>"
            "</entry></entrylist></request>");
}

TEST_F(NoticeRequestTest, SuccessReturnsTheWholeReply) {
  const std::string reply =
      "<?xml version=\"1.0\"?>\n<any name=\"x\"><entrylist>\n  <entry result=\"0\">done</entry>"
      "\n</entrylist><extra/></any>\n";
  stub.answer(reply);
  EXPECT_EQ(send_request(NoticeScript{stub.path()}, "<entry/>"), reply);
  EXPECT_EQ(stub.request(1), "<request><entrylist><entry/></entrylist></request>");
}

TEST_F(NoticeRequestTest, OnlyAFirstEntryWithResultExactlyZeroIsSuccess) {
  const struct {
    std::string reply;
    bool ok;
  } cases[] = {
      {testing::kOkReply, true},
      {"<r><entrylist><entry result=\"0\"/><entry result=\"1\"/><entry/></entrylist></r>", true},
      {"<r><entrylist><entry result=\"1\"/><entry result=\"0\"/></entrylist></r>", false},
      {"<r><entrylist><entry result=\"1\"/></entrylist></r>", false},
      {"<r><entrylist><entry result=\" 0\"/></entrylist></r>", false},
      {"<r><entrylist><entry result=\"0 \"/></entrylist></r>", false},
      {"<r><entrylist><entry result=\"\"/></entrylist></r>", false},
      {"<r><entrylist><entry/></entrylist></r>", false},
      {"<r><entrylist/></r>", false},
      {"<r><entry result=\"0\"/></r>", false},
      {"", false},
      {"<r><entrylist><entry result=\"0\"></entrylist>", false},
      {"OK\n", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply);
    stub.answer(c.reply);
    if (c.ok) {
      EXPECT_EQ(send_request(NoticeScript{stub.path()}, "<entry/>"), c.reply);
      continue;
    }
    const Failure failure = failure_of(stub.path());
    // A bad result reads the same as a reply that cannot be read: never ": result error - ".
    EXPECT_EQ(failure.what, stub.path() + ": response invalid!!");
    EXPECT_TRUE(failure.exec_failed);
    EXPECT_EQ(failure.exit_code, 0);
  }
}

TEST_F(NoticeRequestTest, NonZeroStatusRaisesTheStatusWithoutLookingAtTheReply) {
  for (const std::string& reply : {std::string(testing::kOkReply), std::string("garbage")}) {
    stub.answer(reply, 3);
    const Failure failure = failure_of(stub.path());
    EXPECT_EQ(failure.what, stub.path() + "  - 3");
    EXPECT_FALSE(failure.exec_failed);
    EXPECT_EQ(failure.exit_code, 3);
  }
}

TEST_F(NoticeRequestTest, MissingOrNotExecutableScriptIsStatusTwo) {
  testing::write_file(dir / "plain.py", "#!/bin/sh\necho ok\n", 0644);
  for (const std::string& path : {dir / "missing.py", dir / "plain.py"}) {
    const Failure failure = failure_of(path);
    EXPECT_EQ(failure.what, path + "  - 2");
    EXPECT_FALSE(failure.exec_failed);
    EXPECT_EQ(failure.exit_code, 2);
  }
}

TEST_F(NoticeRequestTest, ScriptThatDoesNotReadItsInputIsJudgedByStatusAndReply) {
  testing::make_dirs(dir / "deaf");
  StubScript deaf(dir / "deaf/script.py", dir / "deaf", /*reads_input=*/false);
  // Far more than a pipe holds, so the write fails once the script has gone.
  const std::map<std::string, std::string> args = {{"name", std::string(1 << 20, 'x')}};
  EXPECT_EQ(request_eventlog(NoticeScript{deaf.path()}, kEventAlertRaised, args),
            testing::kOkReply);
  deaf.answer(testing::kOkReply, 4);
  try {
    request_eventlog(NoticeScript{deaf.path()}, kEventAlertRaised, args);
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_EQ(std::string(e.what()), deaf.path() + "  - 4");
  }
  EXPECT_EQ(deaf.runs(), 2);
}

// An executable shell script at `path` running `body`; its path.
std::string write_script(const std::string& path, const std::string& body) {
  testing::write_file(path, "#!/bin/sh\n" + body + "\n", 0755);
  return path;
}

TEST_F(NoticeRequestTest, SafeTextReplacesWhatXmlCannotCarryInTheRequestOnly) {
  stub.answer(testing::kOkReply);
  NoticeLimits limits;
  limits.safe_text = true;
  request_eventlog(NoticeScript(stub.path(), limits), kEventAlertRaised,
                   {{"name", std::string("a\x01"
                                         "b\xFF"
                                         "&c")}});
  EXPECT_EQ(stub.request(1),
            "<request><entrylist><entry type=\"add\"><eventlog><log><code>71100010</code>"
            "<arglist><arg name=\"name\">a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD&amp;c</arg></arglist></log>"
            "</eventlog></entry></entrylist></request>");
  // Without it the bytes go as they stand.
  request_eventlog(NoticeScript(stub.path()), kEventAlertRaised, {{"name", "a\x01"}});
  EXPECT_NE(stub.request(2).find("a\x01</arg>"), std::string::npos);
}

TEST_F(NoticeRequestTest, AScriptBeyondItsTimeIsKilledAndFailsAsOneThatCannotRun) {
  const std::string path = write_script(dir / "hang.py", "cat >/dev/null\nsleep 600");
  NoticeLimits limits;
  limits.script_seconds = 1;
  try {
    send_request(NoticeScript(path, limits), "<entry/>");
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_TRUE(e.exec_failed);
    EXPECT_EQ(std::string(e.what()), path + " time limit exceeded!");
  }
}

TEST_F(NoticeRequestTest, AReplyBeyondItsLimitFailsAsOneThatCannotRun) {
  const std::string path =
      write_script(dir / "flood.py", "cat >/dev/null\nhead -c 10000000 /dev/zero");
  NoticeLimits limits;
  limits.reply_bytes = 4096;
  try {
    send_request(NoticeScript(path, limits), "<entry/>");
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_TRUE(e.exec_failed);
    EXPECT_EQ(std::string(e.what()), path + " output limit exceeded!");
  }
}

}  // namespace
}  // namespace sarvik
