// One pipe between the daemon and a child process, as held by CExec.
#ifndef SARVIK_SUPPORT_EXEC_PIPE_H_
#define SARVIK_SUPPORT_EXEC_PIPE_H_

namespace Vexil {

// The two descriptors of one pipe, -1 when closed. The parent does not close the child's end
// when fork returns: `close_peer` asks for that to happen at the parent's first use of the pipe.
// Owns its descriptors and closes them on destruction; not copyable.
struct CExecPipe {
  CExecPipe() = default;
  ~CExecPipe() { Close(); }
  CExecPipe(const CExecPipe&) = delete;
  CExecPipe& operator=(const CExecPipe&) = delete;

  // Closes `write_fd`, then `read_fd`, where open, and marks both closed.
  void Close();

  int read_fd = -1;
  int write_fd = -1;
  bool close_peer = true;
};

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_EXEC_PIPE_H_
