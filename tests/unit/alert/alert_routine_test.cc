// The alert thread's routine on a real thread, raising alerts through stub notice scripts.
#include <signal.h>

#include <gtest/gtest.h>

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "alert/alert_loop.h"
#include "stdout_capture.h"
#include "testing/notice_stubs.h"
#include "testing/temp_dir.h"
#include "testing/text_count.h"

namespace sarvik {
namespace {

using testing::arg;
using testing::count_of;
using testing::eventlog_request;

constexpr char kWaiting[] = "alert_thread: waiting.\n";
constexpr char kTrySend[] = "alert_thread: try send mail\n";
constexpr char kExit[] = "alert_thread: exit by request.\n";

// The worker runs alert_thread with stub scripts and one mail profile in a temporary directory.
// Wake-ups are forced by signalling until the awaited message shows: a signal given while the
// routine is not waiting is lost, and the 60-second time-out is not waited for.
class AlertRoutine : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { signal(SIGPIPE, SIG_IGN); }

  void SetUp() override { stubs->write_mail_profiles(testing::mail_profile(true, {"a@x"})); }

  // Ends the routine by the exit request, and checks that it left by it.
  void TearDown() override {
    if (!started) return;
    worker.request_exit();
    EXPECT_TRUE(await_exit());
  }

  // Waits until the routine has left. Taking the mutex once more orders its last use of the
  // object before whatever the test does next, the destruction included.
  bool await_exit() {
    if (!wake_until(kExit)) return false;
    worker.lock();
    worker.unlock();
    started = false;
    return true;
  }

  void start() {
    ASSERT_EQ(worker.start(), 0);
    started = true;
  }

  // Signals the routine until standard output holds `part` `count` times.
  bool wake_until(const std::string& part, int count = 1) {
    return out.wait_for(part, count, [this] { worker.signal(); });
  }

  // Returns once a mail that has begun is done: the routine has waited again since.
  bool finish_mail() { return wake_until(kWaiting, seen(kWaiting) + 1); }

  // The number of `part` messages so far.
  int seen(const std::string& part) { return count_of(out.text(), part); }

  std::vector<std::string> tally(const std::string& name) {
    worker.lock();
    std::vector<std::string> lines = worker.tallies[name].lines;
    worker.unlock();
    return lines;
  }

  testing::StdoutCapture out;
  testing::TempDir tmp;
  std::optional<testing::NoticeStubs> stubs{std::in_place, tmp.path()};
  AlertThread worker{&alert_thread, stubs->paths()};
  bool started = false;
};

TEST_F(AlertRoutine, ExitFlagLeavesAtTheNextWakeUpWhateverIsPending) {
  start();
  worker.add_hit("r", "young");
  ASSERT_TRUE(wake_until("alert_thread: check r\n"));
  // Lines long due and the flag, both at once under the mutex: the wake-up must leave first.
  worker.lock();
  worker.tallies["r"] = AlertTally{0, std::vector<std::string>(1500, "due")};
  worker.exit_requested = true;
  worker.unlock();
  ASSERT_TRUE(await_exit());
  const std::string text = out.text();
  const std::string last = "alert_thread: wake up.\n" + std::string(kExit);
  EXPECT_EQ(text.rfind(last), text.size() - last.size()) << text;
  EXPECT_EQ(count_of(text, kTrySend), 0);
  EXPECT_EQ(tally("r").size(), 1500u);
  EXPECT_EQ(stubs->eventlog.runs(), 0);
}

TEST_F(AlertRoutine, ExitFlagBeforeTheFirstWakeUpEndsWithoutAScan) {
  worker.tallies["r"] = AlertTally{0, {"due"}};
  worker.request_exit();
  start();
  ASSERT_TRUE(await_exit());
  EXPECT_EQ(out.text(), "alert_thread: waiting.\nalert_thread: wake up.\n" + std::string(kExit));
  EXPECT_EQ(stubs->eventlog.runs(), 0);
}

TEST_F(AlertRoutine, ThousandTwentyFourHitsGoAtTheNextWakeUp) {
  start();
  for (int i = 0; i < 1024; ++i) worker.add_hit("r", "line " + std::to_string(i));
  ASSERT_TRUE(wake_until(kTrySend));
  ASSERT_TRUE(finish_mail());
  ASSERT_GE(stubs->eventlog.runs(), 1);
  EXPECT_EQ(stubs->eventlog.request(1),
            eventlog_request("71100010", arg("name", "r") + arg("number", "1024")));
  ASSERT_EQ(stubs->mail.runs(), 1);
  EXPECT_EQ(count_of(stubs->mail.request(1), "\n"), 2 + 1024);  // the blank line, each line
  EXPECT_TRUE(tally("r").empty());
  EXPECT_EQ(seen(kTrySend), 1);
}

TEST_F(AlertRoutine, ThousandTwentyThreeHitsWaitForTheQuietTime) {
  start();
  for (int i = 0; i < 1023; ++i) worker.add_hit("r", "line " + std::to_string(i));
  const int checks = seen("alert_thread: check r\n");
  ASSERT_TRUE(wake_until("alert_thread: check r\n", checks + 3));
  EXPECT_EQ(seen(kTrySend), 0);
  EXPECT_EQ(tally("r").size(), 1023u);
  EXPECT_EQ(stubs->eventlog.runs(), 0);

  // Sixty quiet seconds later, as the tally sees it.
  worker.lock();
  worker.tallies["r"].last_time -= kQuietSeconds;
  worker.unlock();
  ASSERT_TRUE(wake_until(kTrySend));
  ASSERT_TRUE(finish_mail());
  ASSERT_GE(stubs->eventlog.runs(), 1);
  EXPECT_EQ(stubs->eventlog.request(1),
            eventlog_request("71100010", arg("name", "r") + arg("number", "1023")));
}

TEST_F(AlertRoutine, EmptyTallyIsCheckedAtEveryScanAndNeverMailed) {
  worker.tallies["idle"] = AlertTally{0, {}};
  start();
  ASSERT_TRUE(wake_until("alert_thread: check idle\n", 3));
  EXPECT_EQ(seen(kTrySend), 0);
  EXPECT_EQ(stubs->eventlog.runs(), 0);
  EXPECT_EQ(stubs->mail.runs(), 0);
}

TEST_F(AlertRoutine, EachWakeUpPrintsItsMessagesInOrder) {
  worker.tallies["a"] = AlertTally{0, {"due"}};
  worker.tallies["b"] = AlertTally{0, {}};
  start();
  ASSERT_TRUE(wake_until(kWaiting, 2));
  const std::string first_round =
      "alert_thread: waiting.\nalert_thread: wake up.\nalert_thread: check a\n"
      "alert_thread: try send mail\nalert_thread: check b\nalert_thread: waiting.\n";
  EXPECT_EQ(out.text().substr(0, first_round.size()), first_round);
}

}  // namespace
}  // namespace sarvik
