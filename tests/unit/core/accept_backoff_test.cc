// Tests of the pause after failed accepts.
#include "core/accept_backoff.h"

#include <gtest/gtest.h>

namespace sarvik {
namespace {

using std::chrono::milliseconds;

TEST(AcceptBackoff, DoublesFromTheFirstPauseUpToTheLongest) {
  AcceptBackoff backoff;
  milliseconds expected = AcceptBackoff::kFirstPause;
  for (int failure = 0; failure < 20; ++failure) {
    EXPECT_EQ(backoff.next_pause(), expected) << failure;
    expected = std::min(expected * 2, AcceptBackoff::kLongestPause);
  }
  EXPECT_EQ(backoff.next_pause(), AcceptBackoff::kLongestPause);
  EXPECT_LT(AcceptBackoff::kLongestPause, milliseconds(1000));
}

TEST(AcceptBackoff, ASuccessStartsAgainFromTheFirstPause) {
  AcceptBackoff backoff;
  for (int failure = 0; failure < 5; ++failure) backoff.next_pause();
  backoff.reset();
  EXPECT_EQ(backoff.next_pause(), AcceptBackoff::kFirstPause);
}

}  // namespace
}  // namespace sarvik
