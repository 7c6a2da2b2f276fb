// Stand-ins for the appliance's notice scripts in end-to-end tests, with a record of their
// requests.
#include "harness/notice_stubs.h"

#include <thread>

#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

constexpr char kRecordDir[] = "/mnt/data/record";
// What a stub writes after each request. Requests hold no line feed of their own but in a mail
// body, and no body line reads like this.
constexpr char kRequestEnd[] = "\n--- end of request ---\n";
constexpr char kOkReply[] = "<response><entrylist><entry result=\"0\"/></entrylist></response>";
constexpr char kFailReply[] = "<response><entrylist><entry result=\"1\"/></entrylist></response>";

std::string record_file(const std::string& script) {
  return kRecordDir + script.substr(script.rfind('/'));
}

// A stub that records into record_file(`script`) and answers kOkReply, or kFailReply when the
// request holds `fail_when` (if not empty).
void write_stub(const std::string& script, const std::string& fail_when) {
  const std::string record = record_file(script);
  std::string text = "#!/bin/sh\ncat > '" + record + ".last'\n";
  text += "cat '" + record + ".last' >> '" + record + "'\n";
  text += "printf '%s' '" + std::string(kRequestEnd) + "' >> '" + record + "'\n";
  if (!fail_when.empty()) {
    text += "if grep -qF '" + fail_when + "' '" + record + ".last'; then\n";
    text += "  printf '%s' '" + std::string(kFailReply) + "'\n  exit 0\nfi\n";
  }
  text += "printf '%s' '" + std::string(kOkReply) + "'\n";
  write_file(script, text, 0755);
}

}  // namespace

void install_notice_stubs(int failing_profile) {
  make_dirs("/mnt/data/bin");
  make_dirs(kRecordDir);
  write_stub(paths::kEventLogScript, "");
  write_stub(paths::kBuzzerScript, "");
  write_stub(paths::kMailScript,
             failing_profile < 0 ? "" : "profilenum=\"" + std::to_string(failing_profile) + "\"");
}

std::vector<std::string> recorded_requests(const std::string& script) {
  const std::string text = read_file(record_file(script));
  std::vector<std::string> requests;
  for (size_t at = 0, end; (end = text.find(kRequestEnd, at)) != std::string::npos;
       at = end + sizeof(kRequestEnd) - 1) {
    requests.push_back(text.substr(at, end - at));
  }
  return requests;
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
