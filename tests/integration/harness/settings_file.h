// Settings files for end-to-end tests.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_SETTINGS_FILE_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_SETTINGS_FILE_H_

#include <string>
#include <vector>

namespace sarvik::testing {

// The volume of the logs in the default settings.
inline constexpr char kLogVolume[] = "/mnt/data/logs";

// The service's settings as a test wants them; `to_xml` writes the file. Each XML branch is
// given as text so a test can leave it out or break it on purpose.
struct Settings {
  std::string share_path = kLogVolume;  // empty: no "share/path" element
  std::string event_log_enable = "true";
  std::string access_log_enable = "true";
  std::string all_shares = "true";
  std::vector<std::string> shares;
  std::string event_autodelete = "<autodelete enable=\"false\"/>";  // empty: none
  std::string access_autodelete = "<autodelete enable=\"false\"/>";
  std::string alerts;     // the content of "alertlist"
  std::string hardening;  // the whole "hardening" element; empty: none

  std::string to_xml() const;
};

// Writes the service's settings file.
void write_settings(const Settings& settings);
void write_settings_text(const std::string& xml);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_SETTINGS_FILE_H_
