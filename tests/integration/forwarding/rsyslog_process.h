// An rsyslogd of an end-to-end test, run in the foreground from its configuration file.
#ifndef SARVIK_TESTS_INTEGRATION_FORWARDING_RSYSLOG_PROCESS_H_
#define SARVIK_TESTS_INTEGRATION_FORWARDING_RSYSLOG_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string>

namespace sarvik::testing {

using namespace std::chrono_literals;

// Starts rsyslogd -n -iNONE -f `config` with both of its streams appended to `log_path`; with
// `unprivileged`, as user and group 65534, as the packaged unit runs the sender. The test thread
// owns the object; the destructor kills and reaps an rsyslogd that still runs.
class RsyslogProcess {
 public:
  RsyslogProcess(const std::string& config, const std::string& log_path, bool unprivileged);
  ~RsyslogProcess();
  RsyslogProcess(const RsyslogProcess&) = delete;
  RsyslogProcess& operator=(const RsyslogProcess&) = delete;

  // Sends SIGTERM and waits for the end; true when rsyslogd ended within `timeout` (it is
  // killed otherwise).
  bool stop(std::chrono::seconds timeout = 60s);
  // Whether the process has not ended yet.
  bool running();

 private:
  pid_t child = -1;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_FORWARDING_RSYSLOG_PROCESS_H_
