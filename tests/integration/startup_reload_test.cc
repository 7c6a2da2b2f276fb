// Start-up and reload end to end: settings that cannot be read, SIGHUP, broken settings keys.
#include <signal.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "harness/records.h"
#include "harness/service_test.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {
namespace {

using StartupReload = ServiceTest;

const char kLoadError[] =
    "Error: CDOMXmlDocument::Load: ERROR: parse_file() failed. "
    "file=/mnt/data/xmlconf/config-sarvik.xml\n\n";

std::string a_system_record() { return system_record("1700000000", "a", "b", "c"); }

TEST_F(StartupReload, MissingSettingsEndTheServiceWithStatus2AndNoSocket) {
  unlink(paths::kSettings);
  DaemonProcess& daemon = launch_service();
  EXPECT_EQ(daemon.wait_exit(), 2);
  EXPECT_EQ(daemon.stderr_text(), kLoadError);
  EXPECT_FALSE(exists(paths::kSocket));
}

TEST_F(StartupReload, MalformedSettingsEndTheServiceWithStatus2AndNoSocket) {
  write_settings_text("<config><share>");
  DaemonProcess& daemon = launch_service();
  EXPECT_EQ(daemon.wait_exit(), 2);
  EXPECT_EQ(daemon.stderr_text(), kLoadError);
  EXPECT_FALSE(exists(paths::kSocket));
}

// "Reload config" has no line end, so the output cannot tell when the reload ran; the settings
// it read can. Those written after the signal apply: the reload waited for the client.
TEST_F(StartupReload, HangupWaitsForTheNextClient) {
  DaemonProcess& daemon = start_service();
  daemon.send_signal(SIGHUP);
  // Time for a reload at the signal to happen (a busy machine could only make one look late).
  std::this_thread::sleep_for(500ms);
  Settings moved;
  moved.share_path = "/mnt/data/other";
  make_dirs("/mnt/data/other");
  write_settings(moved);
  EXPECT_EQ(exchange(a_system_record()), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", "/mnt/data/other").size(), 1u);
  EXPECT_TRUE(log_lines("systemlog", kLogVolume).empty());
  EXPECT_TRUE(daemon.wait_for_stdout("Reload configsystem log request received.\n"));
}

TEST_F(StartupReload, TwoHangupsBeforeAClientMakeOneReload) {
  DaemonProcess& daemon = start_service();
  daemon.send_signal(SIGHUP);
  daemon.send_signal(SIGHUP);
  exchange(a_system_record());
  exchange(a_system_record());
  EXPECT_TRUE(daemon.wait_for_stdout("system log request received.\n", 10s, 2));
  EXPECT_EQ(count_of(daemon.stdout_text(), "Reload config"), 1);
}

TEST_F(StartupReload, NewSettingsApplyToTheRequestRightAfterTheHangup) {
  DaemonProcess& daemon = start_service();
  Settings moved;
  moved.share_path = "/mnt/data/other";
  make_dirs("/mnt/data/other");
  write_settings(moved);
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(a_system_record()), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", "/mnt/data/other").size(), 1u);
  EXPECT_TRUE(log_lines("systemlog", kLogVolume).empty());
}

TEST_F(StartupReload, WithoutHangupChangedSettingsAreNotRead) {
  start_service();
  Settings disabled;
  disabled.event_log_enable = "false";
  write_settings(disabled);
  EXPECT_EQ(exchange(a_system_record()), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume).size(), 1u);
}

TEST_F(StartupReload, FailedReloadClosesTheClientAndTheServiceStaysUp) {
  DaemonProcess& daemon = start_service();
  write_settings_text("<config>");
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(a_system_record()), "");  // end of stream, no answer
  EXPECT_TRUE(daemon.wait_for_stderr(kLoadError));
  // Until a good reload, every request meets the missing document.
  EXPECT_EQ(exchange(a_system_record()), "");
  EXPECT_TRUE(
      daemon.wait_for_stderr("Error: CDOMXmlDocument::GetRootNode: ERROR: root node empty.\n\n"));
  // A request that reads no settings is still answered.
  EXPECT_EQ(exchange(std::string("\x00\x04\x00\x02\x00\x07", 6)), kOkAnswer);
  write_settings(Settings());
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(a_system_record()), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume).size(), 1u);
}

TEST_F(StartupReload, FailedReloadLeavesNoDescriptorBehind) {
  DaemonProcess& daemon = start_service();
  std::string fds = "/proc/" + std::to_string(daemon.pid()) + "/fd";
  size_t before = list_dir(fds).size();
  write_settings_text("<config>");
  for (int i = 0; i < 3; ++i) {
    daemon.send_signal(SIGHUP);
    EXPECT_EQ(exchange(a_system_record()), "");
  }
  EXPECT_TRUE(daemon.wait_for_stderr(kLoadError, 10s, 3));
  EXPECT_EQ(list_dir(fds).size(), before);
}

TEST_F(StartupReload, DisabledSystemLogAnswersAndLeavesNoTrace) {
  Settings settings;
  settings.event_log_enable = "TRUE";  // only the exact word "true" switches it on
  write_settings(settings);
  start_service();
  EXPECT_EQ(exchange(a_system_record()), kOkAnswer);
  EXPECT_FALSE(exists(std::string(kLogVolume) + "/systemlog"));
  EXPECT_FALSE(exists(std::string(paths::kStateDir) + "/system_info"));
}

TEST_F(StartupReload, MissingSharePathFailsTheRequestAndTheNextIsServed) {
  Settings settings;
  settings.share_path.clear();
  write_settings(settings);
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(a_system_record()), "");
  EXPECT_TRUE(
      daemon.wait_for_stderr("Error: CDOMNode::SelectSingleNode: ERROR: no nodes found. "
                             "node=config xpath=share/path\n\n"));
  EXPECT_EQ(exchange(access_record("u", "h", "i", "open", 1, 0, "docs", "p")), "");
  EXPECT_TRUE(daemon.wait_for_stderr("xpath=share/path\n\n", 10s, 2));
  // A disabled log reads no path, so its requests are still answered.
  settings.event_log_enable = "false";
  write_settings(settings);
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(a_system_record()), kOkAnswer);
}

TEST_F(StartupReload, MissingAutodeleteFailsTheRequestOfThatLog) {
  Settings settings;
  settings.event_autodelete.clear();
  settings.access_autodelete.clear();
  write_settings(settings);
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(a_system_record()), "");
  EXPECT_TRUE(daemon.wait_for_stderr(
      "Error: CDOMNode::SelectSingleNode: ERROR: no nodes found. node=config "
      "xpath=eventlogconf/autodelete\n\n"));
  EXPECT_EQ(exchange(access_record("u", "h", "i", "open", 1, 0, "docs", "p")), "");
  EXPECT_TRUE(daemon.wait_for_stderr(
      "Error: CDOMNode::SelectSingleNode: ERROR: no nodes found. node=config "
      "xpath=accesslogconf/autodelete\n\n"));
  EXPECT_TRUE(log_lines("systemlog", kLogVolume).empty());
  EXPECT_TRUE(log_lines("accesslog", kLogVolume).empty());
}

}  // namespace
}  // namespace sarvik::testing
