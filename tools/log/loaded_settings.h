// sarvik-log's settings, read by a module that is loaded only when they are needed.
#ifndef SARVIK_TOOLS_LOG_LOADED_SETTINGS_H_
#define SARVIK_TOOLS_LOG_LOADED_SETTINGS_H_

#include <memory>
#include <string>
#include <vector>

#include "query/settings_reader.h"

namespace sarvik::log_tool {

// The name of the module, found beside the program (in its build tree) or in the private
// library directory below the program's prefix (../lib/x86_64-linux-gnu/sarvik/ of an
// installed /usr/bin on Debian).
inline constexpr char kSettingsModule[] = "sarvik-log-settings.so";

// Loads the module at the first load() and hands every call to the reader it makes. Most
// questions name their volume and replay no rules; they never load the XML libraries, whose
// loading and binding were most of the time of a short query. Main thread.
class LoadedSettings : public query::SettingsReader {
 public:
  bool load(const std::string& path, std::string* error) override;
  bool volume(std::string* volume, std::string* error) override;
  bool alert_rules(std::vector<AlertInfo>* rules, std::string* error) override;

 private:
  std::unique_ptr<query::SettingsReader> reader;
};

}  // namespace sarvik::log_tool

#endif  // SARVIK_TOOLS_LOG_LOADED_SETTINGS_H_
