// Alert rules from the settings: every field, and every fault absorbed as it should be.
#include <gtest/gtest.h>

#include "settings/config_xml.h"
#include "support/xml_error.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using Pattern = AlertInfo::AlertPattern;

// Settings holding `alerts` as the content of "alertlist", loaded into `config`.
class AlertRules : public ::testing::Test {
 protected:
  const std::vector<AlertInfo>& rules_of(const std::string& alerts) {
    testing::write_file(dir / "s.xml", "<config><alertlist>" + alerts + "</alertlist></config>");
    config.Load(dir / "s.xml");
    config.alerts.clear();
    return config.get_alert_list();
  }
  AlertInfo one_rule(const std::string& body) {
    const std::vector<AlertInfo>& rules = rules_of("<alert><name>r</name>" + body + "</alert>");
    EXPECT_EQ(rules.size(), 1u);
    return rules.empty() ? AlertInfo("<none>") : rules[0];
  }

  testing::TempDir dir;
  ConfigXml config;
};

TEST_F(AlertRules, ReadsEveryField) {
  AlertInfo rule = one_rule(
      "<period not='true'><weekdays mon='true' fri='true' sun='false'/>"
      "<from><hour>9</hour><minute>30</minute></from><to><hour>17</hour><minute>5</minute></to>"
      "</period>"
      "<usernamelist all='true' not='false'><username>Alice</username><username>bob</username>"
      "</usernamelist>"
      "<hostname not='true'>pc*</hostname><ipaddr>192.0.2.*</ipaddr><result>fail</result>"
      "<sharename>docs</sharename><path>*.txt</path>"
      "<operationlist><operation type='open_read' enable='true'/>"
      "<operation type='delete' enable='false'/></operationlist>");
  EXPECT_EQ(rule.name, "r");
  EXPECT_TRUE(rule.period_not);
  EXPECT_EQ(rule.weekdays, (1u << 1) | (1u << 5));
  EXPECT_EQ(rule.from_hour, 9);
  EXPECT_EQ(rule.from_minute, 30);
  EXPECT_EQ(rule.to_hour, 17);
  EXPECT_EQ(rule.to_minute, 5);
  EXPECT_EQ(rule.username.flags, uint32_t{Pattern::ALERT_FLAG_ALL});
  EXPECT_EQ(rule.username.text, "");
  EXPECT_EQ(rule.usernames, (std::vector<std::string>{"Alice", "bob"}));
  EXPECT_EQ(rule.hostname.text, "pc*");
  EXPECT_EQ(rule.hostname.flags, uint32_t{Pattern::ALERT_FLAG_NOT});
  EXPECT_EQ(rule.ipaddr.text, "192.0.2.*");
  EXPECT_EQ(rule.ipaddr.flags, 0u);
  EXPECT_EQ(rule.result.text, "fail");
  EXPECT_EQ(rule.sharename.text, "docs");
  EXPECT_EQ(rule.path.text, "*.txt");
  EXPECT_EQ(rule.operations, (std::map<std::string, bool>{{"open_read", true}, {"delete", false}}));
}

TEST_F(AlertRules, RuleWithOnlyANameExistsWithAllDefaults) {
  AlertInfo rule = one_rule("");
  EXPECT_FALSE(rule.period_not);
  EXPECT_EQ(rule.weekdays, 0u);
  EXPECT_EQ(rule.from_hour, 0);
  EXPECT_EQ(rule.to_hour, 24);  // a missing period/to is 0:00, the end of the day
  EXPECT_EQ(rule.to_minute, 0);
  EXPECT_EQ(rule.username.flags, 0u);
  EXPECT_TRUE(rule.usernames.empty());
  EXPECT_TRUE(rule.operations.empty());
  EXPECT_FALSE(rule.match(1700000000, "u", "h", "i", "op", "ok", "s", "p"));
}

TEST_F(AlertRules, EndOfZeroHoursBecomesTheEndOfTheDay) {
  AlertInfo midnight = one_rule(
      "<period><from><hour>23</hour></from><to><hour>0</hour><minute>0</minute></to></period>");
  EXPECT_EQ(midnight.to_hour, 24);
  EXPECT_EQ(midnight.to_minute, 0);
  AlertInfo one_past = one_rule(
      "<period><from><hour>9</hour></from><to><hour>0</hour><minute>1</minute></to></period>");
  EXPECT_EQ(one_past.to_hour, 0);
  EXPECT_EQ(one_past.to_minute, 1);
}

TEST_F(AlertRules, RuleWithoutANameIsDroppedAndTheOthersKeepTheirOrder) {
  const std::vector<AlertInfo>& rules = rules_of(
      "<alert><name>first</name></alert><alert><hostname>x</hostname></alert>"
      "<alert><name/></alert><alert><name>last</name></alert>");
  ASSERT_EQ(rules.size(), 2u);
  EXPECT_EQ(rules[0].name, "first");
  EXPECT_EQ(rules[1].name, "last");
}

TEST_F(AlertRules, RulesOfOneNameStayTwoRules) {
  EXPECT_EQ(rules_of("<alert><name>x</name></alert><alert><name>x</name></alert>").size(), 2u);
}

TEST_F(AlertRules, MissingWeekdaysLeaveNoDayButThePeriodStands) {
  AlertInfo rule = one_rule("<period not='true'><from><hour>8</hour></from></period>");
  EXPECT_EQ(rule.weekdays, 0u);
  EXPECT_TRUE(rule.period_not);
  EXPECT_EQ(rule.from_hour, 8);
}

