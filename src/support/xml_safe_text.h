// Text that an XML 1.0 document can carry, whatever bytes it was made of.
#ifndef SARVIK_SUPPORT_XML_SAFE_TEXT_H_
#define SARVIK_SUPPORT_XML_SAFE_TEXT_H_

#include <string>

namespace sarvik {

// `text` with everything that XML 1.0 cannot carry replaced by U+FFFD (EF BF BD): each maximal
// run of bytes that does not begin well-formed UTF-8 (an unexpected byte, an overlong form, a
// surrogate, a sequence cut short), the control characters other than tab, LF and CR, and the
// non-characters U+FFFE and U+FFFF. Well-formed text comes back unchanged. Pure; any thread.
std::string xml_safe_text(const std::string& text);

}  // namespace sarvik

#endif  // SARVIK_SUPPORT_XML_SAFE_TEXT_H_
