// The fixture of end-to-end tests: the real service in a private mount namespace.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_SERVICE_TEST_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_SERVICE_TEST_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "harness/client.h"
#include "harness/daemon_process.h"
#include "harness/log_reader.h"
#include "harness/settings_file.h"

namespace sarvik::testing {

// Gives each test empty tmpfs file systems on /mnt (with /mnt/data), /tmp and /var/lock in a
// mount namespace of its own, so the service runs with its real fixed paths and the host's are
// never touched. The appliance's directories are made, and default settings written: both logs
// on, every share logged, no expiry, no alert rules, the logs on kLogVolume. After the test, the
// service's error stream must hold no sanitizer report.
class ServiceTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Starts the service with `args` and waits until its socket takes clients.
  DaemonProcess& start_service(const std::vector<std::string>& args = {});
  // Starts the service with `args` without waiting for anything.
  DaemonProcess& launch_service(const std::vector<std::string>& args = {});

  std::unique_ptr<DaemonProcess> service;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_SERVICE_TEST_H_
