// The service's settings: reload from the fixed path, the share filter and the log volume.
#include "settings/config_xml.h"

#include <gtest/gtest.h>

#include "support/fixed_paths.h"
#include "support/xml_error.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"

namespace sarvik {
namespace {

// Each test gets an empty /mnt/data of its own and writes the settings file there.
class ConfigXmlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SARVIK_REQUIRE_FRESH_VOLUMES();
    testing::make_dirs("/mnt/data/xmlconf");
  }
  void load(const std::string& body) {
    testing::write_file(paths::kSettings, "<config>" + body + "</config>");
    config.reload();
  }
  ConfigXml config;
};

TEST_F(ConfigXmlTest, TablesAreFilledAtConstruction) {
  EXPECT_EQ(config.share_paths.at(0), "share/path");
  EXPECT_EQ(config.weekday_bits.size(), 7u);
  EXPECT_EQ(config.weekday_bits.at("sun"), 0);
  EXPECT_EQ(config.weekday_bits.at("sat"), 6);
}

TEST_F(ConfigXmlTest, ReloadReadsTheFixedSettingsFile) {
  load("<share><path>/mnt/data/logs</path></share>");
  EXPECT_EQ(config.get_share_path(), "/mnt/data/logs");
}

TEST_F(ConfigXmlTest, RootElementNameIsNotLookedAt) {
  testing::write_file(paths::kSettings, "<anything><share><path>/v</path></share></anything>");
  config.reload();
  EXPECT_EQ(config.get_share_path(), "/v");
}

TEST_F(ConfigXmlTest, MissingSharePathRaises) {
  load("<share/>");
  EXPECT_THROW(config.get_share_path(), Vexil::CXMLError);
}

TEST_F(ConfigXmlTest, FailedReloadLeavesNoDocument) {
  load("<share><path>/v</path></share>");
  testing::write_file(paths::kSettings, "<config><unclosed></config>");
  try {
    config.reload();
    FAIL() << "no exception";
  } catch (const Vexil::CXMLError& error) {
    EXPECT_STREQ(error.what(),
                 "CDOMXmlDocument::Load: ERROR: parse_file() failed. "
                 "file=/mnt/data/xmlconf/config-sarvik.xml\n");
  }
  try {
    config.get_share_path();
    FAIL() << "no exception";
  } catch (const Vexil::CXMLError& error) {
    EXPECT_STREQ(error.what(), "CDOMXmlDocument::GetRootNode: ERROR: root node empty.\n");
  }
  load("<share><path>/healed</path></share>");
  EXPECT_EQ(config.get_share_path(), "/healed");
}

TEST_F(ConfigXmlTest, MissingSettingsFileRaises) {
  EXPECT_THROW(config.reload(), Vexil::CXMLError);
}

TEST_F(ConfigXmlTest, CapitalTrueIsFalse) {
  load("<accesslogconf enable='TRUE'><sharelist all='True'/></accesslogconf>");
  EXPECT_FALSE(XmlData::GetEnable(config.GetRootNode(), "accesslogconf", "enable"));
  EXPECT_FALSE(is_logged_share("docs", config));
}

TEST_F(ConfigXmlTest, ShareNamesInDocumentOrderWithoutEmptyOnes) {
  load(
      "<accesslogconf><sharelist><share><name>b</name></share><share><name/></share>"
      "<share><name>a</name></share></sharelist></accesslogconf>");
  EXPECT_EQ(config.get_share_names(), (std::vector<std::string>{"b", "a"}));
}

TEST_F(ConfigXmlTest, ListedSharesAreLoggedByExactName) {
  load(
      "<accesslogconf><sharelist all='false'><share><name>docs</name></share></sharelist>"
      "</accesslogconf>");
  EXPECT_TRUE(is_logged_share("docs", config));
  EXPECT_FALSE(is_logged_share("Docs", config));
  EXPECT_FALSE(is_logged_share("doc", config));
  EXPECT_FALSE(is_logged_share("", config));
}

TEST_F(ConfigXmlTest, AllLogsEveryShare) {
  load("<accesslogconf><sharelist all='true'/></accesslogconf>");
  EXPECT_TRUE(is_logged_share("anything", config));
  EXPECT_TRUE(is_logged_share("", config));
}

TEST_F(ConfigXmlTest, EmptyListLogsNothing) {
  load("<accesslogconf><sharelist/></accesslogconf>");
  EXPECT_FALSE(is_logged_share("docs", config));
}

TEST_F(ConfigXmlTest, IpcShareIsNeverLogged) {
  load(
      "<accesslogconf><sharelist all='true'><share><name>IPC$</name></share>"
      "<share><name>ipc$</name></share></sharelist></accesslogconf>");
  EXPECT_FALSE(is_logged_share("IPC$", config));
  EXPECT_TRUE(is_logged_share("ipc$", config));
  load(
      "<accesslogconf><sharelist><share><name>IPC$</name></share>"
      "<share><name>ipc$</name></share></sharelist></accesslogconf>");
  EXPECT_FALSE(is_logged_share("IPC$", config));
  EXPECT_TRUE(is_logged_share("ipc$", config));
}

TEST_F(ConfigXmlTest, ExpiryNumbersGoThroughTheLenientNumberReading) {
  const std::pair<const char*, int> cases[] = {{"12abc", 12}, {"", 0}, {"abc", 0}, {"-3", -3}};
  for (const auto& [text, days] : cases) {
    load(std::string("<eventlogconf><autodelete enable='true'><expire><days>") + text +
         "</days><percent>101</percent></expire></autodelete></eventlogconf>");
    AutoDelete settings = config.GetAutoDelete(0);
    EXPECT_EQ(settings.days, days) << text;
    // An empty days element fails the read, which leaves the percent 0 too; no clamp at 100.
    EXPECT_EQ(settings.percent, *text == '\0' ? 0 : 101) << text;
  }
}

TEST_F(ConfigXmlTest, AutodeleteWithoutExpireKeepsItsSwitch) {
  load("<accesslogconf><autodelete enable='true'/></accesslogconf>");
  AutoDelete settings = config.GetAutoDelete(1);
  EXPECT_TRUE(settings.enable);
  EXPECT_EQ(settings.days, 0);
  EXPECT_EQ(settings.percent, 0);
}

TEST_F(ConfigXmlTest, DaysWithoutPercentAreKept) {
  load("<accesslogconf><autodelete><expire><days>9</days></expire></autodelete></accesslogconf>");
  AutoDelete settings = config.GetAutoDelete(1);
  EXPECT_FALSE(settings.enable);
  EXPECT_EQ(settings.days, 9);
  EXPECT_EQ(settings.percent, 0);
}

TEST_F(ConfigXmlTest, OtherKindIsAllZero) {
  load(
      "<eventlogconf><autodelete enable='true'><expire><days>1</days></expire></autodelete>"
      "</eventlogconf>");
  AutoDelete settings = config.GetAutoDelete(2);
  EXPECT_FALSE(settings.enable);
  EXPECT_EQ(settings.days, 0);
}

}  // namespace
}  // namespace sarvik
