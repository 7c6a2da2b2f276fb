// Fuzz target: a script's reply as the notice requests judge it, and the escaping of the texts
// that go into a request.
#include <cstring>
#include <map>
#include <string>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "notice/cmd_exec_error.h"
#include "notice/notice_request.h"
#include "support/library_messages.h"

namespace sarvik::fuzzing {
namespace {

constexpr char kScript[] = "/mnt/data/bin/orl_mailsend.py";

// Undoes escape_xml; fails on any '&' that escape_xml cannot have written.
std::string unescape(const std::string& escaped) {
  static const std::pair<const char*, char> kEntities[] = {
      {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}};
  std::string text;
  for (size_t at = 0; at < escaped.size();) {
    if (escaped[at] != '&') {
      text += escaped[at++];
      continue;
    }
    bool known = false;
    for (const auto& [entity, byte] : kEntities) {
      if (escaped.compare(at, std::strlen(entity), entity) == 0) {
        text += byte;
        at += std::strlen(entity);
        known = true;
        break;
      }
    }
    if (!known) fuzz_fail("escape_xml left a bare '&'");
  }
  return text;
}

void check_escaping(const std::string& text) {
  std::string escaped = escape_xml(text);
  if (escaped.find_first_of("<>") != std::string::npos) fuzz_fail("escape_xml left '<' or '>'");
  if (unescape(escaped) != text) fuzz_fail("escape_xml lost or changed a byte");
}

void check_args(FuzzInput& in) {
  std::map<std::string, std::string> args;
  for (int n = in.take_byte() % 4; n > 0; --n) {
    std::string key = in.take_text(16);
    args[key] = in.take_text(64);
  }
  std::string list = make_arglist(args);
  if (args.empty() != list.empty()) fuzz_fail("make_arglist and an empty map");
  if (!args.empty() && (list.rfind("<arglist>", 0) != 0 || list.size() < 10 ||
                        list.compare(list.size() - 10, 10, "</arglist>") != 0)) {
    fuzz_fail("make_arglist without its list element");
  }
}

}  // namespace
}  // namespace sarvik::fuzzing

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Vexil::SilenceLibraryMessages();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace sarvik;
  std::string reply(reinterpret_cast<const char*>(data), size);
  try {
    judge_reply(fuzzing::kScript, reply);
  } catch (const CmdExecError& error) {
    // Every rejection reads alike, whatever was wrong with the reply.
    if (!error.exec_failed || error.exit_code != 0 ||
        std::string(error.what()) != std::string(fuzzing::kScript) + ": response invalid!!") {
      fuzzing::fuzz_fail("a rejected reply with another message");
    }
  }
  fuzzing::check_escaping(reply);
  fuzzing::FuzzInput in(data, size);
  fuzzing::check_args(in);
  return 0;
}
