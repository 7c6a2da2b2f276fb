// The checker's access event dry run: what it says of each rule, and that it agrees with the
// alert log of the real service on the same settings.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "harness/command.h"
#include "harness/records.h"
#include "harness/service_test.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/time_zone.h"

namespace sarvik::testing {

// Defined in sarvik_check_test.cc: runs the checker with `args`; the weekdays of a rule that
// takes every day.
CommandResult check(const std::vector<std::string>& args);
extern const char kAllWeekdays[];

namespace {

const std::string kEveryDay = std::string("<period>") + kAllWeekdays + "</period>";
constexpr char kOffice[] =
    "<period><weekdays mon=\"true\" tue=\"true\" wed=\"true\" thu=\"true\" fri=\"true\"/>"
    "<from><hour>9</hour></from><to><hour>17</hour></to></period>";
constexpr char kEverybody[] = "<usernamelist all=\"true\"/>";
constexpr char kReads[] = "<operation type=\"open_read\" enable=\"true\"/>";
constexpr char kReadsAndWrites[] =
    "<operation type=\"open_read\" enable=\"true\"/><operation type=\"open_write\" "
    "enable=\"true\"/>";

std::string rule(const std::string& name, const std::string& period, const std::string& users,
                 const std::string& conditions, const std::string& operations) {
  return "<alert><name>" + name + "</name>" + period + users + conditions + "<operationlist>" +
         operations + "</operationlist></alert>";
}

// A file of the service's settings in a scratch directory. With the harness's layout the rules
// all stand on line 9.
class DryRun : public ::testing::Test {
 protected:
  CommandResult run(const Settings& settings, const std::string& event) {
    write_file(path, settings.to_xml());
    return check({"--settings", path, "--event", event});
  }

  // The dry run's line for the only rule of `rules`, behind "FILE:9: rule ".
  std::string rule_line(const std::string& rules, const std::string& event) {
    Settings settings;
    settings.alerts = rules;
    CommandResult result = run(settings, event);
    EXPECT_EQ(result.status, 0) << result.err;
    std::string prefix = path + ":9: rule ";
    std::string::size_type start = result.out.find(prefix);
    if (start == std::string::npos) return "<no rule line> " + result.out;
    start += prefix.size();
    return result.out.substr(start, result.out.find('\n', start) - start);
  }

