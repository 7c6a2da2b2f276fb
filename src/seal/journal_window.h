// The end of a seal journal, written through a shared mapping instead of a system call per line.
#ifndef SARVIK_SEAL_JOURNAL_WINDOW_H_
#define SARVIK_SEAL_JOURNAL_WINDOW_H_

#include <cstddef>
#include <cstdint>

namespace sarvik {

// Writes records into the journal open as `fd` through a window of the file mapped shared. The
// window's bytes are allocated in the file before it is mapped, so a full volume fails the
// allocation and is told as ENOSPC rather than faulting a store; a store that faults all the
// same (the file cut under the service) is caught and told as EIO. While the service runs the
// journal thus ends in zero bytes behind its last record, which readers pass over
// (journal_records_end); close_at() cuts them off. A volume that cannot allocate ahead
// (EOPNOTSUPP) is written with pwrite instead. What is stored reaches the file as a write
// does: it survives the service, and is no more synced than a write.
//
// Owns the mapping, not the descriptor. Main thread of the service only.
class JournalWindow {
 public:
  explicit JournalWindow(int fd);
  ~JournalWindow();
  JournalWindow(const JournalWindow&) = delete;
  JournalWindow& operator=(const JournalWindow&) = delete;

  // Stores `size` bytes at `offset` of the journal: 0, or the errno of the failure. What a
  // failed store left behind `offset` is no record; the next store at `offset` overwrites it.
  int write(const void* data, size_t size, uint64_t offset);
  // Unmaps the window and cuts the journal at `end`, the end of its last record.
  void close_at(uint64_t end);

 private:
  // Maps a window that holds [offset, offset + size); 0 or errno.
  int map(uint64_t offset, size_t size);
  void unmap();

  const int fd;
  uint8_t* window = nullptr;
  uint64_t window_from = 0;  // the window's offset in the file
  size_t window_bytes = 0;
  bool by_pwrite = false;  // the volume cannot allocate ahead
};

}  // namespace sarvik

#endif  // SARVIK_SEAL_JOURNAL_WINDOW_H_
