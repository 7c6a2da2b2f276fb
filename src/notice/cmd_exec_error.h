// The one error type of the command runner.
#ifndef SARVIK_NOTICE_CMD_EXEC_ERROR_H_
#define SARVIK_NOTICE_CMD_EXEC_ERROR_H_

#include <stdexcept>
#include <string>

namespace sarvik {

// Raised by the command runner for every way a command can fail. The text held by the base
// class is the command, a blank and the reason.
class CmdExecError : public std::runtime_error {
 public:
  CmdExecError(const std::string& text, bool exec_failed, int exit_code);
  ~CmdExecError() override;

  // The base class's text when `exec_failed`; otherwise that text, " - " and `exit_code` in
  // decimal. The composed text is built at construction and kept in the object, so the pointer
  // stays valid as long as the error does.
  const char* what() const noexcept override;

  // True when the command could not be run or its reply could not be accepted; false when it ran
  // and ended with a status that the caller treats as failure.
  const bool exec_failed;
  // The command's exit status when `exec_failed` is false; 0 otherwise.
  const int exit_code;

 private:
  std::string composed;  // the text of what() when `exec_failed` is false
};

}  // namespace sarvik

#endif  // SARVIK_NOTICE_CMD_EXEC_ERROR_H_