  ScopedTimeZone zone{kUtc};
  TempDir dir;
  std::string path = dir / "config-sarvik.xml";
};

TEST_F(DryRun, ShowsTheEventAsTheRulesSeeItAndEveryRule) {
  Settings settings;
  settings.alerts = rule("reads", kEveryDay, kEverybody, "", kReads) +
                    rule("successes", kEveryDay, kEverybody, "<result>ok</result>", kReads);
  CommandResult result = run(settings,
                             "time=2024/03/04 12:00:00,user=ALICE,host=pc1,ip=192.0.2.7,op=open,"
                             "status=0,errno=13,share=docs,path=r|.");
  EXPECT_EQ(result.out,
            "event: 2024/03/04 12:00:00 (mon), user \"alice\", host \"pc1\", address "
            "\"192.0.2.7\", operation \"open_read\", result \"fail\", share \"docs\", path "
            "\"docs\"\naccess log: share \"docs\" is logged\n" +
                path + ":9: rule \"reads\": fires\n" + path +
                ":9: rule \"successes\": does not fire: result: \"fail\" does not match \"ok\"\n"
                "sarvik-check: 1 of 2 rules fire\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(DryRun, MissingFieldsAreEmptyAndTheStatusIsOk) {
  CommandResult result = run(Settings(), "time=0");
  EXPECT_EQ(result.out,
            "event: 1970/01/01 00:00:00 (thu), user \"\", host \"\", address \"\", operation "
            "\"\", result \"ok\", share \"\", path \"\"\naccess log: share \"\" is logged\n"
            "sarvik-check: 0 of 0 rules fire\n");
}

TEST_F(DryRun, CommasBelongToTheValueUnlessAFieldFollows) {
  CommandResult result = run(Settings(), "time=0,path=r|a,b.txt,share=docs");
  EXPECT_NE(result.out.find("operation \"_read\", result \"ok\", share \"docs\", path "
                            "\"a,b.txt\""),
            std::string::npos)
      << result.out;
}

// A rule, an event, and what the dry run says of the rule.
struct RuleCase {
  const char* name;
  std::string rule;
  std::string event;
  std::string says;
};

void PrintTo(const RuleCase& rule_case, std::ostream* out) { *out << rule_case.name; }

class DryRunRule : public DryRun, public ::testing::WithParamInterface<RuleCase> {};

TEST_P(DryRunRule, NamesTheFirstConditionThatStopsIt) {
  EXPECT_EQ(rule_line(GetParam().rule, GetParam().event), GetParam().says);
}

const std::string kMonday = "time=2024/03/04 10:00:00,op=open,path=r|x,";

INSTANTIATE_TEST_SUITE_P(
    Table, DryRunRule,
    ::testing::Values(
        RuleCase{"EndOfThePeriodIsInclusiveOfItsMinute",
                 rule("office", kOffice, kEverybody, "", kReads),
                 "time=2024/03/04 17:00:59,op=open,path=r|x", "\"office\": fires"},
        RuleCase{"AfterThePeriod", rule("office", kOffice, kEverybody, "", kReads),
                 "time=2024/03/04 17:01:00,op=open,path=r|x",
                 "\"office\": does not fire: period: 17:01 is outside 9:00 to 17:00"},
        RuleCase{"DayNotInThePeriod", rule("office", kOffice, kEverybody, "", kReads),
                 "time=2024/03/03 10:00:00,op=open,path=r|x",
                 "\"office\": does not fire: period: \"sun\" is not set in 'weekdays'"},
        RuleCase{"TimeInSecondsSinceTheEpoch", rule("office", kOffice, kEverybody, "", kReads),
                 "time=1709545500,op=open,path=r|x", "\"office\": fires"},
        RuleCase{"InvertedPeriod",
                 rule("off-hours",
                      "<period not=\"true\"><weekdays mon=\"true\"/><from><hour>9</hour></from>"
                      "<to><hour>17</hour></to></period>",
                      kEverybody, "", kReads),
                 kMonday,
                 "\"off-hours\": does not fire: period: \"mon\" 10:00 lies inside the period, "
                 "and not=\"true\" excludes it"},
        RuleCase{"UserNotListed",
                 rule("alice", kEveryDay, "<usernamelist><username>alice</username></usernamelist>",
                      "", kReads),
                 kMonday + "user=BOB",
                 "\"alice\": does not fire: user: \"bob\" is not in 'usernamelist'"},
        RuleCase{"UserFoldedOnBothSides",
                 rule("alice", kEveryDay, "<usernamelist><username>Alice</username></usernamelist>",
                      "", kReads),
                 kMonday + "user=ALICE", "\"alice\": fires"},
        RuleCase{"UserExcluded",
                 rule("not-alice", kEveryDay,
                      "<usernamelist not=\"true\"><username>alice</username></usernamelist>", "",
                      kReads),
                 kMonday + "user=alice",
                 "\"not-alice\": does not fire: user: \"alice\" is excluded by 'usernamelist' "
                 "not=\"true\""},
        RuleCase{"HostNotMatching",
                 rule("servers", kEveryDay, kEverybody, "<hostname>srv*</hostname>", kReads),
                 kMonday + "host=pc1",
                 "\"servers\": does not fire: host: \"pc1\" does not match \"srv*\""},
        RuleCase{"HostExcluded",
                 rule("clients", kEveryDay, kEverybody, "<hostname not=\"true\">srv*</hostname>",
                      kReads),
                 kMonday + "host=SRV1",
                 "\"clients\": does not fire: host: \"SRV1\" matches \"srv*\", which "
                 "not=\"true\" excludes"},
        RuleCase{"AddressNotMatching",
                 rule("inside", kEveryDay, kEverybody, "<ipaddr>10.*</ipaddr>", kReads),
                 kMonday + "ip=192.0.2.7",
                 "\"inside\": does not fire: address: \"192.0.2.7\" does not match \"10.*\""},
        RuleCase{"OperationTakesTheDirectionOfThePath",
                 rule("reads", kEveryDay, kEverybody, "", kReads),
                 "time=2024/03/04 10:00:00,op=open,path=w|x",
                 "\"reads\": does not fire: operation: \"open_write\" is not in 'operationlist'"},
        RuleCase{"OperationDisabled",
                 rule("writes", kEveryDay, kEverybody, "",
                      "<operation type=\"open_write\" enable=\"false\"/>"),
                 "time=2024/03/04 10:00:00,op=open,path=w|x",
                 "\"writes\": does not fire: operation: \"open_write\" is not enabled in "
                 "'operationlist'"},
        RuleCase{"ResultInItsBriefForm",
                 rule("failures", kEveryDay, kEverybody, "<result>fail</result>", kReads),
                 kMonday + "status=0,errno=13", "\"failures\": fires"},
        RuleCase{"ResultOk",
                 rule("failures", kEveryDay, kEverybody, "<result>fail</result>", kReads),
                 kMonday + "status=7",
                 "\"failures\": does not fire: result: \"ok\" does not match \"fail\""},
        RuleCase{"ShareNotMatching",
                 rule("docs", kEveryDay, kEverybody, "<sharename>docs</sharename>", kReads),
                 kMonday + "share=pub",
                 "\"docs\": does not fire: share: \"pub\" does not match \"docs\""},
        RuleCase{"PathNotMatching",
                 rule("texts", kEveryDay, kEverybody, "<path>*.txt</path>", kReads),
                 "time=2024/03/04 10:00:00,op=open,path=r|a.doc",
                 "\"texts\": does not fire: path: \"a.doc\" does not match \"*.txt\""},
        RuleCase{"ShareRootIsTheShareName",
                 rule("root", kEveryDay, kEverybody, "<path>docs</path>", kReads),
                 "time=2024/03/04 10:00:00,op=open,share=docs,path=r|.", "\"root\": fires"},
        RuleCase{"TrailingStarNeedsOneMoreCharacter",
                 rule("a-star", kEveryDay, kEverybody, "<path>a*</path>", kReads),
                 "time=2024/03/04 10:00:00,op=open,path=r|a",
                 "\"a-star\": does not fire: path: \"a\" does not match \"a*\""}),
    [](const ::testing::TestParamInfo<RuleCase>& info) { return std::string(info.param.name); });

// Settings, an event, and the line that says why the service tries no rule.
struct StopCase {
  const char* name;
  Settings settings;
  std::string event;
  std::string says;
};

void PrintTo(const StopCase& stop_case, std::ostream* out) { *out << stop_case.name; }

class DryRunStop : public DryRun, public ::testing::WithParamInterface<StopCase> {};

TEST_P(DryRunStop, TriesNoRuleWhereTheServiceTriesNone) {
  Settings settings = GetParam().settings;
  settings.alerts = rule("reads", kEveryDay, kEverybody, "", kReads);
  CommandResult result = run(settings, "time=0,op=open,path=r|x," + GetParam().event);
  std::string::size_type line = result.out.find('\n') + 1;
  EXPECT_EQ(result.out.substr(line), "access log: " + GetParam().says + "; no rule is tried\n");
  EXPECT_EQ(result.status, 0);
}

Settings settings_where(std::string Settings::*field, const std::string& value) {
  Settings settings;
  settings.*field = value;
  return settings;
}

Settings listed_shares(const std::vector<std::string>& shares) {
  Settings settings;
  settings.all_shares = "false";
  settings.shares = shares;
  return settings;
}

INSTANTIATE_TEST_SUITE_P(
    Table, DryRunStop,
    ::testing::Values(
        StopCase{"AccessLogOff", settings_where(&Settings::access_log_enable, "True"), "share=docs",
                 "'accesslogconf' is not enabled: the record is not logged"},
        StopCase{"ShareNotListed", listed_shares({"docs"}), "share=pub",
                 "share \"pub\" is not named in 'sharelist', and its all is not \"true\""},
        StopCase{"ShareListedInOtherCase", listed_shares({"docs"}), "share=Docs",
                 "share \"Docs\" is not named in 'sharelist', and its all is not \"true\""},
        StopCase{"ReservedShareWithAll", Settings(), "share=IPC$",
                 "share \"IPC$\" is never logged"},
        StopCase{"ReservedShareListed", listed_shares({"IPC$"}), "share=IPC$",
                 "share \"IPC$\" is never logged"},
        StopCase{"NoSharePath", settings_where(&Settings::share_path, ""), "share=docs",
                 "the request fails: no 'share/path' text"},
        StopCase{"NoAccessAutoDelete", settings_where(&Settings::access_autodelete, ""),
                 "share=docs", "the request fails: no 'accesslogconf/autodelete' element"}),
    [](const ::testing::TestParamInfo<StopCase>& info) { return std::string(info.param.name); });

TEST_F(DryRun, SettingsThatDoNotLoadAreAnError) {
  write_file(path, "<config>");
  CommandResult result = check({"--settings", path, "--event", "user=a"});
  EXPECT_EQ(
      result.out.rfind(path + ":1: error: CDOMXmlDocument::Load: ERROR: parse_file() failed.", 0),
      0u)
      << result.out;
  EXPECT_NE(result.out.find("sarvik-check: 1 error, 0 warnings\n"), std::string::npos);
  EXPECT_EQ(result.status, 2);
}

// The rules of the comparison with the service. Rule k stands 2^k times in the settings, so the
// number of alert lines that one record adds tells exactly which rules it fired.
struct ComparedRule {
  std::string name;
  std::string xml;
};

std::vector<ComparedRule> compared_rules() {
  return {
      {"reads", rule("reads", kEveryDay, kEverybody, "", kReads)},
      {"alice-writes",
       rule("alice-writes", kEveryDay, "<usernamelist><username>Alice</username></usernamelist>",
            "<path>*.txt</path>", "<operation type=\"open_write\" enable=\"true\"/>")},
      {"failures",
       rule("failures", kEveryDay, kEverybody, "<result>fail</result>", kReadsAndWrites)},
      {"clients-on-docs",
       rule("clients-on-docs", kEveryDay, kEverybody,
            "<hostname not=\"true\">srv*</hostname><sharename>docs</sharename>", kReadsAndWrites)},
      {"never", rule("never", std::string("<period not=\"true\">") + kAllWeekdays + "</period>",
                     kEverybody, "", kReads)},
      {"docs-root", rule("docs-root", kEveryDay,
                         "<usernamelist not=\"true\"><username>mallory</username></usernamelist>",
                         "<ipaddr>192.0.2.*</ipaddr><path>docs</path>", kReadsAndWrites)},
  };
}

struct ComparedEvent {
  std::string user, host, ipaddr, operation;
  uint16_t status, error_number;
  std::string share, path;

  // The value of --event for this record.
  std::string option() const {
    return "user=" + user + ",host=" + host + ",ip=" + ipaddr + ",op=" + operation +
           ",status=" + std::to_string(status) + ",errno=" + std::to_string(error_number) +
           ",share=" + share + ",path=" + path;
  }
};

const std::vector<ComparedEvent> kComparedEvents = {
    {"Alice", "pc1", "192.0.2.7", "open", 1, 0, "docs", "r|a.txt"},
    {"ALICE", "pc1", "192.0.2.7", "open", 1, 0, "docs", "w|b.TXT"},
    {"bob", "srv1", "192.0.2.8", "open", 0, 13, "docs", "r|x"},
    {"bob", "pc2", "192.0.2.9", "open", 1, 0, "docs", "r|."},
    {"mallory", "pc2", "192.0.2.9", "open", 1, 0, "docs", "r|."},
    {"carol", "pc1", "10.0.0.1", "delete", 1, 0, "docs", "x"},
    {"bob", "pc1", "192.0.2.7", "open", 1, 0, "IPC$", "r|x"},
    {"bob", "pc1", "192.0.2.7", "open", 0, 2, "public", "w|."},
    {"dave", "SRV9", "192.0.2.10", "open", 1, 0, "docs", "w|docs"},
};

// The names of the rules that the dry run says fire, one entry per rule of the list.
std::multiset<std::string> said_to_fire(const std::string& output) {
  std::multiset<std::string> names;
  std::string::size_type start = 0;
  for (std::string::size_type end = output.find('\n'); end != std::string::npos;
       start = end + 1, end = output.find('\n', start)) {
    std::string line = output.substr(start, end - start);
    std::string::size_type name = line.find(": rule \"");
    if (name == std::string::npos || line.size() < 7 || line.substr(line.size() - 7) != ": fires") {
      continue;
    }
    name += 8;
    names.insert(line.substr(name, line.find('"', name) - name));
  }
  return names;
}

using DryRunAgainstService = ServiceTest;

TEST_F(DryRunAgainstService, SaysOfEveryRuleWhatTheAlertLogShows) {
  std::vector<ComparedRule> rules = compared_rules();
  Settings settings;
  for (size_t k = 0; k < rules.size(); ++k) {
    for (size_t copy = 0; copy < (size_t{1} << k); ++copy) settings.alerts += rules[k].xml;
  }
  write_settings(settings);
  start_service();
  std::set<std::string> ever_fired;
  for (const ComparedEvent& event : kComparedEvents) {
    SCOPED_TRACE(event.option());
    CommandResult said = check({"--settings", paths::kSettings, "--event", event.option()});
    ASSERT_EQ(said.status, 0) << said.err;
    size_t before = log_lines("alertlog", kLogVolume).size();
    EXPECT_EQ(exchange(access_record(event.user, event.host, event.ipaddr, event.operation,
                                     event.status, event.error_number, event.share, event.path)),
              kOkAnswer);
    size_t added = log_lines("alertlog", kLogVolume).size() - before;
    std::multiset<std::string> written;
    for (size_t k = 0; k < rules.size(); ++k) {
      if ((added & (size_t{1} << k)) == 0) continue;
      for (size_t copy = 0; copy < (size_t{1} << k); ++copy) written.insert(rules[k].name);
      ever_fired.insert(rules[k].name);
    }
    EXPECT_EQ(said_to_fire(said.out), written) << said.out;
    EXPECT_EQ(added >> rules.size(), 0u);
  }
  // The table reaches every rule that can fire, so the agreement is not an empty one.
  EXPECT_EQ(ever_fired, (std::set<std::string>{"reads", "alice-writes", "failures",
                                               "clients-on-docs", "docs-root"}));
}

TEST_F(DryRunAgainstService, AgreesThatADisabledAccessLogFiresNothing) {
  Settings settings;
  settings.access_log_enable = "false";
  settings.alerts = rule("reads", kEveryDay, kEverybody, "", kReads);
  write_settings(settings);
  start_service();
  CommandResult said =
      check({"--settings", paths::kSettings, "--event", "user=a,op=open,share=docs,path=r|x"});
  EXPECT_NE(said.out.find("\naccess log: 'accesslogconf' is not enabled: the record is not "
                          "logged; no rule is tried\n"),
            std::string::npos)
      << said.out;
  EXPECT_EQ(exchange(access_record("a", "h", "i", "open", 1, 0, "docs", "r|x")), kOkAnswer);
  EXPECT_TRUE(log_lines("alertlog", kLogVolume).empty());
  EXPECT_TRUE(said_to_fire(said.out).empty());
}

}  // namespace
}  // namespace sarvik::testing
