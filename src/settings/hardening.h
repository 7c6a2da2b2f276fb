// The optional "hardening" element of the service's settings: limits that are off by default.
#ifndef SARVIK_SETTINGS_HARDENING_H_
#define SARVIK_SETTINGS_HARDENING_H_

#include <cstddef>

#include "support/dom_element.h"

namespace sarvik {

// The limits of the notice scripts and their settings. A plain value: the alert thread gets a
// copy. A value of 0 (or false) leaves that limit off, which is the default.
struct NoticeLimits {
  int script_seconds = 0;  // time for one run of a notice script, from start to end
  size_t reply_bytes = 0;  // bytes of one script's reply
  int lock_seconds = 0;    // wait for the shared lock of the notice settings
  bool safe_text = false;  // requests carry only what XML 1.0 can
};

// All limits of the element. Every field at its default is the service without the element.
struct Hardening {
  int client_seconds = 0;  // time for a client's whole request, counted from its accept
  NoticeLimits notice;
  bool seal = false;  // every line written is sealed in the sealing state
};

// Reads the element "hardening" below `root`. A child that is missing, whose text is not a
// number or not above 0, leaves its limit off; "safetext" and "seal" are on only with
// enable="true". Raises
// nothing: a settings file without the element gives all limits off.
Hardening read_hardening(Vexil::CDOMElement root);

}  // namespace sarvik

#endif  // SARVIK_SETTINGS_HARDENING_H_
