// The mail profiles that take system notices: numbering, switches, addresses, lock and failures.
#include "notice/mail_profiles.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "support/xml_error.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::TempDir;

// A `mailconf` element with the given switches (null: the attribute is left out) and
// addresses.
std::string mailconf(const char* enable, const char* system_enable,
                     const std::vector<std::string>& addresses) {
  std::string text = "<mailconf";
  if (enable != nullptr) text += std::string(" enable=\"") + enable + "\"";
  text += "><notifylist><notify name=\"disk\" enable=\"true\"/><notify name=\"system\"";
  if (system_enable != nullptr) text += std::string(" enable=\"") + system_enable + "\"";
  text += "/></notifylist><toaddrlist>";
  for (const std::string& address : addresses) text += "<toaddr>" + address + "</toaddr>";
  return text + "</toaddrlist></mailconf>";
}

// A notice settings file holding `confs` in its profile list.
std::string notice_settings(const std::string& confs) {
  return "<?xml version=\"1.0\"?>\n<config><mailnotice><mailconflist>" + confs +
         "</mailconflist></mailnotice></config>\n";
}

class MailProfilesTest : public ::testing::Test {
 protected:
  // The profiles of a settings file holding `xml`.
  std::vector<MailProfile> read(const std::string& xml) {
    testing::write_file(settings_path, xml);
    return read_mail_profiles(settings_path, lock_path);
  }

  TempDir dir;
  const std::string settings_path = dir / "config-notice.xml";
  const std::string lock_path = dir / "config-notice.xml.lock";
};

TEST_F(MailProfilesTest, NumbersCountEveryProfileTheOffOnesIncluded) {
  const std::vector<MailProfile> profiles = read(notice_settings(
      mailconf("false", "true", {"off@x"}) + mailconf("true", "true", {"a@x", "b@x"}) +
      mailconf("true", "true", {"c@x"})));
  ASSERT_EQ(profiles.size(), 2u);
  EXPECT_EQ(profiles[0].profilenum, 1);
  EXPECT_EQ(profiles[0].addresses, (std::vector<std::string>{"a@x", "b@x"}));
  EXPECT_EQ(profiles[1].profilenum, 2);
  EXPECT_EQ(profiles[1].addresses, std::vector<std::string>{"c@x"});
}

TEST_F(MailProfilesTest, SwitchesAreOnOnlyForTheExactWordTrue) {
  for (const char* word : {"True", "TRUE", "1", " true", "true ", "", "yes"}) {
    SCOPED_TRACE(word);
    EXPECT_TRUE(read(notice_settings(mailconf(word, "true", {"a@x"}))).empty());
    EXPECT_TRUE(read(notice_settings(mailconf("true", word, {"a@x"}))).empty());
  }
  EXPECT_TRUE(read(notice_settings(mailconf(nullptr, "true", {"a@x"}))).empty());
  EXPECT_TRUE(read(notice_settings(mailconf("true", nullptr, {"a@x"}))).empty());
  EXPECT_EQ(read(notice_settings(mailconf("true", "true", {"a@x"}))).size(), 1u);
}

TEST_F(MailProfilesTest, ProfileWithoutASystemNotifyTakesNoPart) {
  const std::vector<MailProfile> profiles =
      read(notice_settings("<mailconf enable=\"true\"><toaddrlist><toaddr>a@x</toaddr>"
                           "</toaddrlist></mailconf>" +
                           mailconf("true", "true", {"b@x"})));
  ASSERT_EQ(profiles.size(), 1u);
  EXPECT_EQ(profiles[0].profilenum, 1);
}

TEST_F(MailProfilesTest, EnabledProfileWithoutAddressesHasEmptyAddresses) {
  const std::vector<MailProfile> profiles = read(notice_settings(mailconf("true", "true", {})));
  ASSERT_EQ(profiles.size(), 1u);
  EXPECT_EQ(profiles[0].profilenum, 0);
  EXPECT_TRUE(profiles[0].addresses.empty());
}

TEST_F(MailProfilesTest, AddressesKeepTheirOrderAndBytesAndEmptyOnesAreLeftOut) {
  const std::vector<MailProfile> profiles =
      read(notice_settings(mailconf("true", "true", {"z@x", "", "\xE3\x81\x82@x", "a&amp;b@x"})));
  ASSERT_EQ(profiles.size(), 1u);
  EXPECT_EQ(profiles[0].addresses, (std::vector<std::string>{"z@x", "\xE3\x81\x82@x", "a&b@x"}));
}

TEST_F(MailProfilesTest, FileWithoutMailnoticeGivesAnEmptyList) {
  EXPECT_TRUE(read("<config><other enable=\"true\"/></config>").empty());
  EXPECT_TRUE(read("<config/>").empty());
}

TEST_F(MailProfilesTest, RootNameIsNotLookedAt) {
  EXPECT_EQ(read("<anything><mailnotice><mailconflist>" + mailconf("true", "true", {"a@x"}) +
                 "</mailconflist></mailnotice></anything>")
                .size(),
            1u);
}

TEST_F(MailProfilesTest, MissingOrMalformedFileRaisesRatherThanGivingAnEmptyList) {
  EXPECT_THROW(read_mail_profiles(settings_path, lock_path), Vexil::CXMLError);
  EXPECT_THROW(read("<config><mailnotice>"), Vexil::CXMLError);
}

TEST_F(MailProfilesTest, LockFileThatCannotBeOpenedRaisesCantOpen) {
  testing::write_file(settings_path, notice_settings(""));
  try {
    read_mail_profiles(settings_path, dir / "missing/lock");
    FAIL() << "no exception";
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "Can't open");
  }
}

TEST_F(MailProfilesTest, MissingLockFileIsCreatedAndLeftEmpty) {
  read(notice_settings(""));
  EXPECT_TRUE(testing::exists(lock_path));
  EXPECT_EQ(testing::read_file(lock_path), "");
}

TEST_F(MailProfilesTest, ExclusiveLockMakesTheReadWaitForTheWriter) {
  testing::write_file(settings_path, notice_settings(mailconf("true", "true", {"old@x"})));
  testing::write_file(lock_path, "");
  std::atomic<bool> locked{false};
  // A writer of the settings: holds the lock, replaces the file a moment later, then lets go.
  std::thread writer([&] {
    const int fd = open(lock_path.c_str(), O_RDONLY);
    flock(fd, LOCK_EX);
    locked = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    testing::write_file(settings_path, notice_settings(mailconf("true", "true", {"new@x"})));
    close(fd);
  });
  while (!locked) std::this_thread::yield();
  const std::vector<MailProfile> profiles = read_mail_profiles(settings_path, lock_path);
  writer.join();
  ASSERT_EQ(profiles.size(), 1u);
  EXPECT_EQ(profiles[0].addresses, std::vector<std::string>{"new@x"});
}

}  // namespace
}  // namespace sarvik
