// The alert worker's tallies: what add_hit queues, how it locks, and whom it wakes.
#include "alert/alert_thread.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "alert/wall_clock.h"
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
  time_t before = wall_clock_seconds();
  worker.add_hit("rule", "line 1");
  time_t after = wall_clock_seconds();
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
  time_t before = wall_clock_seconds();
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

TEST(AlertTallies, HitLocksSignalsAndUnlocksThroughTheOverridableOperations) {
  std::vector<std::string> calls;
  testing::Recording<AlertThread> worker(&unused_routine, &calls);
  worker.add_hit("rule", "line");
  EXPECT_EQ(calls, (std::vector<std::string>{"lock", "signal", "unlock"}));
}

TEST(AlertTallies, HitWakesARoutineInAnUntimedWait) {
  ThreadProbe probe;
  std::vector<std::string> seen;
  Probed<AlertThread> worker(&probe);
  probe.on_wake = [&] {
    auto it = worker.tallies.find("rule");
    if (it != worker.tallies.end()) seen = it->second.lines;
  };
  ASSERT_EQ(worker.start(), 0);
  ASSERT_TRUE(eventually(worker, [&] { return probe.waiting; }));
  worker.add_hit("rule", "line");
  // A spurious wake-up before the hit would find nothing and wait again.
  ASSERT_TRUE(eventually(worker, [&] { return seen == std::vector<std::string>{"line"}; }));
  worker.lock();
  for (int result : probe.results) EXPECT_EQ(result, 0);
  worker.unlock();
}

}  // namespace
}  // namespace sarvik
