// The free space of a volume in percent, the gate of the expiry pass.
#include "logstore/free_space.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "testing/temp_dir.h"

namespace sarvik {
namespace {

TEST(FreeSpace, PercentIsTruncated) {
  EXPECT_EQ(volume_free_percent_of(0, 1000), 0u);
  EXPECT_EQ(volume_free_percent_of(9, 1000), 0u);
  EXPECT_EQ(volume_free_percent_of(10, 1000), 1u);
  EXPECT_EQ(volume_free_percent_of(999, 1000), 99u);
  EXPECT_EQ(volume_free_percent_of(1000, 1000), 100u);
}

TEST(FreeSpace, LargeVolumesDoNotOverflow) {
  const uint64_t blocks = uint64_t{1} << 50;
  EXPECT_EQ(volume_free_percent_of(blocks / 2, blocks), 50u);
}

// An unlimited tmpfs reports no blocks at all; it counts as all free instead of dividing by zero.
TEST(FreeSpace, VolumeWithoutBlocksCountsAsAllFree) {
  EXPECT_EQ(volume_free_percent_of(0, 0), 100u);
}

TEST(FreeSpace, VolumeThatCannotBeExaminedCountsAsAllFree) {
  testing::TempDir tmp;
  EXPECT_EQ(volume_free_percent(tmp / "missing"), 100u);
}

TEST(FreeSpace, RealVolumeGivesAPercentage) {
  testing::TempDir tmp;
  EXPECT_LE(volume_free_percent(tmp.path()), 100u);
}

}  // namespace
}  // namespace sarvik
