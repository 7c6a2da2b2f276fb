// Tests of CExec with real child processes: exit codes, pipes, descriptors, states.
#include "support/exec.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <initializer_list>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testing/file_text.h"
#include "testing/script_test.h"
#include "testing/temp_dir.h"
#include "write_probe.h"

namespace {

using sarvik::testing::read_file;
using sarvik::testing::TempDir;
using sarvik::testing::write_file;
using sarvik::testing::WriteCall;
using sarvik::testing::WriteProbe;
using Vexil::CExec;
using Vexil::CExecError;

// A null-terminated argument array over strings of its own; must outlive the CExec using it.
class Args {
 public:
  Args(std::initializer_list<std::string> list) : strings(list) {
    for (std::string& s : strings) pointers.push_back(s.data());
    pointers.push_back(nullptr);
  }
  Args(const Args&) = delete;
  Args& operator=(const Args&) = delete;

  const char* program() const { return pointers[0]; }
  char* const* get() const { return pointers.data(); }

 private:
  std::vector<std::string> strings;
  std::vector<char*> pointers;
};

// The descriptors listed one per line in `text`, from `min_fd` up.
std::set<int> fds_from(const std::string& text, int min_fd) {
  std::set<int> fds;
  std::istringstream lines(text);
  int fd;
  while (lines >> fd) {
    if (fd >= min_fd) fds.insert(fd);
  }
  return fds;
}

using CExecTest = sarvik::testing::ScriptTest;

using CExecDeathTest = CExecTest;

TEST_F(CExecTest, ExitCodeIsTheChildsExitStatus) {
  for (int code : {0, 1, 2, 3}) {
    SCOPED_TRACE(code);
    Args args{Script("exit" + std::to_string(code), "exit " + std::to_string(code))};
    CExec exec(args.program(), args.get());
    EXPECT_EQ(exec.Execute(nullptr, {}), code);
  }
}

TEST_F(CExecTest, ChildKilledBySignalReadsZero) {
  Args args{Script("killed", "kill -KILL $$\nexit 5")};
  CExec exec(args.program(), args.get());
  EXPECT_EQ(exec.Execute(nullptr, {}), 0);
}

TEST_F(CExecTest, MissingProgramReadsTwoWithoutRaising) {
  Args args{dir / "missing"};
  CExec exec(args.program(), args.get());
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(&out, {}), 2);
  EXPECT_EQ(out.str(), "");

  // With input as well: the writes into the pipe that nobody reads fail unnoticed.
  Args again{dir / "missing"};
  CExec with_input(again.program(), again.get());
  std::istringstream in(std::string(200000, 'x'));
  EXPECT_EQ(with_input.Execute(in, nullptr, {}), 2);
}

TEST_F(CExecTest, InputGoesInChunksAndEndsWithTheRemainderEvenWhenEmpty) {
  for (size_t length : {0, 1, 1023, 1024, 1025, 1500, 2048, 5120}) {
    SCOPED_TRACE(length);
    std::string data(length, '\0');
    for (size_t i = 0; i < length; ++i) data[i] = static_cast<char>(i * 7 % 251);
    std::vector<size_t> expected(length / 1024, 1024);
    expected.push_back(length % 1024);  // a write of 0 bytes when the length is a multiple

    Args args{"/bin/cat"};
    CExec exec(args.program(), args.get());
    std::istringstream in(data);
    std::ostringstream out;
    std::vector<WriteCall> calls;
    {
      WriteProbe probe;
      EXPECT_EQ(exec.Execute(in, &out, {}), 0);
      calls = probe.calls();
    }
    std::vector<size_t> counts;
    for (const WriteCall& call : calls) {
      EXPECT_EQ(call.fd, calls[0].fd);
      counts.push_back(call.count);
    }
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(out.str(), data);
  }
}

TEST_F(CExecTest, InputAlreadyReadToItsEndIsRewoundAndSentAgain) {
  std::istringstream in("first second");
  std::string word;
  in >> word >> word;
  ASSERT_TRUE(in.eof());
  ASSERT_FALSE(in.fail());

  Args args{"/bin/cat"};
  CExec exec(args.program(), args.get());
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(in, &out, {}), 0);
  EXPECT_EQ(out.str(), "first second");
}

TEST_F(CExecTest, NullOutputIsDrainedUntilTheChildEnds) {
  // Far more than a pipe holds: the child finishes only if the parent keeps reading.
  Args args{
      Script("chatty", "head -c 1000000 /dev/zero\necho done > " + dir / "marker" + "\nexit 6")};
  CExec exec(args.program(), args.get());
  EXPECT_EQ(exec.Execute(nullptr, {}), 6);
  EXPECT_EQ(read_file(dir / "marker"), "done\n");
}

