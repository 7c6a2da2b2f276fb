// One scan of the tallies: when a tally is due, what a batch takes, and the lock around the mail.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "alert/alert_loop.h"
#include "alert/wall_clock.h"
#include "stdout_capture.h"
#include "testing/text_count.h"

namespace sarvik {
namespace {

using testing::count_of;

// A routine that is never started.
void* unused_routine(void*) { return nullptr; }

// `count` numbered lines, from `first` on.
std::vector<std::string> numbered(int first, int count) {
  std::vector<std::string> lines;
  for (int i = first; i < first + count; ++i) lines.push_back("line " + std::to_string(i));
  return lines;
}

// A worker that knows whether its mutex is held, so that the handler can see it released.
class TrackingWorker : public AlertThread {
 public:
  TrackingWorker() : AlertThread(&unused_routine) {}
  int lock() override {
    int result = AlertThread::lock();
    held = true;
    return result;
  }
  int unlock() override {
    held = false;
    return AlertThread::unlock();
  }

  bool held = false;  // written by the holder of the mutex only
};

struct Batch {
  std::string name;
  std::vector<std::string> lines;
  bool lock_held;
};

// Scans with a clock of its own, recording every batch the handler gets.
class ScanTallies : public ::testing::Test {
 protected:
  void scan() {
    worker.lock();
    scan_tallies(
        worker, [this] { return now; },
        [this](const std::string& name, const std::vector<std::string>& lines) {
          batches.push_back({name, lines, worker.held});
          if (during_handler) during_handler();
        });
    EXPECT_TRUE(worker.held);
    worker.unlock();
  }

