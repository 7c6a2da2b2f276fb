// The expiry settings of one log: whether old files are deleted, from what age, below what free
// space.
#ifndef SARVIK_LOGSTORE_AUTO_DELETE_H_
#define SARVIK_LOGSTORE_AUTO_DELETE_H_

#include <cstdint>

namespace sarvik {

// A plain value, all zero by default (expiry off). The settings hand it out and `LogFile` holds
// a copy; no range is checked anywhere, so negative values pass as they are.
struct AutoDelete {
  bool enable = false;
  // Minimum age of a deleted file, in whole days.
  int32_t days = 0;
  // Expiry runs only while the volume's free space, in percent, is at or below this value.
  int32_t percent = 0;
};

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_AUTO_DELETE_H_
