// The real service binary as a child process, with its two streams captured.
#include "harness/daemon_process.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>

#include "harness/client.h"

namespace sarvik::testing {

namespace {

// Opens a pseudo-terminal in raw mode (no CR added to line ends).
void open_raw_pty(int* master, int* slave) {
  struct termios raw;
  cfmakeraw(&raw);
  if (openpty(master, slave, nullptr, &raw, nullptr) != 0) throw std::runtime_error("openpty");
  fcntl(*master, F_SETFD, FD_CLOEXEC);
}

// The children of this process, found through /proc, so that a service that went into the
// background (and was reparented to this subreaper) is found too.
std::vector<pid_t> children_of(pid_t parent) {
  std::vector<pid_t> found;
  DIR* proc = opendir("/proc");
  if (proc == nullptr) return found;
  while (dirent* entry = readdir(proc)) {
    pid_t pid = atoi(entry->d_name);
    if (pid <= 0) continue;
    std::ifstream stat("/proc/" + std::string(entry->d_name) + "/stat");
    std::string line;
    std::getline(stat, line);
    size_t close_paren = line.rfind(')');
    if (close_paren == std::string::npos) continue;
    char state;
    int ppid;
    if (sscanf(line.c_str() + close_paren + 1, " %c %d", &state, &ppid) == 2 && ppid == parent) {
      found.push_back(pid);
    }
  }
  closedir(proc);
  return found;
}

}  // namespace

DaemonProcess::DaemonProcess(const std::vector<std::string>& args)
    : DaemonProcess(SARVIK_DAEMON_PATH, args) {}

DaemonProcess::DaemonProcess(const std::string& program, const std::vector<std::string>& args) {
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  int out_slave, err_slave;
  open_raw_pty(&out_master, &out_slave);
  open_raw_pty(&err_master, &err_slave);
  std::vector<std::string> words{program};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  child = fork();
  if (child < 0) throw std::runtime_error("fork");
  if (child == 0) {
    setsid();
    int null_fd = open("/dev/null", O_RDONLY);
    dup2(null_fd, 0);
    dup2(out_slave, 1);
    dup2(err_slave, 2);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(out_slave);
  close(err_slave);
  reader = std::thread([this] { collect(); });
}

DaemonProcess::~DaemonProcess() {
  // Scripts of a killed service are reparented here, so repeat until none is left.
  for (auto left = children_of(getpid()); !left.empty(); left = children_of(getpid())) {
    for (pid_t pid : left) kill(pid, SIGKILL);
    for (pid_t pid : left) waitpid(pid, nullptr, 0);
  }
  if (reader.joinable()) reader.join();
  close(out_master);
  close(err_master);
}

void DaemonProcess::collect() {
  struct pollfd fds[2] = {{out_master, POLLIN, 0}, {err_master, POLLIN, 0}};
  int open_streams = 2;
  char buffer[4096];
  while (open_streams > 0) {
    if (poll(fds, 2, -1) < 0) continue;
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      ssize_t got = read(fds[i].fd, buffer, sizeof(buffer));
      if (got <= 0) {  // the slave side is gone: every holder of it has ended
        fds[i].fd = -1;
        --open_streams;
        continue;
      }
      std::lock_guard<std::mutex> lock(mutex);
      (i == 0 ? out_text : err_text).append(buffer, got);
      changed.notify_all();
    }
  }
  std::lock_guard<std::mutex> lock(mutex);
  streams_closed = true;
  changed.notify_all();
}

bool DaemonProcess::wait_for(const std::string& stream_name, const std::string& text,
                             std::chrono::milliseconds timeout, int count) {
  std::unique_lock<std::mutex> lock(mutex);
  const std::string& stream = stream_name == "out" ? out_text : err_text;
  return changed.wait_for(lock, timeout, [&] {
    return count_of(stream, text) >= count || streams_closed;
  }) && count_of(stream, text) >= count;
}

bool DaemonProcess::wait_for_stdout(const std::string& text, std::chrono::milliseconds timeout,
                                    int count) {
  return wait_for("out", text, timeout, count);
}

bool DaemonProcess::wait_for_stderr(const std::string& text, std::chrono::milliseconds timeout,
                                    int count) {
  return wait_for("err", text, timeout, count);
}

std::string DaemonProcess::stdout_text() {
  std::lock_guard<std::mutex> lock(mutex);
  return out_text;
}

std::string DaemonProcess::stderr_text() {
  std::lock_guard<std::mutex> lock(mutex);
  return err_text;
}

bool DaemonProcess::wait_for_socket(std::chrono::milliseconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline) {
    if (socket_is_listening()) return true;
    // A service that ended with a failure will not come; one that went into the background
    // ended with 0 and left its socket to the background process.
    std::optional<int> status = wait_exit(0ms);
    if (status.has_value() && *status != 0) return false;
    std::this_thread::sleep_for(10ms);
  }
  return false;
}

std::optional<int> DaemonProcess::wait_exit(std::chrono::milliseconds timeout) {
  auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!exit_status.has_value()) {
    int status;
    if (waitpid(child, &status, WNOHANG) == child) {
      exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      break;
    }
    if (std::chrono::steady_clock::now() >= deadline) return exit_status;
    std::this_thread::sleep_for(10ms);
  }
  // The process has ended; what it wrote last may still be on its way through the terminals.
  std::unique_lock<std::mutex> lock(mutex);
  changed.wait_until(lock, deadline, [this] { return streams_closed; });
  return exit_status;
}

void DaemonProcess::send_signal(int signal_number) { kill(child, signal_number); }

int DaemonProcess::descriptor_count() const {
  DIR* fds = opendir(("/proc/" + std::to_string(child) + "/fd").c_str());
  if (fds == nullptr) return -1;
  int count = 0;
  while (dirent* entry = readdir(fds)) {
    if (entry->d_name[0] != '.') ++count;
  }
  closedir(fds);
  return count;
}

long DaemonProcess::resident_kib() const {
  std::ifstream status("/proc/" + std::to_string(child) + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  }
  return -1;
}

}  // namespace sarvik::testing
