// Private, empty copies of the service's fixed directories for tests that need the real paths.
#include "testing/fresh_volumes.h"

#include <errno.h>
#include <net/if.h>
#include <sched.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sarvik::testing {

bool mount_tmpfs(const std::string& path, unsigned long size_kib, std::string* why) {
  std::string options = "mode=0755";
  if (size_kib != 0) options += ",size=" + std::to_string(size_kib) + "k";
  if (mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) != 0) {
    *why = "mount tmpfs on " + path + ": " + strerror(errno);
    return false;
  }
  return true;
}

bool enter_fresh_volumes(std::string* why) {
  if (geteuid() != 0) {
    *why = "needs root for a private mount namespace";
    return false;
  }
  // A network namespace of its own too, so that /proc/net/unix lists this test's sockets only.
  if (unshare(CLONE_NEWNS | CLONE_NEWNET) != 0) {
    *why = std::string("unshare: ") + strerror(errno);
    return false;
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    *why = std::string("make / private: ") + strerror(errno);
    return false;
  }
  // /mnt is replaced as a whole so that /mnt/data need not exist on the host.
  if (!mount_tmpfs("/mnt", 0, why) || !mount_tmpfs("/tmp", 0, why) ||
      !mount_tmpfs("/var/lock", 0, why)) {
    return false;
  }
  if (mkdir("/mnt/data", 0755) != 0) {
    *why = std::string("mkdir /mnt/data: ") + strerror(errno);
    return false;
  }
  chmod("/tmp", 01777);
  return true;
}

bool bring_loopback_up(std::string* why) {
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

}  // namespace sarvik::testing
