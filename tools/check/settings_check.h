// Checking the service's settings file as a whole.
#ifndef SARVIK_TOOLS_CHECK_SETTINGS_CHECK_H_
#define SARVIK_TOOLS_CHECK_SETTINGS_CHECK_H_

#include "check/diagnostic.h"

namespace sarvik::check {

// Checks the settings file `out.file_name()`: loads it as the service does, then reports what
// makes requests fail (errors), what the service does not read, the switches, the shares and
// the alert rules. Main thread only.
void check_settings(FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_SETTINGS_CHECK_H_
