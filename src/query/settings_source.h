// The service's settings file, read for the volume of the logs and the alert rules.
#ifndef SARVIK_QUERY_SETTINGS_SOURCE_H_
#define SARVIK_QUERY_SETTINGS_SOURCE_H_

#include <string>

#include "settings/config_xml.h"

namespace sarvik::query {

// Loads the settings file `path` into `config` with the service's own code, without its lock
// file: the tool only reads. False with the service's reason in `error` when it cannot be read.
bool load_settings(const std::string& path, ConfigXml* config, std::string* error);

// The volume of the logs that the loaded settings name ("share/path"). False with a reason in
// `error` when they name none.
bool settings_volume(ConfigXml& config, const std::string& path, std::string* volume,
                     std::string* error);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_SETTINGS_SOURCE_H_
