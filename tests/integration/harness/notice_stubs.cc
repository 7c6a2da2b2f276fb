// The appliance's notice scripts as recording stubs at their fixed paths, for end-to-end tests.
#include "harness/notice_stubs.h"

#include <optional>
#include <thread>

#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

constexpr char kRecordRoot[] = "/mnt/data/record";

std::optional<NoticeStubs>& installed() {
  static std::optional<NoticeStubs> stubs;
  return stubs;
}

}  // namespace

NoticeStubs& install_notice_stubs(int failing_profile) {
  const NoticePaths where = appliance_notice_paths();
  make_dirs(where.eventlog_script.substr(0, where.eventlog_script.rfind('/')));
  NoticeStubs& stubs = installed().emplace(where, kRecordRoot);
  if (failing_profile >= 0) {
    stubs.mail.answer_when("profilenum=\"" + std::to_string(failing_profile) + "\"", kFailReply);
  }
  return stubs;
}

std::vector<std::string> recorded_requests(const std::string& script) {
  if (!installed()) return {};
  for (const StubScript* stub :
       {&installed()->eventlog, &installed()->buzzer, &installed()->mail}) {
    if (stub->path() == script) return stub->requests();
  }
  return {};
}

std::vector<std::string> wait_for_requests(const std::string& script, size_t count,
                                           std::chrono::seconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::vector<std::string> requests = recorded_requests(script);
  while (requests.size() < count && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(100ms);
    requests = recorded_requests(script);
  }
  return requests;
}

}  // namespace sarvik::testing
