// sarvik-log: finds who did what to which file, and when, in the log keeper's logs.
#include <ctime>

#include "log/command_line.h"
#include "log/query_run.h"
#include "support/library_messages.h"

int main(int argc, char** argv) {
  sarvik::query::QueryOptions options;
  int status = sarvik::log_tool::parse_query_options(argc, argv, &options);
  if (status >= 0) return status;
  // The settings' faults are told by the tool's own messages, not by the XML library's.
  Vexil::SilenceLibraryMessages();
  return sarvik::log_tool::run_query(options, time(nullptr));
}
