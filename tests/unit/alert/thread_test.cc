// The thread base: untimed and timed waits, the exit request, the destructor, overrides.
#include "alert/thread.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "alert/wall_clock.h"
#include "thread_probe.h"

namespace sarvik {
namespace {

using testing::eventually;
using testing::Probed;
using testing::ThreadProbe;
using ProbedThread = Probed<Thread>;

// Starts a probe thread waiting `seconds` at a time and returns once it is inside its first wait.
std::unique_ptr<ProbedThread> start_waiting(ThreadProbe& probe, long seconds) {
  probe.seconds = seconds;
  auto thread = std::make_unique<ProbedThread>(&probe);
  EXPECT_EQ(thread->start(), 0);
  EXPECT_TRUE(eventually(*thread, [&] { return probe.waiting; }));
  return thread;
}

TEST(ThreadWait, UntimedWaitReturnsOnlyOnASignal) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 0);
  // A wait timed by its argument would have ended at once, and again after each return.
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  thread->lock();
  // A spurious wake-up may have returned 0 meanwhile; a time-out never.
  for (int result : probe.results) EXPECT_EQ(result, 0);
  const size_t before = probe.results.size();
  EXPECT_EQ(thread->signal(), 0);
  thread->unlock();
  ASSERT_TRUE(eventually(*thread, [&] { return probe.results.size() > before; }));
  thread->lock();
  for (int result : probe.results) EXPECT_EQ(result, 0);
  EXPECT_TRUE(probe.waiting);  // back in its next wait, not ended
  thread->unlock();
}

TEST(ThreadWait, ASignalEndsATimedWaitEarly) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 60);
  thread->lock();
  thread->signal();
  thread->unlock();
  ASSERT_TRUE(eventually(*thread, [&] { return !probe.results.empty(); }));
  thread->lock();
  EXPECT_EQ(probe.results[0], 0);
  thread->unlock();
}

// The current time of the realtime clock, between half and three quarters into a second, so
// that the next whole second lies well ahead.
timespec now_in_second_half() {
  timespec now;
  for (;;) {
    clock_gettime(CLOCK_REALTIME, &now);
    if (now.tv_nsec >= 500000000 && now.tv_nsec < 750000000) return now;
    long to_half = (1500000000 - now.tv_nsec) % 1000000000;
    std::this_thread::sleep_for(std::chrono::nanoseconds(to_half));
  }
}

// One timed wait of `seconds` with nobody signalling, begun in the second half of a second.
struct TimedWait {
  timespec begin;
  int result;
  timespec end;        // the realtime clock right after the wait
  time_t clock_after;  // the thread's own clock right after the wait
};

TimedWait timed_wait(Thread& thread, long seconds) {
  TimedWait sample;
  thread.lock();
  sample.begin = now_in_second_half();
  sample.result = thread.wait(seconds);
  sample.clock_after = wall_clock_seconds();
  clock_gettime(CLOCK_REALTIME, &sample.end);
  thread.unlock();
  return sample;
}

// Timed waits of `seconds` until `count` of them have timed out; a spurious wake-up (result 0)
// is not counted. Gives up after three times as many waits.
std::vector<TimedWait> timed_out_waits(long seconds, int count) {
  ThreadProbe probe;
  ProbedThread thread(&probe);
  std::vector<TimedWait> samples;
  for (int attempt = 0; attempt < 3 * count && static_cast<int>(samples.size()) < count;
       ++attempt) {
    TimedWait sample = timed_wait(thread, seconds);
    if (sample.result == ETIMEDOUT) samples.push_back(sample);
  }
  EXPECT_EQ(static_cast<int>(samples.size()), count) << "waits that did not time out";
  return samples;
}

// A wait of `seconds` ends at the whole second `seconds` after the second it began in: never
// before it, and so, in some of several tries (the others may be late on a busy machine), less
// than `seconds` after it began.
void expect_ends_on_whole_second(long seconds) {
  bool shorter_than_asked = false;
  for (const TimedWait& sample : timed_out_waits(seconds, 3)) {
    EXPECT_GE(sample.end.tv_sec, sample.begin.tv_sec + seconds);
    if (sample.end.tv_sec == sample.begin.tv_sec + seconds &&
        sample.end.tv_nsec < sample.begin.tv_nsec) {
      shorter_than_asked = true;
    }
  }
  EXPECT_TRUE(shorter_than_asked) << "no wait ended before " << seconds << " s had passed";
}

TEST(ThreadWait, OneSecondWaitEndsAtTheNextWholeSecond) { expect_ends_on_whole_second(1); }

TEST(ThreadWait, TwoSecondWaitEndsAtTheSecondWholeSecondAfter) { expect_ends_on_whole_second(2); }

// The deadline is a whole second of the realtime clock. Right after a wait that ran to it, the
// clock the alert thread compares must show that second: a clock that lags behind, as time()
// does by up to a tick, would find a hit one second too young and delay its mail by a whole
// further wait. Tried many times, since the lag depends on where the tick falls.
TEST(ThreadWait, ClockShowsTheDeadlineRightAfterATimedWaitEnds) {
  for (const TimedWait& sample : timed_out_waits(1, 8)) {
    // Begun in the second half of a second, the wait computed its deadline in that second.
    EXPECT_GE(sample.clock_after, sample.begin.tv_sec + 1)
        << "the wait ended " << sample.end.tv_nsec / 1000 << " us into second "
        << sample.end.tv_sec;
  }
}

TEST(ThreadExit, RequestTakesEffectAtTheNextWakeUp) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 0);
  EXPECT_EQ(thread->request_exit(), 0);
  thread->lock();
  EXPECT_TRUE(thread->exit_requested);
  thread->signal();
  thread->unlock();
  ASSERT_TRUE(eventually(*thread, [&] { return probe.exited; }));
  thread->lock();
  EXPECT_EQ(probe.results.back(), 0);
  thread->unlock();
}

// Without a signal, a routine in a timed wait sees the request only when the wait ends.
TEST(ThreadExit, RequestLocksAndUnlocksThroughTheOverridesAndDoesNotSignal) {
  std::vector<std::string> calls;
  {
    testing::Recording<Thread> thread(nullptr, &calls);
    thread.request_exit();
    EXPECT_EQ(calls, (std::vector<std::string>{"lock", "unlock"}));
    EXPECT_TRUE(thread.exit_requested);
  }
  // The destructor uses the mutex and the condition directly.
  EXPECT_EQ(calls, (std::vector<std::string>{"lock", "unlock"}));
}

TEST(ThreadExit, DestructorWakesTheWaitingRoutineAtOnceAndJoins) {
  ThreadProbe probe;
  auto thread = start_waiting(probe, 60);
  thread.reset();
  // Joined: the routine has returned, and the wait that ended it was signalled, not timed out.
  EXPECT_TRUE(probe.exited);
  ASSERT_FALSE(probe.results.empty());
  EXPECT_EQ(probe.results.back(), 0);
}

TEST(ThreadExit, NeverStartedThreadIsDestroyedWithoutAJoin) {
  // The handle of a thread that never started holds whatever its storage held; a join on it
  // would fail or crash. Storage filled with ones makes that visible.
  alignas(ProbedThread) unsigned char storage[sizeof(ProbedThread)];
  memset(storage, 0xFF, sizeof storage);
  asm volatile("" : : "r"(storage) : "memory");  // keeps the fill ahead of the construction
  ThreadProbe probe;
  auto* thread = new (storage) ProbedThread(&probe);
  thread->request_exit();
  thread->~ProbedThread();
  EXPECT_FALSE(probe.exited);
}

}  // namespace
}  // namespace sarvik
