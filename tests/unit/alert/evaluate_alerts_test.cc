// Alert evaluation: hits go to the alert log and to the tally of the rule's name.
#include "alert/evaluate_alerts.h"

#include <time.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/xml_error.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

constexpr time_t kWhen = 1700000000;
constexpr char kLine[] = "2023/11/14 22:13:20,alice,pc1,192.0.2.7,open_read,ok,docs,a.txt";

// A rule called `name` that fires on every access to share `share` within `span` (the
// elements "from" and "to"; empty: the whole day) that meets the further `conditions`.
std::string rule(const std::string& name, const std::string& share = "docs",
                 const std::string& span = "", const std::string& conditions = "") {
  return "<alert><name>" + name +
         "</name><period><weekdays sun='true' mon='true' tue='true' wed='true' thu='true' "
         "fri='true' sat='true'/>" +
         span + "</period><usernamelist all='true'/><sharename>" + share + "</sharename>" +
         conditions + "<operationlist><operation type='open_read' enable='true'/>" +
         "</operationlist></alert>";
}

// The span of the whole hour `hour` of any day.
std::string hour_span(int hour) {
  const std::string h = std::to_string(hour);
  return "<from><hour>" + h + "</hour><minute>0</minute></from><to><hour>" + h +
         "</hour><minute>59</minute></to>";
}

// `when` in local time by strftime `format`.
std::string local_text(time_t when, const char* format) {
  struct tm local;
  localtime_r(&when, &local);
  char text[32];
  strftime(text, sizeof text, format, &local);
  return text;
}

// A volume, a state directory and a settings file in a temporary directory, and settings with
// the given rules.
class EvaluateAlerts : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::make_dirs(state_dir);
    testing::make_dirs(volume);
  }
  void load(const std::string& rules) { load(rules, volume); }
  void load(const std::string& rules, const std::string& share_path) {
    testing::write_file(settings, "<config><share><path>" + share_path +
                                      "</path></share><alertlist>" + rules +
                                      "</alertlist></config>");
    config.reload();
  }
  void evaluate(const std::string& share = "docs", time_t when = kWhen,
                const std::string& result = "ok") {
    const AccessFields fields{"alice", "pc1", "192.0.2.7", "open_read", result, share, "a.txt"};
    evaluate_alerts(when, fields, kLine, config, alerts, state_dir, /*sealer=*/nullptr);
  }
  // The lines of the alert log, each with its CR LF.
  std::string alert_log() {
    std::string text;
    std::string root = volume + "/alertlog";
    for (const std::string& month : testing::list_dir(root)) {
      for (const std::string& file : testing::list_dir(root + "/" + month)) {
        text += testing::read_file(root + "/" + month + "/" + file);
      }
    }
    return text;
  }

  testing::TempDir tmp;
  const std::string settings = tmp / "config.xml";
  const std::string state_dir = tmp / "state";
  const std::string volume = tmp / "logs";
  ConfigXml config{settings};
  AlertThread alerts{nullptr};  // not started: nothing drains the tallies
};

TEST_F(EvaluateAlerts, NoRulesCreateNoAlertLog) {
  load("");
  evaluate();
  EXPECT_FALSE(testing::exists(volume + "/alertlog"));
  EXPECT_TRUE(alerts.tallies.empty());
}

TEST_F(EvaluateAlerts, HitWritesTheLineAtOnceAndQueuesIt) {
  load(rule("watch"));
  evaluate();
  EXPECT_EQ(alert_log(), std::string("\xEF\xBB\xBF") + kLine + "\r\n");
  ASSERT_EQ(alerts.tallies.count("watch"), 1u);
  EXPECT_EQ(alerts.tallies["watch"].lines, std::vector<std::string>{kLine});
  EXPECT_GT(alerts.tallies["watch"].last_time, kWhen);  // the present, not the event's time
}

