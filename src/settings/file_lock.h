// A lock file held by scope, for settings files shared with other processes.
#ifndef SARVIK_SETTINGS_FILE_LOCK_H_
#define SARVIK_SETTINGS_FILE_LOCK_H_

#include <string>

namespace sarvik {

// Holds a flock on `path` from construction to destruction; an empty path takes no lock. The
// lock file is created (mode 0644 before the umask) when missing and never written; a link or
// anything but a regular file at `path` is not used. Raises std::runtime_error "Can't open" or
// "Can't Lock". Waits for the lock without a time limit, or with `wait_seconds` above 0 at most
// that long. Guards against other processes, not against threads of this one.
class FileLock {
 public:
  FileLock(const std::string& path, bool exclusive, int wait_seconds = 0);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int fd = -1;
};

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_FILE_LOCK_H_
