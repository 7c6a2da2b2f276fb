// One pipe between the daemon and a child process.
#include "support/exec_pipe.h"

#include <unistd.h>

namespace Vexil {

void CExecPipe::Close() {
  if (write_fd != -1) {
    close(write_fd);
    write_fd = -1;
  }
  if (read_fd != -1) {
    close(read_fd);
    read_fd = -1;
  }
}

}  // namespace Vexil
