// The common frame of the command runner: one run of a child, its failures made CmdExecError.
#ifndef SARVIK_NOTICE_CMD_GUARD_H_
#define SARVIK_NOTICE_CMD_GUARD_H_

#include <functional>
#include <string>

namespace sarvik {

// Calls `run`, which builds one Vexil::CExec, runs it and returns its exit status; the object is
// destroyed before any handler here is reached. A CExecError out of `run` becomes CmdExecError
// with `command`, a blank and its message; any other exception becomes one with `command` and
// " unknown"; both with `exec_failed` true and `exit_code` 0. Then a non-zero status raises
// CmdExecError with `command`, a blank and `error_text`, `exec_failed` false and the status,
// unless `error_text` is null. Returns the status.
int run_guarded(const std::string& command, const char* error_text,
                const std::function<int()>& run);

}  // namespace sarvik

#endif  // SARVIK_NOTICE_CMD_GUARD_H_
