// The settings of a query read with the service's own settings code.
#include <exception>

#include "query/settings_reader.h"
#include "query/settings_source.h"

namespace sarvik::query {

namespace {

class XmlSettingsReader : public SettingsReader {
 public:
  bool load(const std::string& settings, std::string* error) override {
    path = settings;
    return load_settings(path, &config, error);
  }
  bool volume(std::string* volume, std::string* error) override {
    return settings_volume(config, path, volume, error);
  }
  bool alert_rules(std::vector<AlertInfo>* rules, std::string* error) override {
    try {
      *rules = config.get_alert_list();
      return true;
    } catch (const std::exception& failure) {
      *error = path + ": " + failure.what();
      return false;
    }
  }

 private:
  std::string path;
  ConfigXml config;
};

}  // namespace

std::unique_ptr<SettingsReader> make_xml_settings_reader() {
  return std::make_unique<XmlSettingsReader>();
}

}  // namespace sarvik::query