TEST_F(CExecTest, ChildThatClosesItsOutputAndGoesOnIsWaitedFor) {
  Args args{Script("closer",
                   "echo early\nexec >&-\nsleep 0.2\necho late > " + dir / "marker" + "\nexit 4")};
  CExec exec(args.program(), args.get());
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(&out, {}), 4);
  EXPECT_EQ(out.str(), "early\n");
  EXPECT_EQ(read_file(dir / "marker"), "late\n");
}

TEST_F(CExecTest, SecondExecuteReusesTheHalfClosedPipe) {
  Args args{Script("twice", "echo run >> " + dir / "runs" + "\necho output\nexit 7")};
  CExec exec(args.program(), args.get());
  std::ostringstream first;
  EXPECT_EQ(exec.Execute(&first, {}), 7);
  EXPECT_EQ(first.str(), "output\n");

  // The second child finds no pipe to write into and keeps the test's own standard output,
  // caught here in a file.
  fflush(stdout);
  const int saved_stdout = dup(1);
  const int file = open((dir / "stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ASSERT_GE(saved_stdout, 0);
  ASSERT_GE(file, 0);
  dup2(file, 1);
  close(file);
  std::ostringstream second;
  const int code = exec.Execute(&second, {});
  fflush(stdout);
  dup2(saved_stdout, 1);
  close(saved_stdout);

  EXPECT_EQ(code, 7);
  EXPECT_EQ(second.str(), "");
  EXPECT_EQ(read_file(dir / "stdout"), "output\n");
  EXPECT_EQ(read_file(dir / "runs"), "run\nrun\n");
}

TEST_F(CExecTest, WaitTwiceRepeatsTheCodeWithoutWaitingAgain) {
  Args args{Script("three", "exit 3")};
  CExec exec(args.program(), args.get());
  const int pid = exec.Execute(/*wait=*/false, /*with_stdin=*/false, {});
  ASSERT_GT(pid, 0);
  EXPECT_EQ(exec.Wait(), 3);
  // The child is gone: a second waitpid would fail and raise.
  EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
  EXPECT_EQ(exec.Wait(), 3);
}

TEST_F(CExecTest, ExecuteWithWaitReturnsThePidAndKeepsTheCode) {
  Args args{Script("five", "exit 5")};
  CExec exec(args.program(), args.get());
  const int pid = exec.Execute(/*wait=*/true, /*with_stdin=*/false, {});
  ASSERT_GT(pid, 0);
  EXPECT_EQ(waitpid(pid, nullptr, WNOHANG), -1);
  EXPECT_EQ(exec.Wait(), 5);
}

TEST_F(CExecTest, ExecuteWhileRunningRaisesAlreadyCalledAndKeepsTheChild) {
  Args args{Script("three", "exit 3")};
  CExec exec(args.program(), args.get());
  exec.Execute(/*wait=*/false, /*with_stdin=*/false, {});
  try {
    exec.Execute(nullptr, {});
    ADD_FAILURE() << "no CExecError";
  } catch (const CExecError& e) {
    EXPECT_STREQ(e.what(), "Already Called!");
  }
  EXPECT_EQ(exec.Wait(), 3);
  // After the wait the object starts a new child.
  EXPECT_EQ(exec.Execute(nullptr, {}), 3);
}

TEST_F(CExecTest, ReadAndWriteTalkToTheChild) {
  Args args{"/usr/bin/head", "-c", "3"};
  CExec exec(args.program(), args.get());
  exec.Execute(/*wait=*/false, /*with_stdin=*/true, {});
  EXPECT_EQ(exec.Write("abc", 3), 3);
  char buf[16] = {};
  EXPECT_EQ(exec.Read(buf, sizeof(buf)), 3);
  EXPECT_STREQ(buf, "abc");
  EXPECT_EQ(exec.Read(buf, sizeof(buf)), 0);
  EXPECT_EQ(exec.Wait(), 0);
}

TEST_F(CExecTest, WriteWithoutInputPipeReturnsMinusOne) {
  Args args{Script("zero", "exit 0")};
  CExec exec(args.program(), args.get());
  exec.Execute(/*wait=*/false, /*with_stdin=*/false, {});
  EXPECT_EQ(exec.Write("abc", 3), -1);
  EXPECT_EQ(exec.Wait(), 0);
}

TEST_F(CExecTest, ChildKeepsListedDescriptorsAndAllFrom255) {
  const int null_fd = open("/dev/null", O_RDONLY);
  ASSERT_GE(null_fd, 0);
  const int listed = fcntl(null_fd, F_DUPFD, 20);
  const int unlisted = fcntl(null_fd, F_DUPFD, 20);
  const int high_unlisted = fcntl(null_fd, F_DUPFD, 300);
  const int high_listed = fcntl(null_fd, F_DUPFD, 300);
  close(null_fd);
  ASSERT_LT(unlisted, 255);
  ASSERT_GE(high_unlisted, 255);

  // Whatever the test itself holds from 255 up is inherited as well.
  std::set<int> expected;
  for (const std::string& name : sarvik::testing::list_dir("/proc/self/fd")) {
    if (std::stoi(name) >= 255) expected.insert(std::stoi(name));
  }
  expected.insert(listed);

  Args args{"/bin/sh", "-c", "ls /proc/$$/fd"};
  CExec exec(args.program(), args.get());
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(&out, {listed, high_listed}), 0);
  EXPECT_EQ(fds_from(out.str(), 3), expected);
  EXPECT_EQ(expected.count(unlisted), 0u);
  EXPECT_EQ(expected.count(high_unlisted), 1u);
  EXPECT_EQ(expected.count(high_listed), 1u);
  for (int fd : {listed, unlisted, high_unlisted, high_listed}) close(fd);
}

TEST_F(CExecTest, ChildClosesDescriptor254AndKeeps255) {
  // Both numbers must be free here, so that what the child shows is what the test put there.
  for (int fd : {254, 255}) ASSERT_EQ(fcntl(fd, F_GETFD), -1) << fd << " is in use";
  const int null_fd = open("/dev/null", O_RDONLY);
  ASSERT_GE(null_fd, 0);
  ASSERT_EQ(dup2(null_fd, 254), 254);
  ASSERT_EQ(dup2(null_fd, 255), 255);
  close(null_fd);

  Args args{"/bin/sh", "-c", "ls /proc/$$/fd"};
  CExec exec(args.program(), args.get());
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(&out, {}), 0);
  const std::set<int> fds = fds_from(out.str(), 250);
  EXPECT_EQ(fds.count(254), 0u) << out.str();
  EXPECT_EQ(fds.count(255), 1u) << out.str();
  close(254);
  close(255);
}

