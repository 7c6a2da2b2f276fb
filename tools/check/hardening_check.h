// Checking the optional limits of the service's settings.
#ifndef SARVIK_TOOLS_CHECK_HARDENING_CHECK_H_
#define SARVIK_TOOLS_CHECK_HARDENING_CHECK_H_

#include <string>

#include "check/diagnostic.h"
#include "support/dom_element.h"

namespace sarvik::check {

// Warns once for every limit of the "hardening" element below `root` that is off, as the
// service reads it (missing, not a number above 0, or a switch not "true"), saying what the
// service is left open to without it. A file without the element gets one line per limit.
void check_hardening(const Vexil::CDOMElement& root, FileDiagnostics& out);

// Explains the sealing of the element "hardening/seal" below `root`, when the element is there:
// on with the key set up in `seal_dir` (a note), on without it (a warning: lines stay unsealed),
// or off (a note). Without the element sealing is off, as the service has always been, and
// nothing is said.
void check_sealing(const Vexil::CDOMElement& root, const std::string& seal_dir,
                   FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_HARDENING_CHECK_H_
