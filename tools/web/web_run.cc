// Running sarvik-web: the token, the socket, the server until a signal ends it.
#include "web/web_run.h"

#include <signal.h>
#include <stdio.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <iostream>

#include "query/display_text.h"
#include "query/settings_source.h"
#include "query/tree_access.h"
#include "web/http_server.h"
#include "web/listen_address.h"
#include "web/token.h"

namespace sarvik::web {

namespace {

void tell(const std::string& message) {
  std::cerr << "sarvik-web: " << query::display_text(message) << std::endl;
}

// SIGINT and SIGTERM end the server in order; they are blocked in every thread and read from
// the returned descriptor. Their disposition is reset first: a shell starts a background job
// with SIGINT ignored, and an ignored signal never arrives. SIGPIPE is ignored: a client that
// went away is a failed write.
query::Descriptor take_stop_signals() {
  signal(SIGINT, SIG_DFL);
  signal(SIGTERM, SIG_DFL);
  signal(SIGPIPE, SIG_IGN);
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  return query::Descriptor(signalfd(-1, &stop, SFD_CLOEXEC));
}

}  // namespace

int run_web(const WebOptions& options) {
  ListenAddress address;
  std::string error;
  if (!parse_listen_address(options.listen, &address, &error)) {
    tell(error);
    return kWebUsage;
  }
  std::string token;
  if (options.url) {
    if (!read_token(options.state_dir, &token, &error)) {
      tell(error);
      return kWebFailed;
    }
    std::cout << login_url(address, token) << std::endl;
    return 0;
  }
  query::Descriptor signals = take_stop_signals();
  if (!signals.valid()) {
    tell("cannot take the stop signals");
    return kWebFailed;
  }
  if (!load_or_create_token(options.state_dir, &token, &error)) {
    tell(error);
    return kWebFailed;
  }
  if (options.root.empty()) {
    // Read again for every request; a fault now is told, and answered until it is mended.
    ConfigXml config;
    std::string volume;
    if (!query::load_settings(options.settings, &config, &error) ||
        !query::settings_volume(config, options.settings, &volume, &error)) {
      tell(error);
    }
  }
  int listener = open_listener(address, &error);
  if (listener < 0) {
    tell(error);
    return kWebFailed;
  }
  ConsoleSettings settings;
  settings.root = options.root;
  settings.settings = options.settings;
  settings.token = token;
  Console console(settings);
  HttpServer server(console, ServerLimits());
  if (!server.start(listener, &error)) {
    tell(error);
    return kWebFailed;
  }
  std::cout << "sarvik-web: listening on "
            << (address.socket_path.empty() ? options.listen : address.socket_path) << std::endl;

  signalfd_siginfo received;
  while (read(signals.get(), &received, sizeof received) < 0 && errno == EINTR) {
  }
  console.shut_down();
  server.stop();
  return 0;
}

}  // namespace sarvik::web
