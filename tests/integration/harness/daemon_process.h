// The real service binary as a child process, with its two streams captured.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_DAEMON_PROCESS_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_DAEMON_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "testing/text_count.h"

namespace sarvik::testing {

using namespace std::chrono_literals;

// Starts the service binary with `args` behind its name. Its standard output and standard error
// each go to a pseudo-terminal in raw mode, so that the service's stdio line-buffers as on a
// console and nothing waits in a pipe buffer; a background thread collects both. The test thread
// owns the object; the accessors may be called while the service runs. The destructor kills the
// service and every process it left behind (the test process is made their subreaper).
class DaemonProcess {
 public:
  explicit DaemonProcess(const std::vector<std::string>& args = {});
  // Another program the same way, `program` its path: a tool that runs on, or wants a terminal.
  DaemonProcess(const std::string& program, const std::vector<std::string>& args);
  ~DaemonProcess();
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  pid_t pid() const { return child; }

  // True once the service's socket listens; false when the process ended with a failure or
  // the time ran out first.
  bool wait_for_socket(std::chrono::milliseconds timeout = 10s);
  // True once the captured stream holds `text` (counted from its start `count` times).
  bool wait_for_stdout(const std::string& text, std::chrono::milliseconds timeout = 10s,
                       int count = 1);
  bool wait_for_stderr(const std::string& text, std::chrono::milliseconds timeout = 10s,
                       int count = 1);
  std::string stdout_text();
  std::string stderr_text();

  // The exit status once the process has ended by itself, or nothing when it still runs after
  // `timeout`. -1 when it ended by a signal.
  std::optional<int> wait_exit(std::chrono::milliseconds timeout = 10s);
  void send_signal(int signal_number);

  // The number of descriptors the service holds open, and its resident memory in KiB, read from
  // /proc; -1 when the process is gone.
  int descriptor_count() const;
  long resident_kib() const;

 private:
  bool wait_for(const std::string& stream_name, const std::string& text,
                std::chrono::milliseconds timeout, int count);
  void collect();

  pid_t child = -1;
  std::optional<int> exit_status;
  int out_master = -1;
  int err_master = -1;
  std::thread reader;
  std::mutex mutex;
  std::condition_variable changed;
  std::string out_text;         // guarded by mutex
  std::string err_text;         // guarded by mutex
  bool streams_closed = false;  // guarded by mutex
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_DAEMON_PROCESS_H_
