// Checking the optional limits of the service's settings.
#ifndef SARVIK_TOOLS_CHECK_HARDENING_CHECK_H_
#define SARVIK_TOOLS_CHECK_HARDENING_CHECK_H_

#include "check/diagnostic.h"
#include "support/dom_element.h"

namespace sarvik::check {

// Warns once for every limit of the "hardening" element below `root` that is off, as the
// service reads it (missing, not a number above 0, or a switch not "true"), saying what the
// service is left open to without it. A file without the element gets one line per limit.
void check_hardening(const Vexil::CDOMElement& root, FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_HARDENING_CHECK_H_
