// Running a command-line tool in end-to-end tests.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_COMMAND_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_COMMAND_H_

#include <string>
#include <vector>

namespace sarvik::testing {

struct CommandResult {
  int status;  // exit status, or -1 when ended by a signal
  std::string out;
  std::string err;
};

// Runs `argv` (the program's path first) to its end with `input` on its standard input, and
// collects its two streams.
CommandResult run_command(const std::vector<std::string>& argv, const std::string& input = "");

// Runs `script` with sh -e as the unprivileged user nobody, in the group nogroup and no other.
CommandResult run_as_nobody(const std::string& script);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_COMMAND_H_
