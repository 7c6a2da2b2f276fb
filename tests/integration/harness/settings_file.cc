// Settings files for end-to-end tests.
#include "harness/settings_file.h"

#include <sstream>

#include "support/fixed_paths.h"
#include "testing/file_text.h"

namespace sarvik::testing {

std::string Settings::to_xml() const {
  std::ostringstream xml;
  xml << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config>\n";
  if (!share_path.empty()) xml << "  <share><path>" << share_path << "</path></share>\n";
  xml << "  <eventlogconf enable=\"" << event_log_enable << "\">" << event_autodelete
      << "</eventlogconf>\n";
  xml << "  <accesslogconf enable=\"" << access_log_enable << "\">\n";
  xml << "    <sharelist all=\"" << all_shares << "\">";
  for (const std::string& share : shares) xml << "<share><name>" << share << "</name></share>";
  xml << "</sharelist>\n    " << access_autodelete << "\n  </accesslogconf>\n";
  xml << "  <alertlist>" << alerts << "</alertlist>\n";
  if (!hardening.empty()) xml << "  " << hardening << "\n";
  xml << "</config>\n";
  return xml.str();
}

void write_settings(const Settings& settings) { write_settings_text(settings.to_xml()); }

void write_settings_text(const std::string& xml) { write_file(paths::kSettings, xml); }

}  // namespace sarvik::testing
