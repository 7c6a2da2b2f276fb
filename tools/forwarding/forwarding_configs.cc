// The two rsyslog configurations of the forwarding, filled in from the packaged templates.
#include "forwarding/forwarding_configs.h"

#include <map>

#include "forwarding/embedded_templates.h"
#include "forwarding/placeholders.h"

namespace sarvik::forwarding {

namespace {

// One normalised path for `key`, or false with the reason.
bool put_path(const char* key, const std::string& path, bool as_pattern,
              std::map<std::string, std::string>* values, std::string* why) {
  std::string normalized;
  if (!normalize_config_path(path, as_pattern, &normalized, why)) return false;
  (*values)[key] = normalized;
  return true;
}

}  // namespace

bool sender_config(const SenderOptions& options, std::string* config, std::string* why) {
  std::map<std::string, std::string> values{
      {"COLLECTOR_HOST", options.collector.host},
      {"COLLECTOR_PORT", std::to_string(options.collector.port)},
      {"FORWARD_MODULE", options.relp ? "omrelp" : "builtin:omfwd"},
      {"FORWARD_ACTION", options.relp ? "omrelp" : "omfwd"},
      // A window of 1024 keeps RELP at the pace of plain TCP; with the default of 128 it stalls
      // on the peer's delayed acknowledgements.
      {"FORWARD_OPTIONS",
       options.relp ? "windowSize=\"1024\"" : "protocol=\"tcp\" TCP_Framing=\"octet-counted\""},
  };
  if (!put_path("LOG_VOLUME", options.log_volume, /*as_pattern=*/true, &values, why) ||
      !put_path("WORK_DIR", options.work_dir, /*as_pattern=*/false, &values, why)) {
    return false;
  }
  *config = fill_placeholders(kSenderTemplate, values);
  return true;
}

bool collector_config(const CollectorOptions& options, std::string* config, std::string* why) {
  std::map<std::string, std::string> values{
      {"INPUT_MODULE", options.relp ? "imrelp" : "imtcp"},
      {"PORT", std::to_string(options.port)},
  };
  if (!put_path("OUTPUT_DIR", options.output_dir, /*as_pattern=*/false, &values, why) ||
      !put_path("WORK_DIR", options.work_dir, /*as_pattern=*/false, &values, why)) {
    return false;
  }
  *config = fill_placeholders(kCollectorTemplate, values);
  return true;
}

}  // namespace sarvik::forwarding
