// The pipe of a streamed body, and the bound on searches at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "web/query_gate.h"
#include "web/stream_pipe.h"

namespace sarvik::web {
namespace {

using namespace std::chrono_literals;

TEST(StreamPipe, HoldsNoMoreThanItsCapacityAhead) {
  StreamPipe pipe(8);
  std::atomic<bool> done{false};
  std::thread writer([&] {
    EXPECT_TRUE(pipe.write("0123456789abcdef"));  // twice the capacity: waits for the reader
    done = true;
    pipe.finish(true);
  });
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(done);
  std::string read;
  char buffer[4];
  for (ssize_t n; (n = pipe.read(buffer, sizeof buffer, 1000ms)) != StreamPipe::kEnd;) {
    ASSERT_GE(n, 0);
    read.append(buffer, static_cast<size_t>(n));
  }
  writer.join();
  EXPECT_EQ(read, "0123456789abcdef");
}

TEST(StreamPipe, AnAbandonedPipeFailsItsWriter) {
  StreamPipe pipe(4);
  std::thread writer([&] { EXPECT_FALSE(pipe.write("more than four")); });
  std::this_thread::sleep_for(50ms);
  pipe.abandon();
  writer.join();
  EXPECT_FALSE(pipe.write("x"));
  char buffer[4];
  EXPECT_EQ(pipe.read(buffer, sizeof buffer, 10ms), StreamPipe::kFailed);
}

TEST(StreamPipe, TellsAnIncompleteEnd) {
  StreamPipe pipe(16);
  EXPECT_TRUE(pipe.write("ab"));
  pipe.finish(false);
  char buffer[4];
  EXPECT_EQ(pipe.read(buffer, sizeof buffer, 10ms), 2);
  EXPECT_EQ(pipe.read(buffer, sizeof buffer, 10ms), StreamPipe::kFailed);
}

TEST(StreamPipe, AReadWithNothingToReadWaitsNoLongerThanAsked) {
  StreamPipe pipe(16);
  char buffer[4];
  EXPECT_EQ(pipe.read(buffer, sizeof buffer, 10ms), 0);
}

TEST(QueryGate, LetsInSoManyAndQueuesSoManyMore) {
  QueryGate gate(1, 1);
  auto first = gate.enter();
  ASSERT_TRUE(first);
  std::atomic<bool> second_in{false};
  std::thread second([&] {
    auto turn = gate.enter();  // waits for the first
    second_in = turn != nullptr;
  });
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(second_in);
  EXPECT_FALSE(gate.enter());  // one runs, one waits: no room for a third
  first.reset();
  second.join();
  EXPECT_TRUE(second_in);
}

TEST(QueryGate, ClosingSendsTheWaitingAway) {
  QueryGate gate(1, 4);
  auto first = gate.enter();
  std::thread waiting([&] { EXPECT_FALSE(gate.enter()); });
  std::this_thread::sleep_for(50ms);
  gate.close();
  waiting.join();
  EXPECT_FALSE(gate.enter());
}

}  // namespace
}  // namespace sarvik::web
