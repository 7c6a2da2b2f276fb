// An rsyslogd of an end-to-end test, run in the foreground from its configuration file.
#include "forwarding/rsyslog_process.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

namespace sarvik::testing {

namespace {

// The user and group "nobody".
constexpr uid_t kUnprivileged = 65534;

}  // namespace

RsyslogProcess::RsyslogProcess(const std::string& config, const std::string& log_path,
                               bool unprivileged) {
  int log = open(log_path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (log < 0) throw std::runtime_error("cannot open " + log_path);
  child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    int null_fd = open("/dev/null", O_RDONLY);
    dup2(null_fd, 0);
    dup2(log, 1);
    dup2(log, 2);
    if (unprivileged &&
        (setgroups(0, nullptr) != 0 || setgid(kUnprivileged) != 0 || setuid(kUnprivileged) != 0)) {
      _exit(126);
    }
    execl(SARVIK_RSYSLOGD_PATH, "rsyslogd", "-n", "-iNONE", "-f", config.c_str(),
          static_cast<char*>(nullptr));
    _exit(127);
  }
  close(log);
}

RsyslogProcess::~RsyslogProcess() {
  if (child <= 0) return;
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);  // fails harmlessly when a fixture has reaped it already
}

bool RsyslogProcess::running() {
  if (child <= 0) return false;
  pid_t done = waitpid(child, nullptr, WNOHANG);
  if (done == 0) return true;
  child = -1;  // ended, or reaped by another
  return false;
}

bool RsyslogProcess::stop(std::chrono::seconds timeout) {
  if (!running()) return false;
  kill(child, SIGTERM);
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline) {
    if (!running()) return true;
    std::this_thread::sleep_for(50ms);
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  child = -1;
  return false;
}

}  // namespace sarvik::testing
