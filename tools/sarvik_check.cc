// sarvik-check: explains what the log keeper makes of its settings, and dry-runs an access event.
#include <ctime>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "check/diagnostic.h"
#include "check/document_load.h"
#include "check/event_dry_run.h"
#include "check/event_fields.h"
#include "check/notice_check.h"
#include "check/settings_check.h"
#include "settings/config_xml.h"
#include "support/fixed_paths.h"
#include "support/library_messages.h"

namespace {

constexpr int kUsageStatus = 3;

const char kUsage[] =
    "Usage: sarvik-check [--settings FILE] [--notice FILE]\n"
    "       sarvik-check [--settings FILE] --event FIELDS\n"
    "\n"
    "Reads the log keeper's settings with the service's own code and explains what it makes\n"
    "of them, as FILE:LINE: error|warning|note: message, then a summary line.\n"
    "\n"
    "Options:\n"
    "  --settings FILE  the service's settings (default /mnt/data/xmlconf/config-sarvik.xml)\n"
    "  --notice FILE    the mail profiles (default /mnt/data/xmlconf/config-notice.xml)\n"
    "  --event FIELDS   instead of the check, run one access event through the share filter\n"
    "                   and every alert rule, and tell for each rule whether it fires or\n"
    "                   which condition stops it. FIELDS is a comma-separated list of\n"
    "                   time=, user=, host=, ip=, op=, status=, errno=, share=, path=\n"
    "                   (time: seconds since the epoch or 'YYYY/MM/DD hh:mm:ss' local time,\n"
    "                   default now; status: 0 failed, else ok, default 1; path with its\n"
    "                   'r|' or 'w|' prefix; a missing field is empty or 0)\n"
    "  -h, --help       show this text\n"
    "\n"
    "Exit status: 0 clean (notes allowed), 1 warnings only, 2 errors (or settings that do\n"
    "not load, with --event), 3 usage error.\n";

int usage_error(const std::string& message) {
  std::cerr << "sarvik-check: " << message << "\n\n" << kUsage;
  return kUsageStatus;
}

// The notice file is read under the appliance's lock file only where it is the appliance's
// file: a copy elsewhere has no writer to keep away.
std::string notice_lock_for(const std::string& notice) {
  return notice == sarvik::paths::kNoticeSettings ? sarvik::paths::kNoticeSettingsLock : "";
}

int run_event(const std::string& settings, const std::string& fields) {
  sarvik::check::EventFields event;
  std::string error;
  if (!sarvik::check::parse_event(fields, time(nullptr), &event, &error)) {
    return usage_error("--event: " + error);
  }
  sarvik::check::Report report;
  sarvik::check::FileDiagnostics out(report, settings);
  sarvik::ConfigXml config;
  if (!sarvik::check::load_document(config, "no access record is logged", out)) {
    report.print(std::cout);
    return report.exit_status();
  }
  sarvik::check::dry_run_event(event, config, settings, std::cout);
  return 0;
}

int run_check(const std::string& settings, const std::string& notice) {
  sarvik::check::Report report;
  sarvik::check::FileDiagnostics settings_out(report, settings);
  sarvik::check::check_settings(settings_out);
  sarvik::check::FileDiagnostics notice_out(report, notice);
  sarvik::check::check_notice(notice_lock_for(notice), notice_out);
  report.print(std::cout);
  return report.exit_status();
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string settings = sarvik::paths::kSettings;
  std::string notice = sarvik::paths::kNoticeSettings;
  std::string event;
  bool has_notice = false;
  bool has_event = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "-h" || arg == "--help") {
      std::cout << kUsage;
      return 0;
    }
    if (arg != "--settings" && arg != "--notice" && arg != "--event") {
      return usage_error("unknown argument '" + arg + "'");
    }
    if (i + 1 == args.size()) return usage_error(arg + " needs a value");
    const std::string& value = args[++i];
    if (arg == "--settings") {
      settings = value;
    } else if (arg == "--notice") {
      notice = value;
      has_notice = true;
    } else {
      event = value;
      has_event = true;
    }
  }
  if (has_event && has_notice) return usage_error("--notice has no use with --event");

  Vexil::SilenceLibraryMessages();
  try {
    return has_event ? run_event(settings, event) : run_check(settings, notice);
  } catch (const std::exception& error) {
    std::cerr << "sarvik-check: " << error.what() << "\n";
  } catch (...) {
    std::cerr << "sarvik-check: unknown exception\n";
  }
  return 2;
}
