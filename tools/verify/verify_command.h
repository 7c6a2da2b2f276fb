// The options of sarvik-log that verify sealed logs and set up the sealing key.
#ifndef SARVIK_TOOLS_VERIFY_VERIFY_COMMAND_H_
#define SARVIK_TOOLS_VERIFY_VERIFY_COMMAND_H_

#include <CLI/CLI.hpp>

#include <string>

#include "query/query_options.h"

namespace sarvik::verify {

struct VerifyCommand {
  bool verify = false;
  bool setup_keys = false;
  bool force = false;       // --setup-keys replaces a state that exists
  std::string key_file;     // the verification key's file; "-": standard input; empty: none
  bool kind_given = false;  // --kind was given: only that log is verified
};

// Adds --verify, --key, --setup-keys and --force to `app`, filling `command`.
void add_verify_options(CLI::App& app, VerifyCommand* command);

// After parsing: the options that do not go with --verify or --setup-keys. False with a reason
// in `error` when such an option was given.
bool check_verify_options(const CLI::App& app, const query::QueryOptions& options,
                          VerifyCommand* command, std::string* error);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_VERIFY_COMMAND_H_
