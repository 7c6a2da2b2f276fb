// The options of sarvik-log that verify sealed logs and set up the sealing key.
#include "verify/verify_command.h"

namespace sarvik::verify {

namespace {

// The query's options that --verify and --setup-keys leave no room for.
const char* const kQueryOnly[] = {"--user",    "--host",  "--share", "--ip",   "--op",
                                  "--result",  "--path",  "--text",  "--grep", "--rule",
                                  "--rules",   "--count", "--stats", "--top",  "--histogram",
                                  "--reverse", "--limit", "--follow"};
// What --setup-keys leaves no room for besides.
const char* const kVerifyOnly[] = {"--root",  "--settings", "--kind",
                                   "--since", "--until",    "--output"};

}  // namespace

void add_verify_options(CLI::App& app, VerifyCommand* command) {
  CLI::Option* verify = app.add_flag(
      "--verify", command->verify,
      "verify the sealed logs: which lines were changed, dropped, forged or moved since the "
      "service sealed them");
  app.add_option("--key", command->key_file,
                 "with --verify: the verification key's file ('-': standard input), which also "
                 "proves the sealing state")
      ->needs(verify);
  CLI::Option* setup =
      app.add_flag("--setup-keys", command->setup_keys,
                   "set up the sealing state (as root) and print the verification key once");
  app.add_flag("--force", command->force, "with --setup-keys: replace a sealing state that exists")
      ->needs(setup);
  verify->excludes(setup);
}

bool check_verify_options(const CLI::App& app, const query::QueryOptions& options,
                          VerifyCommand* command, std::string* error) {
  if (!command->verify && !command->setup_keys) return true;
  const char* what = command->verify ? "--verify" : "--setup-keys";
  for (const char* name : kQueryOnly) {
    if (app.count(name) > 0) {
      *error = std::string(name) + " does not go with " + what;
      return false;
    }
  }
  for (const char* name : kVerifyOnly) {
    if (command->setup_keys && app.count(name) > 0) {
      *error = std::string(name) + " does not go with --setup-keys";
      return false;
    }
  }
  if (command->verify && !options.output.empty() && options.output != "json") {
    *error = "--verify writes text, or JSON with --output json";
    return false;
  }
  command->kind_given = app.count("--kind") > 0;
  return true;
}

}  // namespace sarvik::verify
