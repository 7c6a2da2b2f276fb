// How much of a volume is free, the gate of the expiry pass.
#ifndef SARVIK_LOGSTORE_FREE_SPACE_H_
#define SARVIK_LOGSTORE_FREE_SPACE_H_

#include <cstdint>
#include <string>

namespace sarvik {

// Free blocks in percent of the volume holding `path`, truncated, 0 to 100. The expiry pass asks
// it once per write; any thread.
using FreeSpaceProbe = uint64_t (*)(const std::string& path);

// The probe of the service: statfs of `path`, through volume_free_percent_of. A volume that
// cannot be examined counts as all free, so nothing is deleted for want of a number.
uint64_t volume_free_percent(const std::string& path);

// `free_blocks` (those reserved for the superuser included) in percent of `blocks`, truncated.
// A volume that reports no blocks at all (as an unlimited tmpfs does) counts as all free instead
// of dividing by zero.
uint64_t volume_free_percent_of(uint64_t free_blocks, uint64_t blocks);

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_FREE_SPACE_H_
