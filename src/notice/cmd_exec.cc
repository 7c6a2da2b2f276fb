// The command runner.
#include "notice/cmd_exec.h"

#include "notice/cmd_guard.h"
#include "support/exec.h"

namespace sarvik {

namespace {

// The argument array of the vector forms: the strings' data in order, then a null pointer. The
// strings stay the caller's; the vector frees the array on every way out.
std::vector<char*> make_argv(const std::vector<std::string>& args) {
  std::vector<char*> argv;
  argv.reserve(args.size() + 1);
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  return argv;
}

}  // namespace

int cmd_exec(const std::string& command, char* const* argv, std::ostream* output,
             const char* error_text) {
  return run_guarded(command, error_text, [&] {
    Vexil::CExec exec(argv[0], argv);
    return exec.Execute(output, /*keep_fds=*/{});
  });
}

int cmd_exec(const std::string& command, const std::vector<std::string>& args, std::ostream* output,
             const char* error_text) {
  return cmd_exec(command, make_argv(args).data(), output, error_text);
}

int cmd_exec_input(const std::string& command, char* const* argv, std::istream* input,
                   std::ostream* output, const char* error_text) {
  return cmd_exec_input(command, argv, input, output, error_text, Vexil::ExecLimits{});
}

int cmd_exec_input(const std::string& command, char* const* argv, std::istream* input,
                   std::ostream* output, const char* error_text, const Vexil::ExecLimits& limits) {
  return run_guarded(command, error_text, [&] {
    Vexil::CExec exec(argv[0], argv);
    return exec.Execute(*input, output, /*keep_fds=*/{}, limits);
  });
}

int cmd_exec_input(const std::string& command, const std::vector<std::string>& args,
                   std::istream* input, std::ostream* output, const char* error_text) {
  return cmd_exec_input(command, make_argv(args).data(), input, output, error_text);
}

}  // namespace sarvik
