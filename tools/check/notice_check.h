// Checking the notice settings: the mail profiles that alerts are sent through.
#ifndef SARVIK_TOOLS_CHECK_NOTICE_CHECK_H_
#define SARVIK_TOOLS_CHECK_NOTICE_CHECK_H_

#include <string>

#include "check/diagnostic.h"

namespace sarvik::check {

// Checks the notice settings file `out.file_name()`, read under `lock_path` (empty: no lock) as
// the alert thread reads it: a missing file (warning: no mail can be sent), a malformed one
// (error), switches of the profiles, enabled profiles that take no system notices (notes),
// profiles that take them without an address, and no profile taking them at all (warnings).
// The file belongs to the appliance's administration tools; what else it holds is not looked
// at. Main thread only.
void check_notice(const std::string& lock_path, FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_NOTICE_CHECK_H_
