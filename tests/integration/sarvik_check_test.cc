// The settings checker end to end: one settings file per finding, with its exact line and the
// exit status; the sample settings; the command line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness/command.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"
#include "testing/temp_dir.h"
#include "testing/text_count.h"

namespace sarvik::testing {

// These two serve sarvik_check_event_test.cc too, the other half of this test program.
CommandResult check(const std::vector<std::string>& args) {
  std::vector<std::string> argv{SARVIK_CHECK_PATH};
  argv.insert(argv.end(), args.begin(), args.end());
  return run_command(argv);
}
extern const char kAllWeekdays[] =
    "<weekdays sun=\"true\" mon=\"true\" tue=\"true\" wed=\"true\" thu=\"true\" fri=\"true\" "
    "sat=\"true\"/>";

namespace {

const std::string kEveryDay = std::string("<period>") + kAllWeekdays + "</period>";

// A period on every day from `from` to `to`, each "<hour>..</hour><minute>..</minute>" text.
std::string every_day(const std::string& from, const std::string& to,
                      const std::string& period_attributes = "") {
  return "<period" + period_attributes + ">" + kAllWeekdays + "<from>" + from + "</from><to>" + to +
         "</to></period>";
}

// One alert rule, six lines, each part on a line of its own; by default it is clean.
struct RuleText {
  std::string name = "<name>r</name>";                 // first line, behind "<alert>"
  std::string period = kEveryDay;                      // second line
  std::string users = "<usernamelist all=\"true\"/>";  // third line
  std::string conditions;                              // fourth line
  std::string operations =                             // fifth line; "</alert>" is the sixth
      "<operationlist><operation type=\"open_read\" enable=\"true\"/></operationlist>";

  std::string to_xml() const {
    return "    <alert>" + name + "\n      " + period + "\n      " + users + "\n      " +
           conditions + "\n      " + operations + "\n    </alert>\n";
  }
};

// The settings file line by line; by default it is clean. Line 1 is the declaration, 2 the
// root, 3 `share`, 4 `eventlog`, 5 `accesslog`, 6 "<alertlist>", and the rules begin at line 7.
struct SettingsText {
  std::string share = "<share><path>/mnt/data/logs</path></share>";
  std::string eventlog =
      "<eventlogconf enable=\"true\"><autodelete enable=\"false\"/></eventlogconf>";
  std::string accesslog =
      "<accesslogconf enable=\"true\"><sharelist all=\"true\"/><autodelete enable=\"false\"/>"
      "</accesslogconf>";
  std::vector<RuleText> rules;
  // On the line behind "</alertlist>"; empty: no element and no line.
  std::string hardening =
      "<hardening><clienttimeout>5</clienttimeout><scripttimeout>300</scripttimeout>"
      "<scriptreplylimit>1048576</scriptreplylimit><locktimeout>30</locktimeout>"
      "<safetext enable=\"true\"/></hardening>";

  std::string to_xml() const {
    std::string xml = "<?xml version=\"1.0\"?>\n<config>\n  " + share + "\n  " + eventlog + "\n  " +
                      accesslog + "\n  <alertlist>\n";
    for (const RuleText& rule : rules) xml += rule.to_xml();
    xml += "  </alertlist>\n";
    if (!hardening.empty()) xml += "  " + hardening + "\n";
    return xml + "</config>\n";
  }
};

SettingsText with_rule(const RuleText& rule) {
  SettingsText settings;
  settings.rules = {rule};
  return settings;
}

RuleText rule_with(std::string RuleText::*part, const std::string& text) {
  RuleText rule;
  rule.*part = text;
  return rule;
}

SettingsText settings_with(std::string SettingsText::*part, const std::string& text) {
  SettingsText settings;
  settings.*part = text;
  return settings;
}

SettingsText shares_of(const std::string& sharelist) {
  return settings_with(&SettingsText::accesslog, "<accesslogconf enable=\"true\">" + sharelist +
                                                     "<autodelete enable=\"false\"/>"
                                                     "</accesslogconf>");
}

// The notice settings with one profile on each line from line 3; line 2 holds the list.
std::string notice_xml(const std::vector<std::string>& profiles) {
  std::string xml = "<?xml version=\"1.0\"?>\n<config><mailnotice><mailconflist>\n";
  for (const std::string& profile : profiles) xml += "  " + profile + "\n";
  return xml + "</mailconflist></mailnotice></config>\n";
}

std::string profile(const std::string& enable, const std::string& system_enable,
                    const std::string& addresses) {
  return "<mailconf enable=\"" + enable + "\"><notifylist><notify name=\"system\" enable=\"" +
         system_enable + "\"/></notifylist><toaddrlist>" + addresses + "</toaddrlist></mailconf>";
}

const std::string kGoodProfile = profile("true", "true", "<toaddr>admin@example.org</toaddr>");

// The summary line for the findings `lines` ("3: warning: ...").
std::string summary_of(const std::vector<std::string>& lines) {
  int errors = 0;
  int warnings = 0;
  for (const std::string& line : lines) {
    if (line.find(" error: ") != std::string::npos) ++errors;
    if (line.find(" warning: ") != std::string::npos) ++warnings;
  }
  return "sarvik-check: " + std::to_string(errors) + (errors == 1 ? " error, " : " errors, ") +
         std::to_string(warnings) + (warnings == 1 ? " warning\n" : " warnings\n");
}

// Each line of `lines` behind `file` and ":", then the summary.
std::string expected_output(const std::string& file, const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += file + ":" + line + "\n";
  return text + summary_of(lines);
}

// A scratch directory with a clean notice file; runs the checker on settings written there.
class CheckFiles : public ::testing::Test {
 protected:
  void SetUp() override { write_file(notice, notice_xml({kGoodProfile})); }

