// The log volume of the service's settings, read as the service reads it.
#include "forwarding/settings_volume.h"

#include <stdexcept>

#include "settings/config_xml.h"

namespace sarvik::forwarding {

bool read_log_volume(const std::string& settings_file, std::string* volume, std::string* why) {
  try {
    ConfigXml settings;
    settings.LockedLoad(settings_file);
    *volume = settings.get_share_path();
    return true;
  } catch (const std::exception& error) {
    std::string reason = error.what();
    while (!reason.empty() && reason.back() == '\n') reason.pop_back();
    *why = "cannot read the log volume (share/path) of " + settings_file + ": " + reason;
    return false;
  }
}

}  // namespace sarvik::forwarding
