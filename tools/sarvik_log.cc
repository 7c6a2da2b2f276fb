// sarvik-log: finds who did what to which file, and when, in the log keeper's logs.
#include <ctime>

#include "log/command_line.h"
#include "log/loaded_settings.h"
#include "log/query_run.h"

int main(int argc, char** argv) {
  sarvik::query::QueryOptions options;
  int status = sarvik::log_tool::parse_query_options(argc, argv, &options);
  if (status >= 0) return status;
  sarvik::log_tool::LoadedSettings settings;
  return sarvik::log_tool::run_query(options, time(nullptr), settings);
}
