// A shell script standing in for a notification script, with a record of what it was sent.
#include "testing/stub_script.h"

#include "testing/file_text.h"

namespace sarvik::testing {

namespace {

// The per-run file `name`.n when it exists, else `name`.0; `d` is the record directory.
constexpr char kPickFile[] =
    "pick() { if [ -e \"$d/$1.$n\" ]; then echo \"$d/$1.$n\"; "
    "else echo \"$d/$1.0\"; fi; }\n";

}  // namespace

StubScript::StubScript(const std::string& path, const std::string& record_dir, bool reads_input)
    : script_path(path), dir(record_dir) {
  std::string body = "#!/bin/sh\nd='" + dir + "'\n";
  body += "n=$(cat \"$d/runs\" 2>/dev/null || echo 0)\nn=$((n + 1))\necho $n > \"$d/runs\"\n";
  body += kPickFile;
  if (reads_input) {
    body += "printf '%s' \"$#\" > \"$d/argc.$n\"\n";
    body += "cat > \"$d/reading.$n\"\nmv \"$d/reading.$n\" \"$d/request.$n\"\n";
    body += "if [ -e \"$d/when\" ] && grep -qF -f \"$d/when\" \"$d/request.$n\"; then\n";
    body += "  cat \"$d/when.reply\"\n  exit \"$(cat \"$d/when.status\")\"\nfi\n";
  }
  body += "cat \"$(pick reply)\"\nexit \"$(cat \"$(pick status)\")\"\n";
  write_file(path, body, 0755);
  answer(kOkReply);
}

void StubScript::answer_run(int run, const std::string& reply, int status) {
  write_file(dir + "/reply." + std::to_string(run), reply);
  write_file(dir + "/status." + std::to_string(run), std::to_string(status));
}

void StubScript::answer_when(const std::string& text, const std::string& reply, int status) {
  write_file(dir + "/when.reply", reply);
  write_file(dir + "/when.status", std::to_string(status));
  write_file(dir + "/when", text + "\n");  // last: a run sees all three or none
}

int StubScript::runs() const {
  const std::string count = read_file(dir + "/runs");
  return count.empty() ? 0 : std::stoi(count);
}

std::string StubScript::request(int run) const {
  return read_file(dir + "/request." + std::to_string(run));
}

std::vector<std::string> StubScript::requests() const {
  std::vector<std::string> texts;
  for (int run = 1, last = runs(); run <= last; ++run) {
    if (exists(dir + "/request." + std::to_string(run))) texts.push_back(request(run));
  }
  return texts;
}

std::string StubScript::argc(int run) const {
  return read_file(dir + "/argc." + std::to_string(run));
}

}  // namespace sarvik::testing
