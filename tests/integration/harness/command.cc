// Running a command-line tool in end-to-end tests.
#include "harness/command.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::testing {

CommandResult run_command(const std::vector<std::string>& argv, const std::string& input) {
  TempDir dir;
  std::string in_path = dir / "in";
  write_file(in_path, input);
  std::string out_path = dir / "out";
  std::string err_path = dir / "err";
  std::vector<char*> args;
  std::vector<std::string> words = argv;
  for (std::string& word : words) args.push_back(word.data());
  args.push_back(nullptr);
  pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork");
  if (pid == 0) {
    int in = open(in_path.c_str(), O_RDONLY);
    int out = open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    execv(args[0], args.data());
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return CommandResult{WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(out_path),
                       read_file(err_path)};
}

CommandResult run_as_nobody(const std::string& script) {
  return run_command({"/usr/bin/setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups",
                      "/bin/sh", "-ec", script});
}

}  // namespace sarvik::testing
