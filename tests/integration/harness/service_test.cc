// The fixture of end-to-end tests: the real service in a private mount namespace.
#include "harness/service_test.h"

#include "harness/settings_file.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"

namespace sarvik::testing {

void ServiceTest::SetUp() {
  SARVIK_REQUIRE_FRESH_VOLUMES();
  make_dirs("/mnt/data/xmlconf");
  make_dirs(paths::kStateDir);
  make_dirs(kLogVolume);
  write_settings(Settings());
}

void ServiceTest::TearDown() {
  if (service == nullptr) return;
  std::string errors = service->stderr_text();
  EXPECT_EQ(errors.find("Sanitizer"), std::string::npos) << errors;
  EXPECT_EQ(errors.find("runtime error:"), std::string::npos) << errors;
  service.reset();
}

DaemonProcess& ServiceTest::launch_service(const std::vector<std::string>& args) {
  service = std::make_unique<DaemonProcess>(args);
  return *service;
}

DaemonProcess& ServiceTest::start_service(const std::vector<std::string>& args) {
  DaemonProcess& started = launch_service(args);
  EXPECT_TRUE(started.wait_for_socket()) << started.stderr_text();
  return started;
}

}  // namespace sarvik::testing
