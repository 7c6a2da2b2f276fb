// System records end to end: the line, waiting records, and the client's time.
#include <signal.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "harness/records.h"
#include "harness/service_test.h"
#include "testing/file_text.h"

namespace sarvik::testing {
namespace {

using SystemLog = ServiceTest;

TEST_F(SystemLog, WritesTheRecordWithTheClientsTime) {
  start_service();
  EXPECT_EQ(exchange(system_record("1700000000", "alpha", "beta", "gamma")), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(1700000000) + ",alpha,beta,gamma"});
  EXPECT_EQ(log_files("systemlog", kLogVolume),
            std::vector<std::string>{month_dir(1700000000) + "/system_" +
                                     local_text(1700000000, "%Y%m%d%H%M%S") + ".csv"});
}

TEST_F(SystemLog, RecordsWaitForAMissingVolumeAndArriveInOrder) {
  ASSERT_EQ(rmdir(kLogVolume), 0);
  DaemonProcess& daemon = start_service();
  for (const char* text : {"one", "two", "three"}) {
    EXPECT_EQ(exchange(system_record("1700000000", text, "x", "y")), kOkAnswer);
  }
  EXPECT_TRUE(daemon.wait_for_stdout("system log request received.\n", 10s, 3));
  EXPECT_FALSE(exists(kLogVolume));  // a missing volume gets no directories made in its place
  make_dirs(kLogVolume);
  EXPECT_EQ(exchange(system_record("1700000100", "four", "x", "y")), kOkAnswer);
  std::vector<std::string> lines = log_lines("systemlog", kLogVolume);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], record_time(1700000000) + ",one,x,y");
  EXPECT_EQ(lines[1], record_time(1700000000) + ",two,x,y");
  EXPECT_EQ(lines[2], record_time(1700000000) + ",three,x,y");
  EXPECT_EQ(lines[3], record_time(1700000100) + ",four,x,y");
  // The list is empty again: the next record comes alone.
  EXPECT_EQ(exchange(system_record("1700000200", "five", "x", "y")), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume).size(), 5u);
}

TEST_F(SystemLog, DisabledLogKeepsNothingAndWaitingRecordsStay) {
  ASSERT_EQ(rmdir(kLogVolume), 0);
  DaemonProcess& daemon = start_service();
  EXPECT_EQ(exchange(system_record("1700000000", "waiting", "x", "y")), kOkAnswer);
  Settings disabled;
  disabled.event_log_enable = "false";
  write_settings(disabled);
  daemon.send_signal(SIGHUP);
  make_dirs(kLogVolume);
  EXPECT_EQ(exchange(system_record("1700000001", "ignored", "x", "y")), kOkAnswer);
  EXPECT_TRUE(log_lines("systemlog", kLogVolume).empty());
  write_settings(Settings());
  daemon.send_signal(SIGHUP);
  EXPECT_EQ(exchange(system_record("1700000002", "enabled", "x", "y")), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            (std::vector<std::string>{record_time(1700000000) + ",waiting,x,y",
                                      record_time(1700000002) + ",enabled,x,y"}));
}

TEST_F(SystemLog, TimeThatIsNoNumberIsTheStartOfTheEpoch) {
  start_service();
  EXPECT_EQ(exchange(system_record("soon", "a", "b", "c")), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(0) + ",a,b,c"});
}

TEST_F(SystemLog, PastTimeGoesToTheFileOfThatMonth) {
  start_service();
  EXPECT_EQ(exchange(system_record("1700000000", "now", "b", "c")), kOkAnswer);
  EXPECT_EQ(exchange(system_record("1500000000", "past", "b", "c")), kOkAnswer);
  std::vector<std::string> files = log_files("systemlog", kLogVolume);
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0].substr(0, 6), month_dir(1500000000));
  EXPECT_EQ(files[1].substr(0, 6), month_dir(1700000000));
}

TEST_F(SystemLog, CommaInAFreeTextMakesMoreColumns) {
  start_service();
  EXPECT_EQ(exchange(system_record("1700000000", "a,b", "c", "d")), kOkAnswer);
  std::vector<std::string> lines = log_lines("systemlog", kLogVolume);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(fields_of(lines[0]).size(), 5u);
}

TEST_F(SystemLog, EmptyFreeTextGivesAnEmptyColumn) {
  start_service();
  EXPECT_EQ(exchange(system_record("1700000000", "", "mid", "")), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(1700000000) + ",,mid,"});
}

TEST_F(SystemLog, ShortEntryListReadsMissingTextsAsEmpty) {
  start_service();
  // Type 1 with the time alone: the three texts are missing from the list.
  std::string request("\x00\x0b\x00\x02\x00\x01\x00\x05\x31\x32\x33\x34\x00", 13);
  EXPECT_EQ(exchange(request), kOkAnswer);
  EXPECT_EQ(log_lines("systemlog", kLogVolume),
            std::vector<std::string>{record_time(1234) + ",,,"});
}

}  // namespace
}  // namespace sarvik::testing