  testing::StdoutCapture out;
  TrackingWorker worker;
  time_t now = time(nullptr);
  std::vector<Batch> batches;
  std::function<void()> during_handler;
};

TEST_F(ScanTallies, DueAfterSixtyQuietSecondsOrAt1024Lines) {
  const struct {
    int lines;
    time_t age;
    bool due;
  } cases[] = {
      {1, 0, false},     {1, 59, false},    {1, 60, true},    {1, 3600, true},
      {1023, 0, false},  {1023, 59, false}, {1023, 60, true}, {1024, 0, true},
      {1024, -30, true}, {1500, 0, true},   {0, 3600, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("lines " + std::to_string(c.lines) + ", age " + std::to_string(c.age));
    worker.tallies.clear();
    batches.clear();
    worker.tallies["r"] = AlertTally{now - c.age, numbered(0, c.lines)};
    scan();
    EXPECT_EQ(batches.size(), c.due ? 1u : 0u);
  }
}

TEST_F(ScanTallies, DueTallyGivesAllItsLinesInOrderAndRenewsItsTime) {
  worker.tallies["r"] = AlertTally{now - 60, numbered(0, 5)};
  scan();
  ASSERT_EQ(batches.size(), 1u);
  EXPECT_EQ(batches[0].name, "r");
  EXPECT_EQ(batches[0].lines, numbered(0, 5));
  EXPECT_TRUE(worker.tallies.at("r").lines.empty());
  EXPECT_EQ(worker.tallies.at("r").last_time, now);
  EXPECT_EQ(out.text(), "alert_thread: check r\nalert_thread: try send mail\n");
}

TEST_F(ScanTallies, FifteenHundredLinesGoAs1024ThenTheRestAfterTheQuietTime) {
  worker.tallies["r"] = AlertTally{now, numbered(0, 1500)};
  scan();
  ASSERT_EQ(batches.size(), 1u);
  EXPECT_EQ(batches[0].lines, numbered(0, 1024));
  EXPECT_EQ(worker.tallies.at("r").lines, numbered(1024, 476));
  EXPECT_EQ(worker.tallies.at("r").last_time, now);

  now += 59;
  scan();
  EXPECT_EQ(batches.size(), 1u);  // the remainder waits for the quiet time like any tally
  now += 1;
  scan();
  ASSERT_EQ(batches.size(), 2u);
  EXPECT_EQ(batches[1].lines, numbered(1024, 476));
  EXPECT_TRUE(worker.tallies.at("r").lines.empty());
}

TEST_F(ScanTallies, EmptyTallyIsCheckedAtEachScanAndSendsNothing) {
  worker.tallies["idle"] = AlertTally{0, {}};
  scan();
  scan();
  EXPECT_TRUE(batches.empty());
  EXPECT_EQ(out.text(), "alert_thread: check idle\nalert_thread: check idle\n");
  EXPECT_EQ(worker.tallies.count("idle"), 1u);
}

TEST_F(ScanTallies, EveryTallyIsCheckedInKeyOrderAndEachDueOneSent) {
  worker.tallies["c"] = AlertTally{now - 60, {"c1"}};
  worker.tallies["a"] = AlertTally{now - 60, {"a1"}};
  worker.tallies["b"] = AlertTally{now, {"b1"}};
  scan();
  ASSERT_EQ(batches.size(), 2u);
  EXPECT_EQ(batches[0].name, "a");
  EXPECT_EQ(batches[1].name, "c");
  EXPECT_EQ(out.text(),
            "alert_thread: check a\nalert_thread: try send mail\nalert_thread: check b\n"
            "alert_thread: check c\nalert_thread: try send mail\n");
}

TEST_F(ScanTallies, HitsDuringTheMailGoToTheTallyAndMakeALaterMail) {
  worker.tallies["r"] = AlertTally{now - 60, {"first"}};
  worker.tallies["s"] = AlertTally{now - 60, {"other"}};
  // The main thread's hits arrive while the handler runs; they need the mutex.
  during_handler = [this] {
    if (batches.size() == 1 && !worker.held)
      std::thread([this] { worker.add_hit("r", "second"); }).join();
  };
  scan();
  ASSERT_EQ(batches.size(), 2u);
  EXPECT_FALSE(batches[0].lock_held);
  EXPECT_FALSE(batches[1].lock_held);
  EXPECT_EQ(batches[0].lines, std::vector<std::string>{"first"});
  EXPECT_EQ(batches[1].name, "s");  // the scan went on after the unlocked call
  EXPECT_EQ(worker.tallies.at("r").lines, std::vector<std::string>{"second"});

  now = worker.tallies.at("r").last_time + 60;
  scan();
  ASSERT_EQ(batches.size(), 3u);
  EXPECT_EQ(batches[2].name, "r");
  EXPECT_EQ(batches[2].lines, std::vector<std::string>{"second"});
}

TEST_F(ScanTallies, CheckMessageIsFlushedAtOnce) {
  worker.tallies["r"] = AlertTally{now, {"young"}};
  scan();
  EXPECT_EQ(out.written(), "alert_thread: check r\n");
}

// What the pausing routine below did; written by the worker's thread, read after its join.
std::atomic<bool> pausing_in_handler{false};
std::vector<std::string> pausing_handled;

// A routine that scans once, pausing in the handler of each due tally with the mutex released
// as handle_alert does while it mails, and then waits for the exit request.
void* pausing_scan(void* self) {
  auto* worker = static_cast<AlertThread*>(static_cast<Thread*>(self));
  worker->lock();
  scan_tallies(*worker, wall_clock_seconds,
               [](const std::string& name, const std::vector<std::string>&) {
                 pausing_handled.push_back(name);
                 pausing_in_handler = true;
                 std::this_thread::sleep_for(std::chrono::milliseconds(300));
               });
  while (!worker->exit_requested) worker->wait(1);
  worker->unlock();
  return nullptr;
}

// The worker is destroyed while its scan is inside a mail: the scan must finish over tallies
// that are still there (AddressSanitizer and ThreadSanitizer see a scan of a destroyed map).
TEST(AlertThreadTeardown, TalliesOutliveTheScanInProgress) {
  testing::StdoutCapture out;
  auto worker = std::make_unique<AlertThread>(&pausing_scan);
  worker->tallies["a"] = AlertTally{0, {"due"}};
  worker->tallies["b"] = AlertTally{0, {"due"}};
  ASSERT_EQ(worker->start(), 0);
  for (int i = 0; i < 30000 && !pausing_in_handler; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ASSERT_TRUE(pausing_in_handler);
  worker.reset();  // while the handler of "a" pauses
  EXPECT_EQ(pausing_handled, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(out.text(),
            "alert_thread: check a\nalert_thread: try send mail\nalert_thread: check b\n"
            "alert_thread: try send mail\n");
}

}  // namespace
}  // namespace sarvik
