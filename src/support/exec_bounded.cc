// A bounded exchange with a child process: a time limit and an output limit.
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <thread>

#include "support/exec.h"

namespace Vexil {

namespace {

using Clock = std::chrono::steady_clock;

// Bytes moved by one read or write; the output buffer lives on the stack.
constexpr size_t kChunk = 4096;
// The pauses while a child that closed its output is waited for under a time limit.
constexpr std::chrono::milliseconds kWaitPause{10};

void set_nonblocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK); }

void close_fd(int* fd) {
  if (*fd == -1) return;
  close(*fd);
  *fd = -1;
}

// Milliseconds from now to `deadline` for poll, at least 0; -1 (no time-out) when not `timed`.
int poll_timeout(bool timed, Clock::time_point deadline) {
  if (!timed) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

}  // namespace

int CExec::Execute(std::istream& in, std::ostream* out, const std::vector<int>& keep_fds,
                   const ExecLimits& limits) {
  if (limits.time_seconds <= 0 && limits.output_bytes == 0) return Execute(in, out, keep_fds);
  in.seekg(0);
  const std::string input{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  own_group = true;
  Execute(/*wait=*/false, /*with_stdin=*/true, keep_fds);
  own_group = false;
  if (pid < 0) {
    state = kWaited;  // there is no child to wait for
    throw CExecError("fork Error!");
  }
  return ExchangeBounded(input, out, limits);
}

int CExec::ExchangeBounded(const std::string& input, std::ostream* out, const ExecLimits& limits) {
  const bool timed = limits.time_seconds > 0;
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(limits.time_seconds);
  // The child's ends are closed at once: the exchange below needs to see end of file.
  close_fd(&in_pipe.read_fd);
  close_fd(&out_pipe.write_fd);
  if (in_pipe.write_fd != -1) set_nonblocking(in_pipe.write_fd);
  if (out_pipe.read_fd != -1) set_nonblocking(out_pipe.read_fd);
  size_t sent = 0;
  size_t received = 0;
  char buf[kChunk];
  if (input.empty()) close_fd(&in_pipe.write_fd);
  while (out_pipe.read_fd != -1) {
    if (timed && Clock::now() >= deadline) EndGroup("time limit exceeded!");
    pollfd fds[2];
    nfds_t count = 0;
    fds[count++] = pollfd{out_pipe.read_fd, POLLIN, 0};
    if (in_pipe.write_fd != -1) fds[count++] = pollfd{in_pipe.write_fd, POLLOUT, 0};
    if (poll(fds, count, poll_timeout(timed, deadline)) < 0 && errno != EINTR) break;
    if (count == 2 && fds[1].revents != 0) {
      ssize_t n = write(in_pipe.write_fd, input.data() + sent, input.size() - sent);
      if (n > 0) sent += static_cast<size_t>(n);
      // A child that stops reading loses the rest of its input, as in the unbounded exchange.
      if (sent == input.size() || (n < 0 && errno != EAGAIN && errno != EINTR)) {
        close_fd(&in_pipe.write_fd);
      }
    }
    if (fds[0].revents == 0) continue;
    ssize_t n = read(out_pipe.read_fd, buf, sizeof buf);
    if (n < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (n <= 0) break;  // end of file, or a read error that ends the output alike
    received += static_cast<size_t>(n);
    if (limits.output_bytes != 0 && received > limits.output_bytes) {
      EndGroup("output limit exceeded!");
    }
    if (out != nullptr) out->write(buf, n);
  }
  close_fd(&in_pipe.write_fd);
  return WaitUntil(timed, deadline);
}

int CExec::WaitUntil(bool timed, Clock::time_point deadline) {
  if (!timed) return Wait();
  for (;;) {
    int status = 0;
    pid_t ended = waitpid(pid, &status, WNOHANG);
    if (ended == pid) {
      exit_code = (status >> 8) & 0xff;  // read as Wait reads it
      state = kWaited;
      return exit_code;
    }
    if (ended < 0 && errno != EINTR) return Wait();  // raises "wait Error!" as Wait does
    if (Clock::now() >= deadline) EndGroup("time limit exceeded!");
    std::this_thread::sleep_for(kWaitPause);
  }
}

void CExec::EndGroup(const char* why) {
  // The group goes as a whole: whatever the script started may hold its output open.
  kill(-pid, SIGKILL);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  state = kWaited;  // reaped, or beyond reach: the destructor must not wait again
  throw CExecError(why);
}

}  // namespace Vexil
