// The command line of sarvik-web.
#include "web/web_command_line.h"

#include <CLI/CLI.hpp>

#include <iostream>

#include "query/display_text.h"
#include "support/fixed_paths.h"
#include "web/listen_address.h"

namespace sarvik::web {

namespace {

const char kDescription[] =
    "The log keeper's console in the browser: the logs' lines, counts and histograms, live\n"
    "follow, export and the alert rules replayed, over HTTP with a JSON API, behind a token.";

const char kFooter[] = "See sarvik-web(1).";

}  // namespace

int parse_web_options(int argc, char** argv, WebOptions* o) {
  CLI::App app(kDescription, "sarvik-web");
  app.footer(kFooter);
  o->settings = paths::kSettings;
  o->listen = kDefaultListen;
  o->state_dir = kDefaultStateDir;
  app.add_option("--root", o->root,
                 "the log volume, which holds systemlog/, accesslog/, alertlog/ "
                 "(default: share/path of the settings)");
  app.add_option("--settings", o->settings, "the service's settings file")
      ->default_str(paths::kSettings);
  app.add_option("--listen", o->listen, "ADDRESS:PORT or the absolute path of a Unix socket")
      ->default_str(kDefaultListen);
  app.add_option("--state-dir", o->state_dir, "where the access token is kept")
      ->default_str(kDefaultStateDir);
  app.add_flag("--url", o->url, "print the address that signs a browser in, then end");
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return 0;
  } catch (const CLI::ParseError& error) {
    std::cerr << "sarvik-web: " << query::display_text(error.what())
              << "\nsarvik-web: see sarvik-web --help\n";
    return kWebUsage;
  }
  return -1;
}

}  // namespace sarvik::web
