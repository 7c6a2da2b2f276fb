// The common frame of the command runner.
#include "notice/cmd_guard.h"

#include "notice/cmd_exec_error.h"
#include "support/exec.h"

namespace sarvik {

int run_guarded(const std::string& command, const char* error_text,
                const std::function<int()>& run) {
  const std::string label = command + " ";
  int status = 0;
  try {
    status = run();
  } catch (const Vexil::CExecError& e) {
    throw CmdExecError(label + e.what(), /*exec_failed=*/true, /*exit_code=*/0);
  } catch (...) {
    throw CmdExecError(label + "unknown", /*exec_failed=*/true, /*exit_code=*/0);
  }
  if (status != 0 && error_text != nullptr) {
    throw CmdExecError(label + error_text, /*exec_failed=*/false, status);
  }
  return status;
}

}  // namespace sarvik
