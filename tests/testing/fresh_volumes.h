// Private, empty copies of the service's fixed directories for tests that need the real paths.
#ifndef SARVIK_TESTING_FRESH_VOLUMES_H_
#define SARVIK_TESTING_FRESH_VOLUMES_H_

#include <string>

namespace sarvik::testing {

// Moves the calling process into a new private mount namespace (and a network namespace of its
// own, so that /proc/net/unix shows only its sockets) and mounts fresh, empty tmpfs
// file systems on /mnt (with an empty /mnt/data in it), /tmp and /var/lock. The host's
// directories are never touched. Needs root; returns false with a reason in `why` otherwise.
// Call it from the test's thread before the test starts any thread or child process; children
// forked afterwards share the private view. Each call stacks a new, empty set on top.
bool enter_fresh_volumes(std::string* why);

// Brings up the loopback interface of the private network namespace, where it starts down.
// False with a reason in `why`.
bool bring_loopback_up(std::string* why);

// Mounts a tmpfs of `size_kib` KiB on `path` inside the current private namespace; returns false
// with a reason in `why` on failure.
bool mount_tmpfs(const std::string& path, unsigned long size_kib, std::string* why);

}  // namespace sarvik::testing

// In a test body or fixture set-up: fails the test when it cannot have fresh volumes, as
// without root. Such a test proves nothing unless it runs, so a run without root shows it as
// failed rather than letting it pass unnoticed.
#define SARVIK_REQUIRE_FRESH_VOLUMES()                                            \
  do {                                                                            \
    std::string fresh_volumes_why;                                                \
    if (!::sarvik::testing::enter_fresh_volumes(&fresh_volumes_why)) {            \
      FAIL() << fresh_volumes_why << " (this test needs root for its namespace)"; \
    }                                                                             \
  } while (0)

#endif  // SARVIK_TESTING_FRESH_VOLUMES_H_
