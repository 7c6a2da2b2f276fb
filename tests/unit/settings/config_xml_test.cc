// The service's settings: reload from the fixed path, the share filter and the log volume.
#include "settings/config_xml.h"

#include <gtest/gtest.h>

#include "support/xml_error.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

// Each test gets a temporary directory of its own and writes the settings file there.
class ConfigXmlTest : public ::testing::Test {
 protected:
  void SetUp() override {}
  void load(const std::string& body) {
    testing::write_file(settings, "<config>" + body + "</config>");
    config.reload();
  }
  testing::TempDir tmp;
  const std::string settings = tmp / "config-sarvik.xml";
  ConfigXml config{settings};
};

TEST_F(ConfigXmlTest, TablesAreFilledAtConstruction) {
  EXPECT_EQ(config.share_paths.at(0), "share/path");
  EXPECT_EQ(config.weekday_bits.size(), 7u);
  EXPECT_EQ(config.weekday_bits.at("sun"), 0);
  EXPECT_EQ(config.weekday_bits.at("sat"), 6);
}

TEST_F(ConfigXmlTest, ReloadReadsTheSettingsFileItWasGiven) {
  load("<share><path>/mnt/data/logs</path></share>");
  EXPECT_EQ(config.get_share_path(), "/mnt/data/logs");
}

TEST_F(ConfigXmlTest, RootElementNameIsNotLookedAt) {
  testing::write_file(settings, "<anything><share><path>/v</path></share></anything>");
  config.reload();
  EXPECT_EQ(config.get_share_path(), "/v");
}

TEST_F(ConfigXmlTest, MissingSharePathRaises) {
  load("<share/>");
  EXPECT_THROW(config.get_share_path(), Vexil::CXMLError);
}

TEST_F(ConfigXmlTest, FailedReloadLeavesNoDocument) {
  load("<share><path>/v</path></share>");
  testing::write_file(settings, "<config><unclosed></config>");
  try {
    config.reload();
    FAIL() << "no exception";
  } catch (const Vexil::CXMLError& error) {
    EXPECT_STREQ(
        error.what(),
        ("CDOMXmlDocument::Load: ERROR: parse_file() failed. file=" + settings + "\n").c_str());
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
    AutoDelete settings = config.GetAutoDelete(kSystemLogExpiry);
    EXPECT_EQ(settings.days, days) << text;
    // An empty days element fails the read, which leaves the percent 0 too; no clamp at 100.
    EXPECT_EQ(settings.percent, *text == '\0' ? 0 : 101) << text;
  }
}

TEST_F(ConfigXmlTest, AutodeleteWithoutExpireKeepsItsSwitch) {
  load("<accesslogconf><autodelete enable='true'/></accesslogconf>");
  AutoDelete settings = config.GetAutoDelete(kAccessLogExpiry);
  EXPECT_TRUE(settings.enable);
  EXPECT_EQ(settings.days, 0);
  EXPECT_EQ(settings.percent, 0);
}

TEST_F(ConfigXmlTest, DaysWithoutPercentAreKept) {
  load("<accesslogconf><autodelete><expire><days>9</days></expire></autodelete></accesslogconf>");
  AutoDelete settings = config.GetAutoDelete(kAccessLogExpiry);
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

namespace sarvik {
namespace {

// The values are kept between reads; these tests change the document between two reads.
const char kKeptSettings[] =
    "<share><path>/one</path></share><eventlogconf enable=\"true\"/>"
    "<accesslogconf enable=\"true\"><sharelist all=\"false\"><share><name>a</name></share>"
    "</sharelist><autodelete enable=\"true\"><expire><days>3</days><percent>4</percent></expire>"
    "</autodelete></accesslogconf>";

TEST_F(ConfigXmlTest, AReloadGivesTheNewValues) {
  load(kKeptSettings);
  EXPECT_TRUE(config.GetRootEnable("accesslogconf", "enable"));
  EXPECT_EQ(config.get_share_path(), "/one");
  EXPECT_EQ(config.get_share_names(), std::vector<std::string>{"a"});
  EXPECT_EQ(config.GetAutoDelete(kAccessLogExpiry).days, 3);
  EXPECT_TRUE(is_logged_share("a", config));
  load(
      "<share><path>/two</path></share><accesslogconf enable=\"false\"><sharelist all=\"true\">"
      "<share><name>b</name></share></sharelist><autodelete enable=\"false\"><expire><days>7"
      "</days></expire></autodelete></accesslogconf>");
  EXPECT_FALSE(config.GetRootEnable("accesslogconf", "enable"));
  EXPECT_EQ(config.get_share_path(), "/two");
  EXPECT_EQ(config.get_share_names(), std::vector<std::string>{"b"});
  AutoDelete autodelete = config.GetAutoDelete(kAccessLogExpiry);
  EXPECT_FALSE(autodelete.enable);
  EXPECT_EQ(autodelete.days, 7);
  EXPECT_EQ(autodelete.percent, 0);
  EXPECT_TRUE(is_logged_share("zz", config));
}

TEST_F(ConfigXmlTest, AChangeThroughTheModelGivesTheNewValues) {
  load(kKeptSettings);
  EXPECT_TRUE(config.GetRootEnable("eventlogconf", "enable"));
  EXPECT_FALSE(is_logged_share("b", config));
  config.SetEnable("eventlogconf", "enable", false);
  EXPECT_FALSE(config.GetRootEnable("eventlogconf", "enable"));
  config.SetEnable("accesslogconf/sharelist", "all", true);
  EXPECT_TRUE(is_logged_share("b", config));
  Vexil::CDOMElement(config.GetRootNode().SelectSingleNode("share/path")).SetText("/three");
  EXPECT_EQ(config.get_share_path(), "/three");
  Vexil::CDOMElement(config.GetRootNode().SelectSingleNode("accesslogconf/autodelete/expire/days"))
      .SetText("9");
  EXPECT_EQ(config.GetAutoDelete(kAccessLogExpiry).days, 9);
  config.RemoveNode("share");
  EXPECT_THROW(config.get_share_path(), Vexil::CXMLError);
}

TEST_F(ConfigXmlTest, AFailedReadRaisesAgainAtEveryCall) {
  load("<accesslogconf enable=\"true\"/>");
  for (int i = 0; i < 2; ++i) {
    EXPECT_THROW(config.get_share_path(), Vexil::CXMLError);
    EXPECT_THROW(config.GetAutoDelete(kAccessLogExpiry), Vexil::CXMLError);
  }
  testing::write_file(settings, "<config><unclosed></config>");
  EXPECT_THROW(config.reload(), Vexil::CXMLError);
  // Without a document the switches raise as the root does; they were true before.
  EXPECT_THROW(config.GetRootEnable("accesslogconf", "enable"), Vexil::CXMLError);
  EXPECT_THROW(is_logged_share("a", config), Vexil::CXMLError);
}

TEST_F(ConfigXmlTest, RulesComeWithAReloadAfterADocumentWithout) {
  load(kKeptSettings);
  EXPECT_TRUE(config.get_alert_list().empty());
  EXPECT_TRUE(config.get_alert_list().empty());
  load(std::string(kKeptSettings) + "<alertlist><alert><name>r</name></alert></alertlist>");
  ASSERT_EQ(config.get_alert_list().size(), 1u);
  EXPECT_EQ(config.get_alert_list()[0].name, "r");
}

}  // namespace
}  // namespace sarvik