TEST_F(CExecTest, ChildInheritsTheIgnoredSigpipe) {
  Args args{"/bin/sh", "-c", "sed -n 's/^SigIgn:[[:space:]]*//p' /proc/$$/status"};
  CExec exec(args.program(), args.get());
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(&out, {}), 0);
  const unsigned long long ignored = std::stoull(out.str(), nullptr, 16);
  EXPECT_NE(ignored & (1ULL << (SIGPIPE - 1)), 0u) << out.str();
}

TEST_F(CExecTest, GeneralFormChoosesPathSearchAndEnvironment) {
  Args shell{"sh", "-c", "exit 5"};
  CExec searched(shell.program(), shell.get(), nullptr, /*use_path=*/true, /*use_env=*/false);
  EXPECT_EQ(searched.Execute(nullptr, {}), 5);
  // Without the search "sh" is a file in the working directory, which has none.
  CExec not_searched(shell.program(), shell.get(), nullptr, /*use_path=*/false, /*use_env=*/false);
  EXPECT_EQ(not_searched.Execute(nullptr, {}), 2);

  Args env{"/usr/bin/env"};
  Args vars{"ONLY=1"};
  CExec with_env(env.program(), env.get(), vars.get(), /*use_path=*/false, /*use_env=*/true);
  std::ostringstream out;
  EXPECT_EQ(with_env.Execute(&out, {}), 0);
  EXPECT_EQ(out.str(), "ONLY=1\n");
}

TEST_F(CExecTest, EmptyArgumentListReadsAsFailedExec) {
  Args args{};
  ASSERT_EQ(args.program(), nullptr);
  CExec exec(args.program(), args.get());
  EXPECT_EQ(exec.Execute(nullptr, {}), 2);
}

TEST_F(CExecDeathTest, ObjectNeverStartedEndsTheProcess) {
  Args args{Script("zero", "exit 0")};
  EXPECT_DEATH({ CExec exec(args.program(), args.get()); }, "wait Error!");
}

TEST_F(CExecDeathTest, WaitBeforeStartRaisesAndTheObjectStillEndsTheProcess) {
  Args args{Script("zero", "exit 0")};
  EXPECT_DEATH(
      {
        CExec exec(args.program(), args.get());
        try {
          exec.Wait();
        } catch (const CExecError& e) {
          fprintf(stderr, "Wait raised %s\n", e.what());
        }
      },
      "Wait raised wait Error!.*wait Error!");
}

