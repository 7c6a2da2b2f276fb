// The command runner: a program run as a child process, every failure raised as CmdExecError.
#ifndef SARVIK_NOTICE_CMD_EXEC_H_
#define SARVIK_NOTICE_CMD_EXEC_H_

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "support/exec.h"

namespace sarvik {

// Each of these runs `argv[0]` (searched in the PATH) with `argv` as it stands, blocks the
// calling thread until the child has ended and returns its exit status: 0 for a child killed by
// a signal, 2 for a program that cannot be executed. `command` serves only for the messages.
// The child's standard output is copied to `output`; a null `output` reads and drops it.
//
// A non-zero status is returned when `error_text` is null; with any other `error_text`, even "",
// it raises CmdExecError with `command`, a blank and `error_text`, `exec_failed` false and the
// status. An exception out of the child-process class raises CmdExecError with `exec_failed`
// true, except a failed wait, which ends the process. No state is kept; any thread may call them.
int cmd_exec(const std::string& command, char* const* argv, std::ostream* output,
             const char* error_text);
// `args` become the null-terminated argument array, in order; an empty `args` gives no program.
int cmd_exec(const std::string& command, const std::vector<std::string>& args, std::ostream* output,
             const char* error_text);

// As cmd_exec, after rewinding `input` (not null) to its start and writing all of it to the
// child's standard input. The child's output is read only after that.
int cmd_exec_input(const std::string& command, char* const* argv, std::istream* input,
                   std::ostream* output, const char* error_text);
int cmd_exec_input(const std::string& command, const std::vector<std::string>& args,
                   std::istream* input, std::ostream* output, const char* error_text);
// The array form of cmd_exec_input within `limits` (see Vexil::CExec's bounded Execute); with no
// limit set it is that very call. A child that runs out of time or writes more than its limit is
// killed with its process group and raises CmdExecError with `exec_failed` true.
int cmd_exec_input(const std::string& command, char* const* argv, std::istream* input,
                   std::ostream* output, const char* error_text, const Vexil::ExecLimits& limits);

}  // namespace sarvik

#endif  // SARVIK_NOTICE_CMD_EXEC_H_
