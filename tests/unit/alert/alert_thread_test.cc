// The alert worker's tallies: what add_hit queues, how it locks, and whom it wakes.
#include "alert/alert_thread.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "thread_probe.h"

namespace sarvik {
namespace {

using testing::eventually;
using testing::Probed;
using testing::ThreadProbe;

// A routine that is never started.
void* unused_routine(void*) { return nullptr; }

TEST(AlertTallies, FirstHitCreatesTheTallyWithItsLine) {
  AlertThread worker(&unused_routine);
  time_t before = time(nullptr);
  worker.add_hit("rule", "line 1");
  time_t after = time(nullptr);
  ASSERT_EQ(worker.tallies.size(), 1u);
  const AlertTally& tally = worker.tallies.at("rule");
  EXPECT_EQ(tally.lines, std::vector<std::string>{"line 1"});
  EXPECT_GE(tally.last_time, before);
  EXPECT_LE(tally.last_time, after);
}

TEST(AlertTallies, HitsAppendInOrderPerName) {
  AlertThread worker(&unused_routine);
  worker.add_hit("b", "1");
  worker.add_hit("a", "2");
  worker.add_hit("b", "3");
  worker.add_hit("b", "4");
  ASSERT_EQ(worker.tallies.size(), 2u);
  EXPECT_EQ(worker.tallies.begin()->first, "a");
  EXPECT_EQ(worker.tallies.at("a").lines, std::vector<std::string>{"2"});
  EXPECT_EQ(worker.tallies.at("b").lines, (std::vector<std::string>{"1", "3", "4"}));
}

TEST(AlertTallies, TwoRulesOfOneNameShareOneTally) {
  AlertThread worker(&unused_routine);
  worker.add_hit("same", "line");
  worker.add_hit("same", "line");
  ASSERT_EQ(worker.tallies.size(), 1u);
  EXPECT_EQ(worker.tallies.at("same").lines, (std::vector<std::string>{"line", "line"}));
}

TEST(AlertTallies, HitRenewsLastTimeAndKeepsWaitingLines) {
  AlertThread worker(&unused_routine);
  worker.tallies["rule"] = AlertTally{0, {"older"}};
  time_t before = time(nullptr);
  worker.add_hit("rule", "newer");
  EXPECT_GE(worker.tallies.at("rule").last_time, before);
  EXPECT_EQ(worker.tallies.at("rule").lines, (std::vector<std::string>{"older", "newer"}));
}

TEST(AlertTallies, EmptiedTallyIsReusedByTheNextHit) {
  AlertThread worker(&unused_routine);
  worker.add_hit("rule", "first");
  worker.tallies.at("rule").lines.clear();
  worker.add_hit("rule", "second");
  ASSERT_EQ(worker.tallies.size(), 1u);
  EXPECT_EQ(worker.tallies.at("rule").lines, std::vector<std::string>{"second"});
}

// Records the calls of the overridable operations into a list that outlives it.
class RecordingWorker : public AlertThread {
 public:
  explicit RecordingWorker(std::vector<std::string>* calls)
      : AlertThread(&unused_routine), calls(calls) {}
  int lock() override { return record("lock", AlertThread::lock()); }
  int unlock() override { return record("unlock", AlertThread::unlock()); }
  int signal() override { return record("signal", AlertThread::signal()); }

 private:
  int record(const char* call, int result) {
    calls->push_back(call);
    return result;
  }
  std::vector<std::string>* const calls;
};

TEST(AlertTallies, HitLocksSignalsAndUnlocksThroughTheOverridableOperations) {
  std::vector<std::string> calls;
  RecordingWorker worker(&calls);
  worker.add_hit("rule", "line");
  EXPECT_EQ(calls, (std::vector<std::string>{"lock", "signal", "unlock"}));
}

TEST(AlertTallies, HitWakesARoutineInAnUntimedWait) {
  ThreadProbe probe;
  std::vector<std::string> seen;
  Probed<AlertThread> worker(&probe);
  probe.on_wake = [&] { seen = worker.tallies["rule"].lines; };
  ASSERT_EQ(worker.start(), 0);
  ASSERT_TRUE(eventually(worker, [&] { return probe.waiting; }));
  worker.add_hit("rule", "line");
  ASSERT_TRUE(eventually(worker, [&] { return probe.results.size() == 1; }));
  worker.lock();
  EXPECT_EQ(probe.results[0], 0);
  EXPECT_EQ(seen, std::vector<std::string>{"line"});
  worker.unlock();
}

}  // namespace
}  // namespace sarvik