TEST_F(EvaluateAlerts, RuleTestSeesTheRecordsTimeNotThePresent) {
  // Twelve hours ago (eleven or thirteen across a change of daylight saving): the rule's hour
  // holds the record's time, and never the present.
  const time_t when = time(nullptr) - 12 * 3600;
  load(rule("then", "docs", hour_span(std::stoi(local_text(when, "%H")))) +
       rule("now", "docs", hour_span(std::stoi(local_text(time(nullptr), "%H")))));
  evaluate("docs", when);
  EXPECT_EQ(alerts.tallies.count("then"), 1u);
  EXPECT_EQ(alerts.tallies.count("now"), 0u);
}

TEST_F(EvaluateAlerts, HitOfAPastMonthGoesToTheAlertLogOfThatMonth) {
  const time_t when = time(nullptr) - 40 * 24 * 3600;
  load(rule("watch"));
  evaluate("docs", when);
  const std::string root = volume + "/alertlog";
  const std::string month = local_text(when, "%Y%m");
  ASSERT_EQ(testing::list_dir(root), std::vector<std::string>{month});
  EXPECT_EQ(testing::list_dir(root + "/" + month),
            std::vector<std::string>{"alert_" + local_text(when, "%Y%m%d%H%M%S") + ".csv"});
}

// A rule compares with "ok" and "fail" and never sees the error text of the logged result.
TEST_F(EvaluateAlerts, RulesSeeTheResultInItsBriefForm) {
  load(rule("failed", "docs", "", "<result>fail</result>") +
       rule("denied", "docs", "", "<result>*denied*</result>"));
  evaluate("docs", kWhen, "fail (Permission denied)");
  EXPECT_EQ(alerts.tallies.count("failed"), 1u);
  EXPECT_EQ(alerts.tallies.count("denied"), 0u);
  evaluate("docs", kWhen, "ok");
  EXPECT_EQ(alerts.tallies["failed"].lines.size(), 1u);
}

TEST_F(EvaluateAlerts, EventThatFiresNothingWritesNothing) {
  load(rule("watch", "other"));
  evaluate();
  EXPECT_FALSE(testing::exists(volume + "/alertlog"));
  EXPECT_TRUE(alerts.tallies.empty());
}

TEST_F(EvaluateAlerts, TwoRulesOfOneNameShareOneTallyAndWriteTwice) {
  load(rule("twin") + rule("twin"));
  evaluate();
  EXPECT_EQ(alerts.tallies["twin"].lines, (std::vector<std::string>{kLine, kLine}));
  EXPECT_EQ(alert_log(), std::string("\xEF\xBB\xBF") + kLine + "\r\n" + kLine + "\r\n");
}

TEST_F(EvaluateAlerts, EveryRuleIsTriedAfterAHit) {
  load(rule("a") + rule("b", "other") + rule("c"));
  evaluate();
  EXPECT_EQ(alerts.tallies.size(), 2u);
  EXPECT_EQ(alerts.tallies["a"].lines.size(), 1u);
  EXPECT_EQ(alerts.tallies["c"].lines.size(), 1u);
}

TEST_F(EvaluateAlerts, TalliesOutliveAReloadThatRemovesTheRule) {
  load(rule("gone"));
  evaluate();
  load(rule("kept"));
  evaluate();
  EXPECT_EQ(alerts.tallies["gone"].lines, std::vector<std::string>{kLine});
  EXPECT_EQ(alerts.tallies["kept"].lines, std::vector<std::string>{kLine});
}

TEST_F(EvaluateAlerts, MissingVolumeKeepsNoLineButTheHitIsQueued) {
  load(rule("watch"), tmp / "unmounted");
  evaluate();
  EXPECT_FALSE(testing::exists(tmp / "unmounted"));
  EXPECT_EQ(alerts.tallies["watch"].lines, std::vector<std::string>{kLine});
}

TEST_F(EvaluateAlerts, MissingSharePathRaisesBeforeTheHitIsQueued) {
  testing::write_file(settings, "<config><alertlist>" + rule("a") + "</alertlist></config>");
  config.reload();
  EXPECT_THROW(evaluate(), Vexil::CXMLError);
  EXPECT_TRUE(alerts.tallies.empty());
}

}  // namespace
}  // namespace sarvik
