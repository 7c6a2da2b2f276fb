// What a query needs of the service's settings file: the log volume and the alert rules.
#ifndef SARVIK_QUERY_SETTINGS_READER_H_
#define SARVIK_QUERY_SETTINGS_READER_H_

#include <memory>
#include <string>
#include <vector>

#include "settings/alert_info.h"

namespace sarvik::query {

// Reads the settings file once and answers from it. The reading code (the service's own, over
// the XML libraries) is behind this interface so that a front end may load it only when a
// question needs the settings: a query of a given volume without rules never does. One thread.
class SettingsReader {
 public:
  virtual ~SettingsReader() = default;
  // Reads the file `path`, without its lock file: the tool only reads. False with the service's
  // reason in `error` when it cannot be read.
  virtual bool load(const std::string& path, std::string* error) = 0;
  // After load: the volume of the logs ("share/path"). False with a reason when there is none.
  virtual bool volume(std::string* volume, std::string* error) = 0;
  // After load: every alert rule, in the file's order. False with a reason when they cannot be
  // read.
  virtual bool alert_rules(std::vector<AlertInfo>* rules, std::string* error) = 0;
};

// The reader with the service's own settings code.
std::unique_ptr<SettingsReader> make_xml_settings_reader();

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_SETTINGS_READER_H_
