// The log volume of the service's settings, read as the service reads it.
#ifndef SARVIK_TOOLS_FORWARDING_SETTINGS_VOLUME_H_
#define SARVIK_TOOLS_FORWARDING_SETTINGS_VOLUME_H_

#include <string>

namespace sarvik::forwarding {

// The text of "share/path" in the settings file `settings_file`, read with the service's
// settings code, without the lock file (the service reads its settings without one too).
// False with the reason in `why` when the file cannot be read or has no such element. Expects
// libxml2's own messages silenced (Vexil::SilenceLibraryMessages).
bool read_log_volume(const std::string& settings_file, std::string* volume, std::string* why);

}  // namespace sarvik::forwarding

#endif  // SARVIK_TOOLS_FORWARDING_SETTINGS_VOLUME_H_
