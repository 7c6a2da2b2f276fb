// The network of an end-to-end test of the forwarding: loopback only, and no way to the host's
// system log.
#include "forwarding/isolated_network.h"

#include <errno.h>
#include <net/if.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "testing/fresh_volumes.h"

namespace sarvik::testing {

namespace {

bool loopback_up(std::string* why) {
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    *why = std::string("socket: ") + strerror(errno);
    return false;
  }
  struct ifreq request = {};
  strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
  bool up = ioctl(fd, SIOCGIFFLAGS, &request) == 0;
  request.ifr_flags |= IFF_UP;
  up = up && ioctl(fd, SIOCSIFFLAGS, &request) == 0;
  if (!up) *why = std::string("bring lo up: ") + strerror(errno);
  close(fd);
  return up;
}

}  // namespace

bool isolate_network(std::string* why) {
  if (!loopback_up(why)) return false;
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