TEST_F(CExecDeathTest, FailedWaitEndsTheProcessWhenTheObjectLeavesScope) {
  Args args{Script("zero", "exit 0")};
  EXPECT_DEATH(
      {
        // Children are reaped by the kernel, so waitpid fails once the child has ended.
        signal(SIGCHLD, SIG_IGN);
        CExec exec(args.program(), args.get());
        try {
          exec.Execute(nullptr, {});
        } catch (const CExecError& e) {
          fprintf(stderr, "Execute raised %s\n", e.what());
        }
      },
      "Execute raised wait Error!.*wait Error!");
}

// Whether process `pid` has ended: gone, or a zombie waiting for its new parent to reap it.
bool has_ended(pid_t pid) {
  const std::string stat = read_file("/proc/" + std::to_string(pid) + "/stat");
  return stat.empty() || stat.find(") Z") != std::string::npos;
}

bool ends_soon(pid_t pid) {
  for (int i = 0; i < 500 && !has_ended(pid); ++i) usleep(10000);
  return has_ended(pid);
}

TEST_F(CExecTest, BoundedExchangeMovesMoreThanAPipeHoldsBothWays) {
  Args args{Script("echo", "cat")};
  CExec exec(args.program(), args.get());
  const std::string input(300000, 'x');
  std::istringstream in(input);
  std::ostringstream out;
  Vexil::ExecLimits limits;
  limits.time_seconds = 60;
  EXPECT_EQ(exec.Execute(in, &out, {}, limits), 0);
  EXPECT_EQ(out.str(), input);
}

TEST_F(CExecTest, BoundedExchangeWithoutLimitsIsThePlainOne) {
  Args args{Script("status", "cat >/dev/null; echo done; exit 3")};
  CExec exec(args.program(), args.get());
  std::istringstream in("request");
  std::ostringstream out;
  EXPECT_EQ(exec.Execute(in, &out, {}, Vexil::ExecLimits{}), 3);
  EXPECT_EQ(out.str(), "done\n");
}

TEST_F(CExecTest, TimeLimitKillsTheChildAndEverythingItStarted) {
  const std::string pids = dir / "pids";
  Args args{Script("hang", "sleep 600 &\necho $! > " + pids + ".part\necho $$ >> " + pids +
                               ".part\nmv " + pids + ".part " + pids + "\nwait")};
  CExec exec(args.program(), args.get());
  std::istringstream in("request");
  std::ostringstream out;
  Vexil::ExecLimits limits;
  limits.time_seconds = 1;
  const auto started = std::chrono::steady_clock::now();
  try {
    exec.Execute(in, &out, {}, limits);
    ADD_FAILURE() << "no time limit";
  } catch (const CExecError& e) {
    EXPECT_STREQ(e.what(), "time limit exceeded!");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
  std::istringstream ids(read_file(pids));
  pid_t background = 0;
  pid_t script = 0;
  ASSERT_TRUE(ids >> background >> script);
  EXPECT_TRUE(ends_soon(script));
  EXPECT_TRUE(ends_soon(background));
}

TEST_F(CExecTest, TimeLimitAlsoEndsAChildThatClosedItsOutput) {
  Args args{Script("quiet", "exec >&-\nsleep 600")};
  CExec exec(args.program(), args.get());
  std::istringstream in("");
  Vexil::ExecLimits limits;
  limits.time_seconds = 1;
  EXPECT_THROW(exec.Execute(in, nullptr, {}, limits), CExecError);
}

TEST_F(CExecTest, OutputBeyondItsLimitKillsTheChildAndKeepsMemoryBounded) {
  Args args{Script("flood", "head -c 50000000 /dev/zero")};
  CExec exec(args.program(), args.get());
  std::istringstream in("");
  std::ostringstream out;
  Vexil::ExecLimits limits;
  limits.output_bytes = 100000;
  try {
    exec.Execute(in, &out, {}, limits);
    ADD_FAILURE() << "no output limit";
  } catch (const CExecError& e) {
    EXPECT_STREQ(e.what(), "output limit exceeded!");
  }
  EXPECT_LE(out.str().size(), limits.output_bytes);
}

TEST_F(CExecTest, OutputUpToItsLimitIsTaken) {
  Args args{Script("exact", "head -c 100000 /dev/zero")};
  CExec exec(args.program(), args.get());
  std::istringstream in("");
  std::ostringstream out;
  Vexil::ExecLimits limits;
  limits.output_bytes = 100000;
  EXPECT_EQ(exec.Execute(in, &out, {}, limits), 0);
  EXPECT_EQ(out.str().size(), 100000u);
}

}  // namespace
