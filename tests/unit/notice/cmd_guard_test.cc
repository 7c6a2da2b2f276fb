// Tests of the frame that turns the failures of one child run into CmdExecError.
#include "notice/cmd_guard.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "notice/cmd_exec_error.h"
#include "support/exec.h"

namespace sarvik {
namespace {

// A failed start from the child-process class: a second start while the first child runs.
// The object waits for that child as it is destroyed, so the error reaches the handler.
int start_twice() {
  char* argv[] = {const_cast<char*>("true"), nullptr};
  Vexil::CExec exec(argv[0], argv);
  exec.Execute(/*wait=*/false, /*with_stdin=*/false, {});
  return exec.Execute(nullptr, {});
}

TEST(CmdGuard, ChildProcessErrorBecomesExecFailedWithoutANumber) {
  for (const char* error_text : {static_cast<const char*>(nullptr), "", "failed"}) {
    try {
      run_guarded("/bin/script", error_text, start_twice);
      ADD_FAILURE() << "no CmdExecError";
    } catch (const CmdExecError& e) {
      EXPECT_TRUE(e.exec_failed);
      EXPECT_EQ(e.exit_code, 0);
      EXPECT_STREQ(e.what(), "/bin/script Already Called!");
    }
  }
}

TEST(CmdGuard, OtherExceptionBecomesUnknown) {
  try {
    run_guarded("/bin/script", nullptr, []() -> int { throw std::out_of_range("index"); });
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_TRUE(e.exec_failed);
    EXPECT_EQ(e.exit_code, 0);
    EXPECT_STREQ(e.what(), "/bin/script unknown");
  }
}

TEST(CmdGuard, StatusIsJudgedByTheErrorText) {
  EXPECT_EQ(run_guarded("cmd", "", [] { return 0; }), 0);
  EXPECT_EQ(run_guarded("cmd", nullptr, [] { return 9; }), 9);
  try {
    run_guarded("cmd", "bad", [] { return 9; });
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_FALSE(e.exec_failed);
    EXPECT_EQ(e.exit_code, 9);
    EXPECT_STREQ(e.what(), "cmd bad - 9");
  }
}

}  // namespace
}  // namespace sarvik
