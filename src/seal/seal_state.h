// Opening the sealing state: its directory and files, never through a link.
#ifndef SARVIK_SEAL_SEAL_STATE_H_
#define SARVIK_SEAL_SEAL_STATE_H_

#include <sys/stat.h>

#include <string>

namespace sarvik {

// Whether the state is opened to be written (the service, which then also insists that nobody
// but the effective user can reach it) or only read (the verifier, any user who can read it).
enum class SealAccess { kRead, kWrite };

// The state's directory `path`, its last component held to the rules: a link there is refused.
// For writing it must belong to the effective user and be writable by nobody else. Returns the
// descriptor (close-on-exec), or -1 with the reason in `*why` and errno kept (ENOENT: there is
// no state).
int open_seal_dir(const std::string& path, SealAccess access, std::string* why);

// The file `name` in the state's directory `dir_fd`: a regular file with one link, not reached
// through a link, opened without blocking. For writing it is opened for reading and writing,
// made with mode 0600 when `create` and missing, and must belong to the effective user and be
// open to nobody else. `status` receives its status. Returns the descriptor (close-on-exec), or
// -1 with the reason in `*why` and errno kept.
int open_seal_file(int dir_fd, const char* name, SealAccess access, bool create,
                   struct stat* status, std::string* why);

}  // namespace sarvik

#endif  // SARVIK_SEAL_SEAL_STATE_H_
