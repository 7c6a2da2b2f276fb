// Where the records of a seal journal end.
#ifndef SARVIK_SEAL_JOURNAL_END_H_
#define SARVIK_SEAL_JOURNAL_END_H_

#include <cstdint>

namespace sarvik {

// The end of the records of the journal open as `fd`, `size` bytes long, into `*end`: behind its
// last slot that holds a byte other than zero. The running service keeps zero bytes ahead of
// its records (JournalWindow), and no record ends in a slot of zeros: a record's first slot
// holds its type and tag, the last slot of a name at least one of its bytes. False when reading
// failed (errno set). Any thread.
bool journal_records_end(int fd, uint64_t size, uint64_t* end);

}  // namespace sarvik

#endif  // SARVIK_SEAL_JOURNAL_END_H_
