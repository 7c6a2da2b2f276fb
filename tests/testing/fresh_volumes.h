// Private, empty copies of the service's fixed directories for tests that need the real paths.
#ifndef SARVIK_TESTING_FRESH_VOLUMES_H_
#define SARVIK_TESTING_FRESH_VOLUMES_H_

#include <unistd.h>

#include <string>

namespace sarvik::testing {

// Moves the calling process into a new private mount namespace (and a network namespace of its
// own, so that /proc/net/unix shows only its sockets) and mounts fresh, empty tmpfs
// file systems on /mnt (with an empty /mnt/data in it), /tmp and /var/lock. The host's
// directories are never touched. Needs root; returns false with a reason in `why` otherwise.
// Call it from the test's thread before the test starts any thread or child process; children
// forked afterwards share the private view. Each call stacks a new, empty set on top.
bool enter_fresh_volumes(std::string* why);

// Mounts a tmpfs of `size_kib` KiB on `path` inside the current private namespace; returns false
// with a reason in `why` on failure.
bool mount_tmpfs(const std::string& path, unsigned long size_kib, std::string* why);

}  // namespace sarvik::testing

// In a test body or fixture set-up: skips the test when not run as root, and fails it when
// root cannot have fresh volumes (so that a run as root never passes by skipping).
#define SARVIK_REQUIRE_FRESH_VOLUMES()                                 \
  do {                                                                 \
    std::string fresh_volumes_why;                                     \
    if (!::sarvik::testing::enter_fresh_volumes(&fresh_volumes_why)) { \
      if (geteuid() == 0) FAIL() << fresh_volumes_why;                 \
      GTEST_SKIP() << fresh_volumes_why;                               \
    }                                                                  \
  } while (0)

#endif  // SARVIK_TESTING_FRESH_VOLUMES_H_
