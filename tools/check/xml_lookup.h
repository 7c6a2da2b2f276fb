// Tolerant lookups in a loaded settings tree, with the line numbers of what they find.
#ifndef SARVIK_TOOLS_CHECK_XML_LOOKUP_H_
#define SARVIK_TOOLS_CHECK_XML_LOOKUP_H_

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/dom_element.h"

namespace sarvik::check {

// "parent/child", a path below the root or below an element.
std::string child_path(const std::string& parent, const std::string& child);
// The path without its last step: "operationlist" of "operationlist/operation".
std::string parent_path(const std::string& path);

// None of these raise; a missing node reads as nothing. The handles they return live no longer
// than the document.

// The line of `node` as libxml2 counted it (of the end of its start tag); 0 for an empty handle.
int line_of(const Vexil::CDOMNode& node);
// The first element at `xpath` below `base`.
std::optional<Vexil::CDOMElement> find_element(const Vexil::CDOMElement& base,
                                               const std::string& xpath);
// The line of the element at `xpath` below `base`, or else of its nearest parent on that path
// that exists, or else of `base` itself.
int nearest_line(const Vexil::CDOMElement& base, const std::string& xpath);
// The text of the element's first text child, as the settings getters read it.
std::optional<std::string> text_of(const Vexil::CDOMElement& element);
// The element's attributes by name.
std::map<std::string, std::string> attributes_of(const Vexil::CDOMElement& element);
// The element children of `element`, in document order.
std::vector<Vexil::CDOMElement> child_elements(const Vexil::CDOMElement& element);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_XML_LOOKUP_H_
