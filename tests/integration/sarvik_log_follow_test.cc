// sarvik-log --follow end to end: new lines of the real service as they come, across a rotation
// and into a new month directory, a line shown only once it is whole, until interrupted.
#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>
#include <string>
#include <thread>

#include "harness/log_tool.h"
#include "harness/records.h"
#include "harness/service_test.h"
#include "testing/file_text.h"
#include "testing/text_count.h"
#include "testing/time_zone.h"

namespace sarvik::testing {
namespace {

class SarvikLogFollow : public ServiceTest {
 protected:
  void SetUp() override {
    ServiceTest::SetUp();
    start_service();
  }

  // Starts sarvik-log --follow with `args`; it is ready once its header is out.
  DaemonProcess& follow(const std::vector<std::string>& args, const std::string& header) {
    std::vector<std::string> words{"--follow", "--output", "csv"};
    words.insert(words.end(), args.begin(), args.end());
    tool = std::make_unique<DaemonProcess>(SARVIK_LOG_PATH, words);
    EXPECT_TRUE(tool->wait_for_stdout(header)) << tool->stderr_text();
    return *tool;
  }

  // Interrupts the tool as Ctrl-C does and returns its exit status.
  std::optional<int> interrupt() {
    tool->send_signal(SIGINT);
    return tool->wait_exit(10s);
  }

  ScopedTimeZone zone{kBerlin};
  std::unique_ptr<DaemonProcess> tool;
};

// Appends `text` to the file at `path` in one write, as a writer of the log does.
void append(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::app | std::ios::binary);
  file << text << std::flush;
}

const char kAccessHeader[] = "time,user,host,ip,op,result,share,path\n";

TEST_F(SarvikLogFollow, GoesOnAcrossARotationAt65535Lines) {
  time_t now = time(nullptr);
  fill_current_access_file(month_dir(now - 60) == month_dir(now) ? now - 60 : now);
  ASSERT_EQ(send_records({"access\trotator\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|before"}).status,
            0);
  DaemonProcess& following = follow({"--user", "rotator"}, kAccessHeader);
  ASSERT_TRUE(following.wait_for_stdout(",before\n"));  // the matching lines so far come first

  // That line was the file's 65535th: these two go to a new file.
  ASSERT_EQ(send_records({"access\trotator\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|after-1",
                          "access\tother\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|not-shown",
                          "access\trotator\tpc9\t192.0.2.99\topen\t1\t0\tdocs\tr|after-2"})
                .status,
            0);
  ASSERT_EQ(log_files("accesslog", kLogVolume).size(), 2u);
  EXPECT_TRUE(following.wait_for_stdout(",after-2\n")) << following.stdout_text();
  std::string shown = following.stdout_text();
  EXPECT_EQ(count_of(shown, ",before\n"), 1);
  EXPECT_EQ(count_of(shown, ",after-1\n"), 1);
  EXPECT_EQ(count_of(shown, ",after-2\n"), 1);
  EXPECT_LT(shown.find(",after-1\n"), shown.find(",after-2\n"));
  EXPECT_EQ(shown.find("not-shown"), std::string::npos);
  EXPECT_EQ(interrupt(), 0);
}

TEST_F(SarvikLogFollow, FindsANewMonthDirectory) {
  DaemonProcess& following = follow({"--kind", "system"}, "time,text1,text2,text3\n");
  // A client's time in a month that has no directory yet, then one of now.
  std::string may_2031 = std::to_string(1935396000);  // 2031-05-01 12:00:00 in Berlin
  ASSERT_EQ(send_records({"system\t" + may_2031 + "\tfuture\tmonth\tx",
                          "system\t" + std::to_string(time(nullptr)) + "\tpresent\tmonth\ty"})
                .status,
            0);
  EXPECT_TRUE(exists(std::string(kLogVolume) + "/systemlog/203105"));
  EXPECT_TRUE(following.wait_for_stdout("2031/05/01 12:00:00,future,month,x\n"))
      << following.stdout_text() << following.stderr_text();
  EXPECT_TRUE(following.wait_for_stdout(",present,month,y\n")) << following.stdout_text();
  EXPECT_EQ(interrupt(), 0);
}

TEST_F(SarvikLogFollow, ALineIsShownOnlyOnceItIsWhole) {
  ASSERT_EQ(send_records({"access\talice\tpc1\t192.0.2.7\topen\t1\t0\tdocs\tr|first"}).status, 0);
  std::vector<std::string> files = log_files("accesslog", kLogVolume);
  ASSERT_EQ(files.size(), 1u);
  std::string path = std::string(kLogVolume) + "/accesslog/" + files[0];
  DaemonProcess& following = follow({}, kAccessHeader);
  ASSERT_TRUE(following.wait_for_stdout(",first\n"));

  // A writer halfway through a line: the tool waits for its line end.
  std::string line = record_time(time(nullptr)) + ",alice,pc1,192.0.2.7,open_read,ok,docs,half";
  append(path, line);
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(following.stdout_text().find("half"), std::string::npos);
  append(path, "-and-done\r\n");
  EXPECT_TRUE(following.wait_for_stdout(",half-and-done\n")) << following.stdout_text();
  EXPECT_EQ(count_of(following.stdout_text(), "half"), 1);
  EXPECT_EQ(interrupt(), 0);
}

TEST_F(SarvikLogFollow, NothingMatchedIsExitStatusOne) {
  follow({"--user", "nobody"}, kAccessHeader);
  EXPECT_EQ(interrupt(), 1);
}

}  // namespace
}  // namespace sarvik::testing
