// sarvik-log: finds who did what to which file, and when, in the log keeper's logs.
#include <ctime>
#include <iostream>

#include "log/command_line.h"
#include "log/loaded_settings.h"
#include "log/query_run.h"
#include "log/standard_error.h"
#include "support/fixed_paths.h"
#include "verify/key_setup.h"
#include "verify/verify_run.h"

int main(int argc, char** argv) {
  sarvik::query::QueryOptions options;
  sarvik::verify::VerifyCommand command;
  int status = sarvik::log_tool::parse_query_options(argc, argv, &options, &command);
  if (status >= 0) return status;
  if (command.setup_keys) {
    return sarvik::verify::set_up_keys(sarvik::paths::kSealDir, command.force, time(nullptr),
                                       std::cout, std::cerr);
  }
  sarvik::log_tool::LoadedSettings settings;
  if (command.verify) {
    sarvik::log_tool::StandardError problems;
    return sarvik::verify::run_verify(
        options, command, time(nullptr),
        {sarvik::paths::kSealDir, &std::cin, &std::cout, &problems, &settings});
  }
  return sarvik::log_tool::run_query(options, time(nullptr), settings);
}