TEST_F(AlertRules, WeekdayAttributesOtherThanTrueAreOff) {
  AlertInfo rule = one_rule(
      "<period><weekdays sun='TRUE' mon='1' tue='true' wed='yes' thu='' sat='true'/></period>");
  EXPECT_EQ(rule.weekdays, (1u << 2) | (1u << 6));
}

TEST_F(AlertRules, HoursAndMinutesAreKeptOutOfRangeAndReadLeniently) {
  AlertInfo rule = one_rule(
      "<period><from><hour>25</hour><minute>75</minute></from>"
      "<to><hour>7x</hour><minute>abc</minute></to></period>");
  EXPECT_EQ(rule.from_hour, 25);
  EXPECT_EQ(rule.from_minute, 75);
  EXPECT_EQ(rule.to_hour, 7);
  EXPECT_EQ(rule.to_minute, 0);
}

TEST_F(AlertRules, NotWithAnEmptyUserListPassesEverybody) {
  AlertInfo rule = one_rule("<usernamelist not='true'/>");
  EXPECT_EQ(rule.username.flags, uint32_t{Pattern::ALERT_FLAG_NOT});
  EXPECT_TRUE(rule.usernames.empty());
  EXPECT_TRUE(rule.match_username("anyone"));
}

TEST_F(AlertRules, UserNameWithoutTextIsLeftOut) {
  AlertInfo rule = one_rule("<usernamelist><username/><username>x</username></usernamelist>");
  EXPECT_EQ(rule.usernames, std::vector<std::string>{"x"});
}

TEST_F(AlertRules, HostnameWithNotAndEmptyTextIsAbsentAndNotInverted) {
  AlertInfo rule = one_rule("<hostname not='true'/><ipaddr not='true'></ipaddr>");
  EXPECT_EQ(rule.hostname.text, "");
  EXPECT_EQ(rule.hostname.flags, 0u);
  EXPECT_EQ(rule.ipaddr.flags, 0u);
}

TEST_F(AlertRules, NotOnResultShareAndPathHasNoEffect) {
  AlertInfo rule = one_rule(
      "<result not='true'>ok</result><sharename not='true'>s</sharename>"
      "<path not='true'>*.txt</path>");
  EXPECT_EQ(rule.result.flags, 0u);
  EXPECT_EQ(rule.sharename.flags, 0u);
  EXPECT_EQ(rule.path.flags, 0u);
  EXPECT_TRUE(rule.match_path("a.txt", rule.path));
}

TEST_F(AlertRules, TypeGivenTwiceTakesTheLastValue) {
  AlertInfo rule = one_rule(
      "<operationlist><operation type='open' enable='true'/>"
      "<operation type='open' enable='false'/></operationlist>");
  EXPECT_EQ(rule.operations, (std::map<std::string, bool>{{"open", false}}));
}

TEST_F(AlertRules, OperationWithoutTypeEndsTheList) {
  AlertInfo rule = one_rule(
      "<operationlist><operation type='a' enable='true'/><operation enable='true'/>"
      "<operation type='b' enable='true'/></operationlist>");
  EXPECT_EQ(rule.operations, (std::map<std::string, bool>{{"a", true}}));
}

TEST_F(AlertRules, TextsAreKeptAsTheirBytes) {
  AlertInfo rule = one_rule(
      "<usernamelist><username>\xE5\xA4\xAA\xE9\x83\x8E</username></usernamelist>"
      "<path> spaced </path>");
  EXPECT_EQ(rule.usernames, std::vector<std::string>{"\xE5\xA4\xAA\xE9\x83\x8E"});
  EXPECT_EQ(rule.path.text, " spaced ");
}

TEST_F(AlertRules, ListIsParsedOnceAndKeptUntilTheNextReload) {
  const std::vector<AlertInfo>& rules = rules_of("<alert><name>a</name></alert>");
  ASSERT_EQ(rules.size(), 1u);
  // A changed file is not read again while the list holds rules.
  testing::write_file(dir / "s.xml", "<config/>");
  EXPECT_EQ(config.get_alert_list().size(), 1u);
}

TEST_F(AlertRules, NoDocumentRaises) { EXPECT_THROW(config.get_alert_list(), Vexil::CXMLError); }

TEST(AlertRulesReload, ReloadEmptiesTheListAndTheNextCallReadsTheNewFile) {
  testing::TempDir tmp;
  const std::string settings = tmp / "config-sarvik.xml";
  testing::write_file(settings, "<c><alertlist><alert><name>old</name></alert></alertlist></c>");
  ConfigXml config(settings);
  config.reload();
  EXPECT_TRUE(config.alerts.empty());  // not parsed by the reload itself
  ASSERT_EQ(config.get_alert_list().size(), 1u);
  testing::write_file(settings,
                      "<c><alertlist><alert><name>new1</name></alert>"
                      "<alert><name>new2</name></alert></alertlist></c>");
  config.reload();
  EXPECT_TRUE(config.alerts.empty());
  const std::vector<AlertInfo>& rules = config.get_alert_list();
  ASSERT_EQ(rules.size(), 2u);
  EXPECT_EQ(rules[0].name, "new1");
  // A failed reload leaves no rules.
  testing::write_file(settings, "<c>");
  EXPECT_THROW(config.reload(), Vexil::CXMLError);
  EXPECT_TRUE(config.alerts.empty());
  EXPECT_THROW(config.get_alert_list(), Vexil::CXMLError);
}

}  // namespace
}  // namespace sarvik
