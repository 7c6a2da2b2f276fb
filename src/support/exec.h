// A program run as a child process with pipes on its standard streams, and its error type.
#ifndef SARVIK_SUPPORT_EXEC_H_
#define SARVIK_SUPPORT_EXEC_H_

#include <chrono>
#include <cstddef>
#include <istream>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/exec_pipe.h"

namespace Vexil {

// Limits of one bounded exchange with a child; 0 leaves a limit off.
struct ExecLimits {
  int time_seconds = 0;     // from the start of the child to its end
  size_t output_bytes = 0;  // what the child may write to its standard output
};

// Raised by CExec with one of three texts: "Already Called!", "param Error!", "wait Error!".
class CExecError : public std::logic_error {
 public:
  explicit CExecError(const char* text);
  ~CExecError() override;
};

// Runs one program as a child process, a pipe on its standard output and, if asked, one on its
// standard input, and gives back its exit code: the second byte of the wait status, so a child
// killed by a signal reads 0, and a program that cannot be executed reads 2.
//
// `path`, the strings of `argv` and of `envp` are not copied: the caller keeps them alive as long
// as the object. Every object must be started: the destructor waits for the child, and when
// there is none to wait for (never started, or a failed waitpid) it raises "wait Error!", which
// ends the process by std::terminate. Standard error, signal dispositions and the signal mask are
// inherited unchanged. One object belongs to one thread; not copyable.
class CExec {
 public:
  // Searches the PATH, keeps the daemon's environment.
  CExec(const char* path, char* const* argv);
  // Raises "param Error!" in the child, after fork, when both `use_path` and `use_env` are set.
  CExec(const char* path, char* const* argv, char* const* envp, bool use_path, bool use_env);
  // Waits for a started child; raises "wait Error!" otherwise, which ends the process.
  ~CExec();  // NOLINT(bugprone-exception-escape)
  CExec(const CExec&) = delete;
  CExec& operator=(const CExec&) = delete;

  // Starts the child and returns its process id; with `wait`, also waits for it. The child keeps
  // 0, 1, 2, the descriptors in `keep_fds` and every descriptor from 255 up. Raises "Already
  // Called!" while a child is running, "wait Error!" when the wait fails. The results of pipe
  // and fork are not tested: a failed fork goes on as a parent with pid -1.
  int Execute(bool wait, bool with_stdin, const std::vector<int>& keep_fds);
  // Starts the child without input, copies its output to `out` (null: drains and drops it) until
  // end of file, then waits and returns the exit code.
  int Execute(std::ostream* out, const std::vector<int>& keep_fds);
  // As above, after rewinding `in` to its start, writing all of it to the child's standard input
  // and closing that pipe. No output is read before all input is written, so a child that writes
  // more than a pipe holds before it has read all of its input blocks both sides.
  int Execute(std::istream& in, std::ostream* out, const std::vector<int>& keep_fds);
  // Execute(in, out, keep_fds) within `limits`; with no limit set it is exactly that call.
  // Otherwise the child runs in a process group of its own, its input is written while its
  // output is read (so no size of either can block the exchange), and at most `output_bytes`
  // reach `out`. When the time is up or the output goes beyond its limit, the whole group is
  // killed (SIGKILL), the child is reaped, and "time limit exceeded!" or "output limit
  // exceeded!" is raised; the object is then done with, and its destructor does not wait. A
  // failed fork raises "fork Error!" the same way.
  int Execute(std::istream& in, std::ostream* out, const std::vector<int>& keep_fds,
              const ExecLimits& limits);
  // Waits for the child once; later calls repeat its exit code without a system call. Raises
  // "wait Error!" when never started or when waitpid fails.
  int Wait();
  // The result of read() on the child's output, or -1 when that pipe is closed.
  int Read(void* buf, int len);
  // The result of write() on the child's input, or -1 when that pipe is closed.
  int Write(const void* buf, int len);

 private:
  // Values of `state`.
  static constexpr int kNeverStarted = 0;
  static constexpr int kRunning = 1;
  static constexpr int kWaitFailed = 2;
  static constexpr int kWaited = 3;

  // The child's side of Execute, from the redirections to the exec. Returns only by raising
  // "param Error!".
  [[noreturn]] void RunChild(const std::vector<int>& keep_fds);
  // Copies the child's output to `out` (or drains it) until end of file, then waits.
  int CollectOutput(std::ostream* out);
  // The bounded exchange of a started child (exec_bounded.cc): writes `input`, copies the output
  // to `out` within `limits` and waits until the deadline, which is unset without a time limit.
  int ExchangeBounded(const std::string& input, std::ostream* out, const ExecLimits& limits);
  // Waits for the child until `deadline` (when `timed`), then ends it as EndGroup does.
  int WaitUntil(bool timed, std::chrono::steady_clock::time_point deadline);
  // Kills the child's process group, reaps the child, and raises `why`.
  [[noreturn]] void EndGroup(const char* why);

  CExecPipe out_pipe;  // the child's standard output
  CExecPipe in_pipe;   // the child's standard input
  int pid = -1;
  const char* path;
  char** argv = nullptr;  // own array of borrowed strings, null-terminated
  int argc = 0;
  char** envp = nullptr;  // the same for the environment
  int envc = 0;
  bool use_path;
  bool use_env;
  int state = kNeverStarted;
  bool with_stdin = false;  // the last Execute asked for a pipe on standard input
  bool own_group = false;   // the next child starts a process group of its own
  int exit_code = 0;
};

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_EXEC_H_
