// Tests of reading the optional "hardening" element: each child by itself, and its absence.
#include "settings/hardening.h"

#include <gtest/gtest.h>

#include <string>

#include "settings/xml_data.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

// The limits read from a settings document whose root holds `body`.
Hardening read_from(const std::string& body) {
  testing::TempDir dir;
  testing::write_file(dir / "s.xml", "<config>" + body + "</config>");
  XmlData data{std::string()};
  data.Load(dir / "s.xml");
  return read_hardening(data.GetRootNode());
}

TEST(ReadHardening, WithoutTheElementEveryLimitIsOff) {
  for (const char* body : {"", "<hardening/>", "<hardening></hardening>"}) {
    const Hardening limits = read_from(body);
    EXPECT_EQ(limits.client_seconds, 0) << body;
    EXPECT_EQ(limits.notice.script_seconds, 0) << body;
    EXPECT_EQ(limits.notice.reply_bytes, 0u) << body;
    EXPECT_EQ(limits.notice.lock_seconds, 0) << body;
    EXPECT_FALSE(limits.notice.safe_text) << body;
    EXPECT_FALSE(limits.seal) << body;
  }
}

TEST(ReadHardening, ReadsEachChild) {
  const Hardening limits = read_from(
      "<hardening><clienttimeout>5</clienttimeout><scripttimeout>300</scripttimeout>"
      "<scriptreplylimit>1048576</scriptreplylimit><locktimeout>30</locktimeout>"
      "<safetext enable=\"true\"/></hardening>");
  EXPECT_EQ(limits.client_seconds, 5);
  EXPECT_EQ(limits.notice.script_seconds, 300);
  EXPECT_EQ(limits.notice.reply_bytes, 1048576u);
  EXPECT_EQ(limits.notice.lock_seconds, 30);
  EXPECT_TRUE(limits.notice.safe_text);
}

TEST(ReadHardening, ANumberThatIsNotAboveZeroOrNoNumberLeavesTheLimitOff) {
  for (const char* text : {"0", "-5", "abc", "", " "}) {
    const Hardening limits = read_from(std::string("<hardening><clienttimeout>") + text +
                                       "</clienttimeout></hardening>");
    EXPECT_EQ(limits.client_seconds, 0) << text;
  }
  EXPECT_EQ(read_from("<hardening><locktimeout>12s</locktimeout></hardening>").notice.lock_seconds,
            12);
}

TEST(ReadHardening, SafeTextIsOnOnlyWithExactlyTrue) {
  EXPECT_FALSE(read_from("<hardening><safetext/></hardening>").notice.safe_text);
  EXPECT_FALSE(read_from("<hardening><safetext enable=\"TRUE\"/></hardening>").notice.safe_text);
}

TEST(ReadHardening, SealingIsOnOnlyWithExactlyTrue) {
  EXPECT_TRUE(read_from("<hardening><seal enable=\"true\"/></hardening>").seal);
  for (const char* value : {"TRUE", "yes", "1", ""}) {
    EXPECT_FALSE(
        read_from(std::string("<hardening><seal enable=\"") + value + "\"/></hardening>").seal)
        << value;
  }
  EXPECT_FALSE(read_from("<hardening><seal/></hardening>").seal);
  EXPECT_FALSE(read_from("<seal enable=\"true\"/>").seal);
}

}  // namespace
}  // namespace sarvik
