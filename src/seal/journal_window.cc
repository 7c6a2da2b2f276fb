// The end of a seal journal, written through a shared mapping instead of a system call per line.
#include "seal/journal_window.h"

#include <errno.h>
#include <fcntl.h>
#include <setjmp.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace sarvik {

namespace {

// 64 KiB: a new window every thousand lines or so, and the resident part stays this small.
constexpr size_t kWindowBytes = size_t{64} << 10;

// Where a store into the window returns to when it faults; set only around that store.
thread_local sigjmp_buf* store_fault = nullptr;

void on_bus_error(int signal, siginfo_t*, void*) {
  if (store_fault != nullptr) siglongjmp(*store_fault, 1);
  // A fault anywhere else ends the process as it would have without this handler.
  struct sigaction fallback {};
  fallback.sa_handler = SIG_DFL;
  sigaction(signal, &fallback, nullptr);
  raise(signal);
}

void catch_bus_errors() {
  static const bool installed = [] {
    struct sigaction action {};
    action.sa_sigaction = on_bus_error;
    // Not blocked while handled: the handler leaves by siglongjmp without restoring a mask.
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    return sigaction(SIGBUS, &action, nullptr) == 0;
  }();
  (void)installed;
}

// Copies `size` bytes to mapped memory; false when the store faulted.
bool guarded_copy(uint8_t* to, const void* from, size_t size) {
  sigjmp_buf here;
  if (sigsetjmp(here, 0) != 0) {
    store_fault = nullptr;
    return false;
  }
  store_fault = &here;
  // The stores into the window stay between the two: the compiler may not move them across.
  std::atomic_signal_fence(std::memory_order_seq_cst);
  memcpy(to, from, size);
  std::atomic_signal_fence(std::memory_order_seq_cst);
  store_fault = nullptr;
  return true;
}

int pwrite_all(int fd, const void* data, size_t size, uint64_t offset) {
  ssize_t written;
  do {
    written = pwrite(fd, data, size, static_cast<off_t>(offset));
  } while (written < 0 && errno == EINTR);
  if (written == static_cast<ssize_t>(size)) return 0;
  const int error = written < 0 ? errno : ENOSPC;
  // A part that was written would stand behind the journal's end as the start of a record.
  if (written > 0 && ftruncate(fd, static_cast<off_t>(offset)) != 0) {
    // Failure ignored: the next write begins at the same place and overwrites it.
  }
  return error;
}

}  // namespace

JournalWindow::JournalWindow(int fd) : fd(fd) { catch_bus_errors(); }

JournalWindow::~JournalWindow() { unmap(); }

void JournalWindow::unmap() {
  if (window != nullptr) munmap(window, window_bytes);
  window = nullptr;
  window_bytes = 0;
}

int JournalWindow::map(uint64_t offset, size_t size) {
  unmap();
  const auto page = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  const uint64_t from = offset - offset % page;
  const auto needed = static_cast<size_t>((offset + size - from + page - 1) / page * page);
  size_t bytes = std::max(kWindowBytes, needed);
  if (fallocate(fd, 0, static_cast<off_t>(from), static_cast<off_t>(bytes)) != 0) {
    // A volume nearly full may still hold what this write needs.
    bytes = needed;
    if (fallocate(fd, 0, static_cast<off_t>(from), static_cast<off_t>(bytes)) != 0) return errno;
  }
  // Populated at once, so that the resident pages are those of one whole window all along.
  void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd,
                      static_cast<off_t>(from));
  if (mapped == MAP_FAILED) return errno;
  window = static_cast<uint8_t*>(mapped);
  window_from = from;
  window_bytes = bytes;
  return 0;
}

int JournalWindow::write(const void* data, size_t size, uint64_t offset) {
  if (by_pwrite) return pwrite_all(fd, data, size, offset);
  if (window == nullptr || offset < window_from || offset + size > window_from + window_bytes) {
    const int error = map(offset, size);
    if (error == EOPNOTSUPP) {
      by_pwrite = true;
      return pwrite_all(fd, data, size, offset);
    }
    if (error != 0) return error;
  }
  if (guarded_copy(window + (offset - window_from), data, size)) return 0;
  unmap();
  return EIO;
}

void JournalWindow::close_at(uint64_t end) {
  unmap();
  if (ftruncate(fd, static_cast<off_t>(end)) != 0) {
    // Failure ignored: readers pass over the zero bytes behind the last record.
  }
}

}  // namespace sarvik
