// Moments the tests write their records at, as seconds since the epoch.
#ifndef SARVIK_TESTING_TEST_TIMES_H_
#define SARVIK_TESTING_TEST_TIMES_H_

#include <time.h>

namespace sarvik::testing {

inline constexpr time_t kMarch4th = 1488630896;  // 2017-03-04 12:34:56 UTC
inline constexpr time_t kApril1st = 1491004800;  // 2017-04-01 00:00:00 UTC

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_TEST_TIMES_H_
