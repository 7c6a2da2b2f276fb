// The network of an end-to-end test of the forwarding: loopback only, and no way to the host's
// system log.
#include "forwarding/isolated_network.h"

#include <errno.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "testing/fresh_volumes.h"

namespace sarvik::testing {

bool isolate_network(std::string* why) {
  if (!bring_loopback_up(why)) return false;
  struct stat journal;
  if (stat("/run/systemd/journal", &journal) == 0 && S_ISDIR(journal.st_mode) &&
      !mount_tmpfs("/run/systemd/journal", 0, why)) {
    return false;
  }
  struct stat dev_log;
  if (lstat("/dev/log", &dev_log) == 0 && !S_ISLNK(dev_log.st_mode) &&
      mount("/dev/null", "/dev/log", nullptr, MS_BIND, nullptr) != 0) {
    *why = std::string("hide /dev/log: ") + strerror(errno);
    return false;
  }
  return true;
}

}  // namespace sarvik::testing
