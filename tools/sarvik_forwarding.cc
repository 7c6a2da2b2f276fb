// sarvik-forwarding: prints the rsyslog configurations that ship the log keeper's logs to a
// central collector.
#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>
#include <string>

#include "forwarding/config_values.h"
#include "forwarding/forwarding_configs.h"
#include "forwarding/settings_volume.h"
#include "support/fixed_paths.h"
#include "support/library_messages.h"

namespace {

constexpr int kFailureStatus = 1;
constexpr int kUsageStatus = 2;

int fail(const std::string& why) {
  std::cerr << "sarvik-forwarding: " << why << "\n";
  return kFailureStatus;
}

int print_sender(const std::string& settings, const std::string& address, bool relp,
                 const std::string& work_dir) {
  sarvik::forwarding::SenderOptions options;
  options.relp = relp;
  options.work_dir = work_dir;
  std::string why;
  if (!sarvik::forwarding::parse_collector_address(address, sarvik::forwarding::kDefaultPort,
                                                   &options.collector, &why)) {
    std::cerr << "sarvik-forwarding: " << why << "\n";
    return kUsageStatus;
  }
  if (!sarvik::forwarding::read_log_volume(settings, &options.log_volume, &why)) return fail(why);
  std::string config;
  if (!sarvik::forwarding::sender_config(options, &config, &why)) return fail(why);
  std::cout << config;
  return 0;
}

int print_collector(const sarvik::forwarding::CollectorOptions& options) {
  std::string config;
  std::string why;
  if (!sarvik::forwarding::collector_config(options, &config, &why)) return fail(why);
  std::cout << config;
  return 0;
}

// Parses the command line and prints the configuration it asks for; returns the exit status.
int run(int argc, char** argv) {
  CLI::App app(
      "Prints the rsyslog configurations that ship the log keeper's logs to a central "
      "collector: the sender's for this appliance, or the collector's.",
      "sarvik-forwarding");
  app.require_subcommand(1);

  std::string settings = sarvik::paths::kSettings;
  std::string address;
  bool sender_relp = false;
  std::string sender_work_dir = sarvik::forwarding::kDefaultSenderWorkDir;
  CLI::App* sender =
      app.add_subcommand("sender",
                         "the configuration of an rsyslogd that follows this appliance's logs and "
                         "forwards them to the collector at HOST[:PORT] (default port 10514)");
  sender->add_option("collector", address, "the collector: HOST, HOST:PORT or [IPV6]:PORT")
      ->type_name("HOST[:PORT]")
      ->required();
  sender->add_flag("--relp", sender_relp, "forward over RELP instead of plain TCP");
  sender->add_option("--settings", settings, "the service's settings, for the log volume")
      ->capture_default_str();
  sender
      ->add_option("--work-dir", sender_work_dir,
                   "where rsyslogd keeps its read positions and its queue")
      ->capture_default_str();

  sarvik::forwarding::CollectorOptions collector_options;
  std::string port = std::to_string(collector_options.port);
  CLI::App* collector = app.add_subcommand(
      "collector",
      "the part of the collector's rsyslogd configuration that receives the lines "
      "and writes them as JSON lines, one file per appliance and log");
  collector->add_flag("--relp", collector_options.relp, "receive RELP instead of plain TCP");
  collector->add_option("--port", port, "the port to listen on")->capture_default_str();
  collector->add_option("--dir", collector_options.output_dir, "where the files go")
      ->capture_default_str();
  collector
      ->add_option("--work-dir", collector_options.work_dir,
                   "where rsyslogd keeps the queue of received lines when it stops")
      ->capture_default_str();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    int status = app.exit(error);
    return status == 0 ? 0 : kUsageStatus;
  }

  Vexil::SilenceLibraryMessages();
  if (sender->parsed()) return print_sender(settings, address, sender_relp, sender_work_dir);
  std::string why;
  if (!sarvik::forwarding::parse_port(port, &collector_options.port, &why)) {
    std::cerr << "sarvik-forwarding: --port: " << why << "\n";
    return kUsageStatus;
  }
  return print_collector(collector_options);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}
