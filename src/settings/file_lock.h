// A lock file held by scope, for settings files shared with other processes.
#ifndef SARVIK_SETTINGS_FILE_LOCK_H_
#define SARVIK_SETTINGS_FILE_LOCK_H_

#include <string>

namespace sarvik {

// Holds a flock on `path` from construction to destruction; an empty path takes no lock. The
// lock file is created (mode 0644 before the umask) when missing and never written. Raises
// std::runtime_error "Can't open" or "Can't Lock"; waits without a time limit for the lock.
// Guards against other processes, not against threads of this one.
class FileLock {
 public:
  FileLock(const std::string& path, bool exclusive);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int fd = -1;
};

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_FILE_LOCK_H_
