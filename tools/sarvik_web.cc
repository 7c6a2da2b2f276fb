// sarvik-web: the log keeper's console in the browser.
#include "support/library_messages.h"
#include "web/web_command_line.h"
#include "web/web_run.h"

int main(int argc, char** argv) {
  sarvik::web::WebOptions options;
  int status = sarvik::web::parse_web_options(argc, argv, &options);
  if (status >= 0) return status;
  // The settings' faults are told by the console's own messages, not by the XML library's.
  Vexil::SilenceLibraryMessages();
  return sarvik::web::run_web(options);
}