  CommandResult check_settings(const std::string& xml) {
    write_file(settings, xml);
    return check({"--settings", settings, "--notice", notice});
  }

  CommandResult check_notice(const std::string& xml) {
    write_file(settings, SettingsText().to_xml());
    write_file(notice, xml);
    return check({"--settings", settings, "--notice", notice});
  }

  TempDir dir;
  std::string settings = dir / "config-sarvik.xml";
  std::string notice = dir / "config-notice.xml";
};

// One settings file, the findings it must give (each "LINE: severity: message", exactly these
// and nothing else), and the exit status.
struct SettingsCase {
  const char* name;
  SettingsText settings;
  std::vector<std::string> findings;
  int status;
};

void PrintTo(const SettingsCase& settings_case, std::ostream* out) { *out << settings_case.name; }

class SettingsFinding : public CheckFiles, public ::testing::WithParamInterface<SettingsCase> {};

TEST_P(SettingsFinding, GivesExactlyItsLinesAndStatus) {
  CommandResult result = check_settings(GetParam().settings.to_xml());
  EXPECT_EQ(result.out, expected_output(settings, GetParam().findings));
  EXPECT_EQ(result.status, GetParam().status);
  EXPECT_EQ(result.err, "");
}

const char kNeverFires[] = "warning: rule \"r\" can never fire: ";

std::vector<SettingsCase> settings_cases() {
  RuleText twice;
  SettingsText two_rules;
  two_rules.rules = {twice, twice};
  SettingsText logs_off;
  logs_off.share.clear();
  logs_off.eventlog =
      "<eventlogconf enable=\"false\"><autodelete enable=\"false\"/></eventlogconf>";
  logs_off.accesslog =
      "<accesslogconf><sharelist all=\"true\"/><autodelete enable=\"false\"/></accesslogconf>";
  SettingsText rules_unused = with_rule(RuleText());
  rules_unused.accesslog = logs_off.accesslog;
  SettingsText unmatched_share =
      shares_of("<sharelist><share><name>docs</name></share></sharelist>");
  unmatched_share.rules = {rule_with(&RuleText::conditions, "<sharename>doc</sharename>")};
  SettingsText matched_share = unmatched_share;
  matched_share.rules = {rule_with(&RuleText::conditions, "<sharename>doc*</sharename>")};
  const std::string uninvertible =
      " is ignored: only 'period', 'usernamelist', 'hostname' and 'ipaddr' can be inverted";

  SettingsText no_hardening;
  no_hardening.hardening.clear();
  SettingsText partial_hardening;
  partial_hardening.hardening =
      "<hardening><clienttimeout>0</clienttimeout><scripttimeout>300</scripttimeout>"
      "<scriptreplylimit>1048576</scriptreplylimit><locktimeout>30</locktimeout></hardening>";

  return {
      {"CleanSettings", SettingsText(), {}, 0},
      {"NoHardening",
       no_hardening,
       {"2: warning: 'hardening/clienttimeout' sets no limit: a client that connects and sends "
        "nothing holds up all logging until it goes",
        "2: warning: 'hardening/scripttimeout' sets no limit: a notice script that hangs holds up "
        "every later alert while the waiting hits grow",
        "2: warning: 'hardening/scriptreplylimit' sets no limit: a notice script's reply is read "
        "whole into memory, however large",
        "2: warning: 'hardening/locktimeout' sets no limit: any local user who holds the notice "
        "settings' lock stops all mail",
        "2: warning: 'hardening/safetext' is not enabled: a record with control bytes or bytes "
        "that are no UTF-8 makes its mail request malformed, and its whole batch is not mailed"},
       1},
      {"HardeningWithALimitAtZeroAndNoSafeText",
       partial_hardening,
       {"8: warning: 'hardening/clienttimeout' sets no limit: a client that connects and sends "
        "nothing holds up all logging until it goes",
        "8: warning: 'hardening/safetext' is not enabled: a record with control bytes or bytes "
        "that are no UTF-8 makes its mail request malformed, and its whole batch is not mailed"},
       1},
      {"NoSharePath",
       settings_with(&SettingsText::share, ""),
       {"2: error: no 'share/path' text: every record that an enabled log takes fails (not logged, "
        "no "
        "answer)"},
       2},
      {"SharePathWithoutText",
       settings_with(&SettingsText::share, "<share><path/></share>"),
       {"3: error: no 'share/path' text: every record that an enabled log takes fails (not logged, "
        "no "
        "answer)"},
       2},
      {"NoSharePathWhileBothLogsAreOff",
       logs_off,
       {"2: note: no 'share/path' text; harmless while both logs are disabled"},
       0},
      {"RelativeSharePath",
       settings_with(&SettingsText::share, "<share><path>logs</path></share>"),
       {"3: warning: 'share/path' \"logs\" is not an absolute path: the logs land below the "
        "service's working directory"},
       1},
      {"NoEventAutoDelete",
       settings_with(&SettingsText::eventlog, "<eventlogconf enable=\"true\"/>"),
       {"4: error: no 'eventlogconf/autodelete' element: while 'eventlogconf' is enabled, every "
        "system record fails (not logged, no answer)"},
       2},
      {"NoAccessAutoDelete",
       settings_with(&SettingsText::accesslog,
                     "<accesslogconf enable=\"true\"><sharelist all=\"true\"/></accesslogconf>"),
       {"5: error: no 'accesslogconf/autodelete' element: while 'accesslogconf' is enabled, every "
        "access record fails (not logged, no answer)"},
       2},
      {"NoAutoDeleteWhileItsLogIsOff",
       settings_with(&SettingsText::eventlog, "<eventlogconf enable=\"false\"/>"),
       {},
       0},
      {"PercentWithoutDays",
       settings_with(&SettingsText::eventlog,
                     "<eventlogconf enable=\"true\"><autodelete enable=\"true\"><expire><percent>"
                     "10</percent></expire></autodelete></eventlogconf>"),
       {"4: warning: 'expire/percent' is not read without an 'expire/days' text: both read as 0"},
       1},
      {"NumberReadAsItsLeadingDigits",
       settings_with(&SettingsText::eventlog,
                     "<eventlogconf enable=\"true\"><autodelete enable=\"true\"><expire><days>12abc"
                     "</days><percent>10</percent></expire></autodelete></eventlogconf>"),
       {"4: warning: text \"12abc\" of 'days' is read as 12"},
       1},
      {"UnknownElement",
       settings_with(&SettingsText::eventlog,
                     "<eventlogconf enable=\"true\"><autodelete enable=\"false\"/><autodelet/>"
                     "</eventlogconf>"),
       {"4: warning: element 'autodelet' in 'eventlogconf' is not read by the service"},
       1},
      {"UnknownAttribute",
       settings_with(
           &SettingsText::eventlog,
           "<eventlogconf enabled=\"true\"><autodelete enable=\"false\"/></eventlogconf>"),
       {"4: warning: attribute 'enabled' of 'eventlogconf' is not read by the service"},
       1},
      {"UnknownElementInARule",
       with_rule(rule_with(&RuleText::users, "<usernamelst all=\"true\"/>")),
       {std::string("7: ") + kNeverFires + "no 'usernamelist'",
        "9: warning: element 'usernamelst' in 'alertlist/alert' is not read by the service"},
       1},
      {"ValueWithBlanks",
       shares_of("<sharelist><share><name> docs</name></share></sharelist>"),
       {"5: warning: text \" docs\" of 'name' has blanks around it: they are part of the value"},
       1},
      {"ReservedShareListed",
       shares_of("<sharelist><share><name>IPC$</name></share><share><name>docs</name></share>"
                 "</sharelist>"),
       {"5: note: share \"IPC$\" is never logged"},
       0},
      {"NoShareLogged",
       shares_of("<sharelist/>"),
       {"5: warning: 'accesslogconf' is enabled, but no share is logged: 'sharelist' names none "
        "and its all is not \"true\""},
       1},
      {"RulesWhileTheAccessLogIsOff",
       rules_unused,
       {"6: note: 'accesslogconf' is not enabled: no access record is logged and no rule is "
        "tried"},
       0},
      {"RuleWithoutName",
       with_rule(rule_with(&RuleText::name, "")),
       {"7: warning: rule without 'name' text is dropped"},
       1},
      {"RuleWithEmptyName",
       with_rule(rule_with(&RuleText::name, "<name/>")),
       {"7: warning: rule without 'name' text is dropped"},
       1},
      {"NoPeriod",
       with_rule(rule_with(&RuleText::period, "")),
       {std::string("7: ") + kNeverFires + "no 'period'"},
       1},
      {"NoWeekdays",
       with_rule(rule_with(&RuleText::period, "<period/>")),
       {std::string("8: ") + kNeverFires + "no 'period/weekdays'"},
       1},
      {"NoWeekdayTrue",
       with_rule(rule_with(&RuleText::period, "<period><weekdays mon=\"false\"/></period>")),
       {std::string("8: ") + kNeverFires + "no weekday of 'weekdays' is \"true\""},
       1},
      {"InvertedPeriodWithoutWeekdays",
       with_rule(rule_with(&RuleText::period, "<period not=\"true\"/>")),
       {},
       0},
      {"EndBeforeStart",
       with_rule(rule_with(&RuleText::period, every_day("<hour>22</hour>", "<hour>6</hour>"))),
       {std::string("8: ") + kNeverFires +
        "'period' from 22:00 to 6:00 ends before it starts (there is no wrap over midnight)"},
       1},
      {"EndOfMidnightIsTheEndOfTheDay",
       with_rule(rule_with(&RuleText::period,
                           every_day("<hour>9</hour>", "<hour>0</hour><minute>0</minute>"))),
       {},
       0},
      {"EndOfQuarterPastMidnightIsEarly",
       with_rule(rule_with(&RuleText::period,
                           every_day("<hour>9</hour>", "<hour>0</hour><minute>15</minute>"))),
       {std::string("8: ") + kNeverFires +
        "'period' from 9:00 to 0:15 ends before it starts (there is no wrap over midnight)"},
       1},
      {"InvertedEmptySpan",
       with_rule(rule_with(&RuleText::period,
                           every_day("<hour>22</hour>", "<hour>6</hour>", " not=\"true\""))),
       {"8: note: 'period' from 22:00 to 6:00 ends before it starts (there is no wrap over "
        "midnight): with not=\"true\" the period test passes at all times"},
       0},
      {"InvertedWholeWeek",
       with_rule(rule_with(&RuleText::period, every_day("", "", " not=\"true\""))),
       {std::string("8: ") + kNeverFires + "'period' not=\"true\" excludes every moment"},
       1},
      {"HourAboveRange",
       with_rule(rule_with(&RuleText::period, every_day("", "<hour>25</hour>"))),
       {"8: warning: 'hour' 25 is out of range (0 to 24)"},
       1},
      {"HourBelowRange",
       with_rule(rule_with(&RuleText::period, every_day("<hour>-1</hour>", ""))),
       {"8: warning: 'hour' -1 is out of range (0 to 24)"},
       1},
      {"MinuteAboveRange",
       with_rule(rule_with(&RuleText::period, every_day("<minute>60</minute>", ""))),
       {"8: warning: 'minute' 60 is out of range (0 to 59)"},
       1},
      {"EndOfHourTwentyFourIsInRange",
       with_rule(rule_with(&RuleText::period, every_day("", "<hour>24</hour>"))),
       {},
       0},
      {"SpanOutsideTheDay",
       with_rule(rule_with(&RuleText::period, every_day("<hour>25</hour>", "<hour>26</hour>"))),
       {"8: warning: 'hour' 25 is out of range (0 to 24)",
        "8: warning: 'hour' 26 is out of range (0 to 24)",
        std::string("8: ") + kNeverFires + "'period' from 25:00 to 26:00 lies outside the day"},
       1},
      {"NoUserList",
       with_rule(rule_with(&RuleText::users, "")),
       {std::string("7: ") + kNeverFires + "no 'usernamelist'"},
       1},
      {"EmptyUserList",
       with_rule(rule_with(&RuleText::users, "<usernamelist/>")),
       {std::string("9: ") + kNeverFires + "'usernamelist' names no user"},
       1},
      {"UserListOfEmptyNames",
       with_rule(rule_with(&RuleText::users, "<usernamelist><username/></usernamelist>")),
       {std::string("9: ") + kNeverFires + "'usernamelist' names no user"},
       1},
      {"EmptyInvertedUserListTakesEverybody",
       with_rule(rule_with(&RuleText::users, "<usernamelist not=\"true\"/>")),
       {},
       0},
      {"AllAndNotTogether",
       with_rule(rule_with(&RuleText::users, "<usernamelist all=\"true\" not=\"true\"/>")),
       {std::string("9: ") + kNeverFires + "'usernamelist' has both all=\"true\" and not=\"true\""},
       1},
      {"NoOperationList",
       with_rule(rule_with(&RuleText::operations, "")),
       {std::string("7: ") + kNeverFires + "no 'operationlist/operation'"},
       1},
      {"EmptyOperationList",
       with_rule(rule_with(&RuleText::operations, "<operationlist/>")),
       {std::string("11: ") + kNeverFires + "no 'operationlist/operation'"},
       1},
      {"NoEnabledOperation",
       with_rule(rule_with(&RuleText::operations,
                           "<operationlist><operation type=\"open_read\" enable=\"false\"/>"
                           "</operationlist>")),
       {std::string("11: ") + kNeverFires + "no operation of 'operationlist' has enable=\"true\""},
       1},
      {"OperationWithoutTypeEndsTheList",
       with_rule(rule_with(&RuleText::operations,
                           "<operationlist><operation type=\"a\" enable=\"true\"/><operation "
                           "enable=\"true\"/><operation type=\"b\" enable=\"true\"/><operation "
                           "type=\"c\" enable=\"true\"/></operationlist>")),
       {"11: warning: 'operation' without 'type' ends the list: the 2 operations behind it are "
        "not read"},
       1},
      {"OnlyOperationHasNoType",
       with_rule(rule_with(&RuleText::operations,
                           "<operationlist><operation enable=\"true\"/></operationlist>")),
       {"11: warning: 'operation' without 'type' is not read",
        std::string("11: ") + kNeverFires + "no operation of 'operationlist' is read"},
       1},
      {"TypeGivenTwice",
       with_rule(rule_with(&RuleText::operations,
                           "<operationlist><operation type=\"open_read\" enable=\"true\"/>"
                           "<operation type=\"open_read\" enable=\"false\"/><operation "
                           "type=\"open_write\" enable=\"true\"/></operationlist>")),
       {"11: warning: 'operation' type=\"open_read\" again (first at line 11): the last one "
        "wins, so it is disabled"},
       1},
      {"TwoRulesOfOneName",
       two_rules,
       {"13: warning: another rule named \"r\" (first at line 7): the two share one tally and "
        "one mail"},
       1},
      {"ResultMatchingNeitherOkNorFail",
       with_rule(rule_with(&RuleText::conditions, "<result>ok*</result>")),
       {std::string("10: ") + kNeverFires + "'result' \"ok*\" matches neither \"ok\" nor \"fail\""},
       1},
      {"ResultInCapitals",
       with_rule(rule_with(&RuleText::conditions, "<result>FAIL</result>")),
       {},
       0},
      {"NotOnResult",
       with_rule(rule_with(&RuleText::conditions, "<result not=\"true\">ok</result>")),
       {"10: warning: 'result' not=\"true\"" + uninvertible},
       1},
      {"NotOnShareName",
       with_rule(rule_with(&RuleText::conditions, "<sharename not=\"true\">docs</sharename>")),
       {"10: warning: 'sharename' not=\"true\"" + uninvertible},
       1},
      {"NotOnPath",
       with_rule(rule_with(&RuleText::conditions, "<path not=\"yes\">*.txt</path>")),
       {"10: warning: 'path' not=\"yes\"" + uninvertible},
       1},
      {"NotOnOperation",
       with_rule(rule_with(&RuleText::operations,
                           "<operationlist><operation type=\"open_read\" enable=\"true\" "
                           "not=\"true\"/></operationlist>")),
       {"11: warning: 'operation' not=\"true\"" + uninvertible},
       1},
      {"NotFalseOnResultIsHarmless",
       with_rule(rule_with(&RuleText::conditions, "<result not=\"false\">ok</result>")),
       {},
       0},
      {"InvertedHostWithoutPattern",
       with_rule(rule_with(&RuleText::conditions, "<hostname not=\"true\"/>")),
       {"10: warning: 'hostname' not=\"true\" has no pattern: the condition is absent and 'not' "
        "is ignored"},
       1},
      {"PatternWithBlanks",
       with_rule(rule_with(&RuleText::conditions, "<hostname>pc1 </hostname>")),
       {"10: warning: text \"pc1 \" of 'hostname' has blanks around it: they are part of the "
        "value"},
       1},
      {"ShareNameMatchingNoLoggedShare",
       unmatched_share,
       {std::string("10: ") + kNeverFires + "'sharename' \"doc\" matches no share of 'sharelist'"},
       1},
      {"ShareNameMatchingALoggedShare", matched_share, {}, 0},
  };
}

INSTANTIATE_TEST_SUITE_P(Table, SettingsFinding, ::testing::ValuesIn(settings_cases()),
                         [](const ::testing::TestParamInfo<SettingsCase>& info) {
                           return std::string(info.param.name);
                         });

// A switch value, and whether the checker warns (looks meant as true), notes, or says nothing.
struct SwitchCase {
  const char* name;
  const char* value;
  const char* severity;  // "warning", "note", or empty for nothing
};

void PrintTo(const SwitchCase& switch_case, std::ostream* out) { *out << switch_case.name; }

class SwitchValue : public CheckFiles, public ::testing::WithParamInterface<SwitchCase> {};

TEST_P(SwitchValue, ReadAsFalseUnlessExactlyTrue) {
  std::string value = GetParam().value;
  CommandResult result = check_settings(
      settings_with(&SettingsText::eventlog, "<eventlogconf enable=\"" + value +
                                                 "\"><autodelete enable=\"false\"/></eventlogconf>")
          .to_xml());
  std::vector<std::string> findings;
  std::string severity = GetParam().severity;
  if (!severity.empty()) {
    findings.push_back("4: " + severity + ": 'eventlogconf' enable=\"" + value +
                       "\" is read as false (only \"true\" is true)");
  }
  EXPECT_EQ(result.out, expected_output(settings, findings));
  EXPECT_EQ(result.status, severity == "warning" ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SwitchValue,
    ::testing::Values(
        SwitchCase{"Capitalised", "True", "warning"}, SwitchCase{"Capitals", "TRUE", "warning"},
        SwitchCase{"Digit", "1", "warning"}, SwitchCase{"Yes", "yes", "warning"},
        SwitchCase{"On", "On", "warning"}, SwitchCase{"LeadingBlank", " true", "warning"},
        SwitchCase{"TrailingBlank", "true ", "warning"}, SwitchCase{"Misspelt", "ture", "note"},
        SwitchCase{"No", "no", "note"}, SwitchCase{"Empty", "", "note"},
        SwitchCase{"True", "true", ""}, SwitchCase{"False", "false", ""}),
    [](const ::testing::TestParamInfo<SwitchCase>& info) { return std::string(info.param.name); });

TEST_F(CheckFiles, MalformedSettingsGiveTheServicesMessageAndLibraryNotes) {
  CommandResult result = check_settings("<config>\n<a>\n</b>\n</config>\n");
  EXPECT_EQ(result.out,
            expected_output(
                settings,
                {"3: error: CDOMXmlDocument::Load: ERROR: parse_file() failed. file=" + settings,
                 "3: note: Opening and ending tag mismatch: a line 2 and b",
                 "3: note: the service does not start with this file; a reload to it "
                 "leaves every request unanswered"}));
  EXPECT_EQ(result.status, 2);
}

TEST_F(CheckFiles, MissingSettingsAreAnError) {
  std::string missing = dir / "none.xml";
  CommandResult result = check({"--settings", missing, "--notice", notice});
  EXPECT_EQ(
      result.out,
      missing + ": error: CDOMXmlDocument::Load: ERROR: parse_file() failed. file=" + missing +
          "\n" + missing + ": note: cannot open the file: No such file or directory\n" + missing +
          ": note: the service does not start with this file; a reload to it leaves every "
          "request unanswered\nsarvik-check: 1 error, 0 warnings\n");
  EXPECT_EQ(result.status, 2);
}

TEST_F(CheckFiles, FindingsOfOneLineKeepTheirOrderAndFilesFollowEachOther) {
  RuleText rule = rule_with(&RuleText::users, "");
  rule.operations = "";
  write_file(notice, notice_xml({profile("true", "true", "")}));
  CommandResult result = check_settings(with_rule(rule).to_xml());
  EXPECT_EQ(result.out, settings + ":7: " + kNeverFires + "no 'usernamelist'\n" + settings +
                            ":7: " + kNeverFires + "no 'operationlist/operation'\n" + notice +
                            ":3: warning: mail profile 0 takes system notices but has no "
                            "'toaddrlist/toaddr': its mail goes to nobody\n"
                            "sarvik-check: 0 errors, 3 warnings\n");
}

// The sample seals, so its key must be set up: this one runs in a namespace of its own.
TEST(SarvikCheck, SampleSettingsAreCleanOnceTheSealingKeyIsSetUp) {
  SARVIK_REQUIRE_FRESH_VOLUMES();
  make_dirs("/mnt/data/conf/sarvik/seal");
  write_file("/mnt/data/conf/sarvik/seal/key", "k", 0600);
  TempDir dir;
  write_file(dir / "notice.xml", notice_xml({kGoodProfile}));
  CommandResult result =
      check({"--settings", SARVIK_SAMPLE_SETTINGS, "--notice", dir / "notice.xml"});
  const std::string sample = SARVIK_SAMPLE_SETTINGS;
  const size_t seal_line =
      count_of(read_file(sample).substr(0, read_file(sample).find("<seal ")), "\n") + 1;
  EXPECT_EQ(result.out, sample + ":" + std::to_string(seal_line) +
                            ": note: 'hardening/seal' is on: the service seals every line it "
                            "writes in /mnt/data/conf/sarvik/seal, and 'sarvik-log --verify' "
                            "tells which lines were changed, dropped or forged since\n"
                            "sarvik-check: 0 errors, 0 warnings\n");
  EXPECT_EQ(result.status, 0);
}

// One notice file, the findings it must give, and the exit status.
struct NoticeCase {
  const char* name;
  std::vector<std::string> profiles;
  std::vector<std::string> findings;
  int status;
};

void PrintTo(const NoticeCase& notice_case, std::ostream* out) { *out << notice_case.name; }

class NoticeFinding : public CheckFiles, public ::testing::WithParamInterface<NoticeCase> {};

TEST_P(NoticeFinding, GivesExactlyItsLinesAndStatus) {
  CommandResult result = check_notice(notice_xml(GetParam().profiles));
  EXPECT_EQ(result.out, expected_output(notice, GetParam().findings));
  EXPECT_EQ(result.status, GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Table, NoticeFinding,
    ::testing::Values(
        NoticeCase{"CleanProfile", {kGoodProfile}, {}, 0},
        NoticeCase{"ProfileWithoutAddresses",
                   {profile("true", "true", "")},
                   {"3: warning: mail profile 0 takes system notices but has no "
                    "'toaddrlist/toaddr': its mail goes to nobody"},
                   1},
        NoticeCase{"EnabledProfileWithoutSystemNotices",
                   {profile("true", "false", "<toaddr>a@example.org</toaddr>"), kGoodProfile},
                   {"3: note: mail profile 0 is enabled but takes no system notices"},
                   0},
        NoticeCase{"NoProfileTakesSystemNotices",
                   {profile("false", "true", "<toaddr>a@example.org</toaddr>")},
                   {"2: warning: no mail profile takes system notices: alerts send no mail"},
                   1},
        NoticeCase{"NoProfileAtAll",
                   {},
                   {"2: warning: no mail profile takes system notices: alerts send no mail"},
                   1},
        NoticeCase{"CapitalisedProfileSwitch",
                   {profile("True", "true", "<toaddr>a@example.org</toaddr>"), kGoodProfile},
                   {"3: warning: 'mailconf' enable=\"True\" is read as false (only \"true\" is "
                    "true)"},
                   1},
        NoticeCase{"CapitalisedSystemSwitch",
                   {profile("true", "TRUE", "<toaddr>a@example.org</toaddr>"), kGoodProfile},
                   {"3: warning: 'notify' enable=\"TRUE\" is read as false (only \"true\" is "
                    "true)",
                    "3: note: mail profile 0 is enabled but takes no system notices"},
                   1}),
    [](const ::testing::TestParamInfo<NoticeCase>& info) { return std::string(info.param.name); });

TEST_F(CheckFiles, MissingNoticeFileMeansNoMail) {
  write_file(settings, SettingsText().to_xml());
  std::string missing = dir / "none.xml";
  CommandResult result = check({"--settings", settings, "--notice", missing});
  EXPECT_EQ(result.out, missing +
                            ": warning: cannot be read (No such file or directory): alerts send "
                            "no mail\nsarvik-check: 0 errors, 1 warning\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(CheckFiles, MalformedNoticeFileIsAnError) {
  CommandResult result = check_notice("<config><mailnotice>\n</config>\n");
  EXPECT_EQ(
      result.out,
      expected_output(
          notice,
          {"2: error: CDOMXmlDocument::Load: ERROR: parse_file() failed. file=" + notice,
           "2: note: Opening and ending tag mismatch: mailnotice line 1 and "
           "config",
           "2: note: alerts send no mail", "3: note: Premature end of data in tag config line 1"}));
  EXPECT_EQ(result.status, 2);
}

TEST(SarvikCheck, DefaultsAreTheServicesFilesAndTheNoticeLock) {
  SARVIK_REQUIRE_FRESH_VOLUMES();
  make_dirs("/mnt/data/xmlconf");
  write_file(paths::kSettings, settings_with(&SettingsText::share, "").to_xml());
  CommandResult result = check({});
  EXPECT_EQ(result.out, std::string(paths::kSettings) +
                            ":2: error: no 'share/path' text: every record that an enabled log "
                            "takes fails (not logged, no answer)\n" +
                            paths::kNoticeSettings +
                            ": warning: cannot be read (No such file or directory): alerts send "
                            "no mail\nsarvik-check: 1 error, 1 warning\n");
  EXPECT_EQ(result.status, 2);
  EXPECT_FALSE(exists(paths::kNoticeSettingsLock));

  write_file(paths::kNoticeSettings, notice_xml({kGoodProfile}));
  write_file(paths::kSettings, SettingsText().to_xml());
  result = check({});
  EXPECT_EQ(result.out, "sarvik-check: 0 errors, 0 warnings\n");
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(exists(paths::kNoticeSettingsLock));  // read under the appliance's lock
}

// Sealing is looked at where the service looks for its key, so these run in a namespace of their
// own.
class CheckSealing : public ::testing::Test {
 protected:
  void SetUp() override {
    SARVIK_REQUIRE_FRESH_VOLUMES();
    make_dirs("/mnt/data/xmlconf");
    write_file(paths::kNoticeSettings, notice_xml({kGoodProfile}));
  }

  static CommandResult check_with_seal(const std::string& seal) {
    SettingsText settings;
    settings.hardening =
        "<hardening><clienttimeout>5</clienttimeout><scripttimeout>300"
        "</scripttimeout><scriptreplylimit>1048576</scriptreplylimit>"
        "<locktimeout>30</locktimeout><safetext enable=\"true\"/>" +
        seal + "</hardening>";
    write_file(paths::kSettings, settings.to_xml());
    return check({});
  }
};

TEST_F(CheckSealing, SealingOnWithoutAKeyIsAWarning) {
  CommandResult result = check_with_seal("<seal enable=\"true\"/>");
  EXPECT_EQ(result.out, std::string(paths::kSettings) +
                            ":8: warning: 'hardening/seal' is on, but there is no sealing key in "
                            "/mnt/data/conf/sarvik/seal: lines are written unsealed until "
                            "'sarvik-log --setup-keys' makes one and the service reloads\n"
                            "sarvik-check: 0 errors, 1 warning\n");
  EXPECT_EQ(result.status, 1);
}

TEST_F(CheckSealing, SealingOnWithAKeyIsExplained) {
  make_dirs("/mnt/data/conf/sarvik/seal");
  write_file("/mnt/data/conf/sarvik/seal/key", "k", 0600);
  CommandResult result = check_with_seal("<seal enable=\"true\"/>");
  EXPECT_EQ(result.out, std::string(paths::kSettings) +
                            ":8: note: 'hardening/seal' is on: the service seals every line it "
                            "writes in /mnt/data/conf/sarvik/seal, and 'sarvik-log --verify' "
                            "tells which lines were changed, dropped or forged since\n"
                            "sarvik-check: 0 errors, 0 warnings\n");
  EXPECT_EQ(result.status, 0);
}

TEST_F(CheckSealing, SealingOffIsExplainedAndWithoutTheElementNothingIsSaid) {
  for (const char* off : {"<seal/>", "<seal enable=\"false\"/>"}) {
    CommandResult result = check_with_seal(off);
    EXPECT_EQ(result.out, std::string(paths::kSettings) +
                              ":8: note: 'hardening/seal' is off: the lines are not sealed, so "
                              "nothing proves later which were changed\n"
                              "sarvik-check: 0 errors, 0 warnings\n")
        << off;
  }
  EXPECT_EQ(check_with_seal("").out, "sarvik-check: 0 errors, 0 warnings\n");
}

TEST(SarvikCheck, HelpGoesToStandardOutput) {
  CommandResult result = check({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("Usage: sarvik-check", 0), 0u);
  EXPECT_EQ(result.err, "");
}

TEST(SarvikCheck, UsageErrorsExitWith3) {
  for (const auto& args :
       std::vector<std::vector<std::string>>{{"--bogus"},
                                             {"--settings"},
                                             {"--event", "time=noon"},
                                             {"--event", "time=2024/02/30 12:00:00"},
                                             {"--event", "status=65536"},
                                             {"--event", "errno=-1"},
                                             {"--event", "shar=docs"},
                                             {"--event", "user"},
                                             {"--notice", "n.xml", "--event", "user=a"}}) {
    CommandResult result = check(args);
    EXPECT_EQ(result.status, 3) << ::testing::PrintToString(args);
    EXPECT_NE(result.err.find("Usage: sarvik-check"), std::string::npos);
    EXPECT_EQ(result.out, "");
  }
}

}  // namespace
}  // namespace sarvik::testing
