// Tests of the command runner with real child processes: statuses, error texts, input, output.
#include "notice/cmd_exec.h"

#include <signal.h>
#include <stdio.h>

#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "notice/cmd_exec_error.h"
#include "testing/file_text.h"
#include "testing/script_test.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::TempDir;
using testing::write_file;

using CmdExecTest = testing::ScriptTest;

using CmdExecDeathTest = CmdExecTest;

// Runs `path` through one of the four forms, chosen by `form`, with an empty input.
int run_form(int form, const std::string& path, const char* error_text) {
  std::string program = path;
  char* argv[] = {program.data(), nullptr};
  std::istringstream input;
  switch (form) {
    case 0:
      return cmd_exec(path, argv, nullptr, error_text);
    case 1:
      return cmd_exec(path, std::vector<std::string>{path}, nullptr, error_text);
    case 2:
      return cmd_exec_input(path, argv, &input, nullptr, error_text);
    default:
      return cmd_exec_input(path, std::vector<std::string>{path}, &input, nullptr, error_text);
  }
}

TEST_F(CmdExecTest, StatusZeroIsReturnedWhateverTheErrorText) {
  const std::string path = Script("ok", "exit 0");
  for (int form = 0; form < 4; ++form) {
    for (const char* error_text : {static_cast<const char*>(nullptr), "", "failed"}) {
      SCOPED_TRACE(form);
      EXPECT_EQ(run_form(form, path, error_text), 0);
    }
  }
}

TEST_F(CmdExecTest, NonZeroStatusWithoutErrorTextIsReturned) {
  for (int status : {1, 2, 3}) {
    const std::string path =
        Script("exit" + std::to_string(status), "exit " + std::to_string(status));
    for (int form = 0; form < 4; ++form) {
      SCOPED_TRACE(form);
      EXPECT_EQ(run_form(form, path, nullptr), status);
    }
  }
}

TEST_F(CmdExecTest, NonZeroStatusWithEmptyErrorTextRaisesWithTheStatus) {
  const std::string path = Script("two", "exit 2");
  for (int form = 0; form < 4; ++form) {
    SCOPED_TRACE(form);
    try {
      run_form(form, path, "");
      ADD_FAILURE() << "no CmdExecError";
    } catch (const CmdExecError& e) {
      EXPECT_FALSE(e.exec_failed);
      EXPECT_EQ(e.exit_code, 2);
      // The blank after the command and the one before the dash stand side by side.
      EXPECT_EQ(std::string(e.what()), path + "  - 2");
      EXPECT_EQ(std::string(e.std::runtime_error::what()), path + " ");
    }
  }
}

TEST_F(CmdExecTest, ErrorTextFollowsTheCommandWhichServesOnlyForTheMessage) {
  const std::string path = Script("three", "exit 3");
  try {
    cmd_exec("mailer", std::vector<std::string>{path}, nullptr, "send failed");
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_FALSE(e.exec_failed);
    EXPECT_EQ(e.exit_code, 3);
    EXPECT_STREQ(e.what(), "mailer send failed - 3");
    // The text lives in the error: the same pointer every time, valid as long as the error.
    EXPECT_EQ(e.what(), e.what());
  }
}

TEST_F(CmdExecTest, MissingProgramIsStatusTwoAndNotAStartFailure) {
  const std::string path = dir / "missing";
  EXPECT_EQ(cmd_exec(path, std::vector<std::string>{path}, nullptr, nullptr), 2);
  try {
    cmd_exec(path, std::vector<std::string>{path}, nullptr, "");
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_FALSE(e.exec_failed);
    EXPECT_EQ(e.exit_code, 2);
  }
}

TEST_F(CmdExecTest, KilledChildIsNoFailure) {
  const std::string path = Script("killed", "kill -KILL $$\nexit 5");
  EXPECT_EQ(cmd_exec(path, std::vector<std::string>{path}, nullptr, ""), 0);
}

TEST_F(CmdExecTest, EmptyArgumentsRunNothingAndReadAsStatusTwo) {
  const std::vector<std::string> no_args;
  EXPECT_EQ(cmd_exec("nothing", no_args, nullptr, nullptr), 2);
  std::istringstream input("request");
  try {
    cmd_exec_input("nothing", no_args, &input, nullptr, "");
    ADD_FAILURE() << "no CmdExecError";
  } catch (const CmdExecError& e) {
    EXPECT_FALSE(e.exec_failed);
    EXPECT_EQ(e.exit_code, 2);
    EXPECT_STREQ(e.what(), "nothing  - 2");
  }
}

TEST_F(CmdExecTest, VectorFormPassesTheArgumentsInOrder) {
  const std::string path = Script("args", "printf '%s|' \"$@\"");
  std::ostringstream output;
  EXPECT_EQ(cmd_exec(path, std::vector<std::string>{path, "a b", "", "c"}, &output, ""), 0);
  EXPECT_EQ(output.str(), "a b||c|");
}

TEST_F(CmdExecTest, InputIsRewoundAndSentWholeBeforeTheOutputIsRead) {
  std::string request = "<request>";
  request += std::string(5000, 'x');
  std::istringstream input(request);
  input.ignore(100);  // read from before, the runner starts from the beginning again
  char* argv[] = {const_cast<char*>("cat"), nullptr};
  std::ostringstream output;
  EXPECT_EQ(cmd_exec_input("cat", argv, &input, &output, ""), 0);
  EXPECT_EQ(output.str(), request);
}

TEST_F(CmdExecTest, NullOutputIsReadAndDropped) {
  const std::string path = Script("chatty", "head -c 1000000 /dev/zero\nexit 4");
  EXPECT_EQ(cmd_exec(path, std::vector<std::string>{path}, nullptr, nullptr), 4);
}

TEST_F(CmdExecTest, ChildThatLeavesWithoutReadingItsInputGivesItsStatus) {
  const std::string path = Script("early", "exit 3");
  std::istringstream input(std::string(1000000, 'x'));
  EXPECT_EQ(cmd_exec_input(path, std::vector<std::string>{path}, &input, nullptr, nullptr), 3);
}

TEST_F(CmdExecDeathTest, FailedWaitEndsTheProcessBeforeAnyCmdExecError) {
  const std::string path = Script("ok", "exit 0");
  EXPECT_DEATH(
      {
        // Children are reaped by the kernel, so waitpid fails once the child has ended.
        signal(SIGCHLD, SIG_IGN);
        try {
          cmd_exec(path, std::vector<std::string>{path}, nullptr, nullptr);
        } catch (const CmdExecError& e) {
          fprintf(stderr, "CmdExecError raised: %s\n", e.what());
        }
      },
      ::testing::AllOf(::testing::HasSubstr("wait Error!"),
                       ::testing::Not(::testing::HasSubstr("CmdExecError raised"))));
}

}  // namespace
}  // namespace sarvik
