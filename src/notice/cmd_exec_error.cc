// The one error type of the command runner.
#include "notice/cmd_exec_error.h"

namespace sarvik {

CmdExecError::CmdExecError(const std::string& text, bool exec_failed, int exit_code)
    : std::runtime_error(text), exec_failed(exec_failed), exit_code(exit_code) {
  if (!exec_failed) composed = text + " - " + std::to_string(exit_code);
}

CmdExecError::~CmdExecError() = default;

const char* CmdExecError::what() const noexcept {
  return exec_failed ? std::runtime_error::what() : composed.c_str();
}

}  // namespace sarvik
