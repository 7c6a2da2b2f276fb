// The service's settings file, read for the volume of the logs and the alert rules.
#include "query/settings_source.h"

#include <exception>

namespace sarvik::query {

namespace {

std::string without_line_end(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

bool load_settings(const std::string& path, ConfigXml* config, std::string* error) {
  try {
    config->LockedLoad(path);
    return true;
  } catch (const std::exception& failure) {
    *error = path + ": " + without_line_end(failure.what());
    return false;
  }
}

bool settings_volume(ConfigXml& config, const std::string& path, std::string* volume,
                     std::string* error) {
  try {
    *volume = config.get_share_path();
    return true;
  } catch (const std::exception& failure) {
    *error = path + ": no log volume (share/path): " + without_line_end(failure.what());
    return false;
  }
}

}  // namespace sarvik::query
