// Tests of replaying the alert rules over logged lines: the settings read by the service's own
// parser, the line's time standing for the event's, the brief result, every rule named.
#include "query/rule_backtest.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "query/settings_source.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::query {
namespace {

using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

const char kSettings[] =
    "<?xml version=\"1.0\"?>\n<config><share><path>/srv/logs</path></share><alertlist>"
    // Office hours on weekdays, failures only.
    "<alert><name>office-failures</name><period><weekdays mon=\"true\" tue=\"true\" "
    "wed=\"true\" thu=\"true\" fri=\"true\"/><from><hour>9</hour></from><to><hour>17</hour>"
    "</to></period><usernamelist all=\"true\"/><result>fail</result><operationlist>"
    "<operation type=\"open_read\" enable=\"true\"/></operationlist></alert>"
    // Bob, any time, on *.xlsx.
    "<alert><name>bob-sheets</name><period><weekdays sun=\"true\" mon=\"true\" tue=\"true\" "
    "wed=\"true\" thu=\"true\" fri=\"true\" sat=\"true\"/></period><usernamelist>"
    "<username>Bob</username></usernamelist><path>*.xlsx</path><operationlist>"
    "<operation type=\"open_read\" enable=\"true\"/><operation type=\"delete\" "
    "enable=\"true\"/></operationlist></alert>"
    "</alertlist></config>\n";

class RuleBacktestTest : public ::testing::Test {
 protected:
  void SetUp() override { write_file(path, kSettings); }

  // The names of the rules that fire for `line`, joined by blanks.
  std::string fired(const RuleBacktest& rules, const std::string& line) {
    AccessColumns columns = read_access_columns(line);
    CivilTime time;
    EXPECT_TRUE(read_record_time(line, &time));
    RuleBacktest::Scratch scratch;
    std::vector<const std::string*> names;
    rules.fire(columns, time, &scratch, &names);
    std::string joined;
    for (const std::string* name : names) joined += (joined.empty() ? "" : " ") + *name;
    return joined;
  }

  RuleBacktest load(const std::vector<std::string>& names) {
    ConfigXml config;
    std::string error;
    EXPECT_TRUE(load_settings(path, &config, &error)) << error;
    RuleBacktest rules;
    EXPECT_TRUE(rules.load(config, path, names, &error)) << error;
    return rules;
  }

  TempDir dir;
  std::string path = dir / "config-sarvik.xml";
};

TEST_F(RuleBacktestTest, FiresAsTheServiceWouldAtTheLoggedTime) {
  RuleBacktest rules = load({});
  EXPECT_EQ(rules.size(), 2u);
  // 2024-03-04 is a Monday, 2024-03-09 a Saturday.
  EXPECT_EQ(fired(rules,
                  "2024/03/04 09:00:00,alice,pc1,192.0.2.7,open_read,"
                  "fail (Permission denied),docs,a.txt"),
            "office-failures");
  EXPECT_EQ(fired(rules,
                  "2024/03/04 17:00:59,alice,pc1,192.0.2.7,open_read,"
                  "fail (Permission denied),docs,a.txt"),
            "office-failures");  // the end is inclusive of its minute
  EXPECT_EQ(fired(rules,
                  "2024/03/04 17:01:00,alice,pc1,192.0.2.7,open_read,"
                  "fail (Permission denied),docs,a.txt"),
            "");
  EXPECT_EQ(fired(rules,
                  "2024/03/09 10:00:00,alice,pc1,192.0.2.7,open_read,"
                  "fail (Permission denied),docs,a.txt"),
            "");  // Saturday
  EXPECT_EQ(fired(rules, "2024/03/04 10:00:00,alice,pc1,192.0.2.7,open_read,ok,docs,a.txt"), "");
  EXPECT_EQ(fired(rules, "2024/03/09 23:00:00,bob,pc1,192.0.2.7,delete,ok,docs,Q3, final.XLSX"),
            "bob-sheets");  // the comma in the path is restored; the pattern ignores case
  EXPECT_EQ(fired(rules, "2024/03/04 12:00:00,bob,pc1,192.0.2.7,open_read,fail (x),docs,a.xlsx"),
            "office-failures bob-sheets");
  EXPECT_EQ(fired(rules, "2024/03/04 12:00:00,bob,pc1,192.0.2.7,open_write,ok,docs,a.xlsx"), "");
}

TEST_F(RuleBacktestTest, NamedRulesAloneAndUnknownNamesRefused) {
  RuleBacktest rules = load({"bob-sheets"});
  EXPECT_EQ(rules.size(), 1u);
  EXPECT_EQ(fired(rules, "2024/03/04 12:00:00,bob,pc1,192.0.2.7,open_read,fail (x),docs,a.xlsx"),
            "bob-sheets");
  ConfigXml config;
  std::string error;
  ASSERT_TRUE(load_settings(path, &config, &error));
  RuleBacktest none;
  EXPECT_FALSE(none.load(config, path, {"no-such-rule"}, &error));
  EXPECT_NE(error.find("no-such-rule"), std::string::npos);
}

TEST_F(RuleBacktestTest, SettingsThatCannotBeReadAreAnError) {
  ConfigXml config;
  std::string error;
  EXPECT_FALSE(load_settings(dir / "missing.xml", &config, &error));
  EXPECT_NE(error.find("missing.xml"), std::string::npos);
  write_file(path, "<config><unclosed>");
  EXPECT_FALSE(load_settings(path, &config, &error));
  std::string volume;
  write_file(path, "<config/>");
  ASSERT_TRUE(load_settings(path, &config, &error)) << error;
  EXPECT_FALSE(settings_volume(config, path, &volume, &error));
  write_file(path, kSettings);
  ASSERT_TRUE(load_settings(path, &config, &error)) << error;
  EXPECT_TRUE(settings_volume(config, path, &volume, &error)) << error;
  EXPECT_EQ(volume, "/srv/logs");
}

}  // namespace
}  // namespace sarvik::query
