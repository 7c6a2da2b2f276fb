// A handle on an element, for what the element carries: attributes and text.
#ifndef SARVIK_SUPPORT_DOM_ELEMENT_H_
#define SARVIK_SUPPORT_DOM_ELEMENT_H_

#include <glibmm/ustring.h>
#include <libxml++/nodes/node.h>

#include <map>

#include "support/dom_node.h"

namespace Vexil {

// A CDOMNode that reads and writes an element's attributes and text, with the ownership and
// threading of CDOMNode. The operations take the node's _private wrapper as the xmlpp::Element;
// nothing checks that the node is an element, so a handle on another kind of node must not be
// used here. Failures raise CXMLError; an empty handle is a caller's fault.
class CDOMElement : public CDOMNode {
 public:
  CDOMElement() = default;
  explicit CDOMElement(xmlpp::Node* node) : CDOMNode(node) {}
  // Joins the group of `node` and tests nothing, its type included. Implicit like a pointer
  // conversion.
  CDOMElement(const CDOMNode& node) : CDOMNode(node) {}  // NOLINT(google-explicit-constructor)

  // The value of attribute `attr`; a missing attribute is a failure, not an empty value.
  Glib::ustring GetAttributeValue(const Glib::ustring& attr) const;
  // Sets attribute `attr`, replacing any value it had.
  void SetAttributeValue(const Glib::ustring& attr, const Glib::ustring& value) const;
  // Removes attribute `attr`; an absent attribute is no failure.
  void RemoveAttribute(const Glib::ustring& attr) const;
  // The content of the first text child; an element without one is a failure.
  Glib::ustring GetText() const;
  // Sets the content of the first text child, adding one if there is none.
  void SetText(const Glib::ustring& text) const;
  // All attributes by name; where two differ by namespace alone the first wins. No attributes
  // is a failure.
  std::map<Glib::ustring, Glib::ustring> GetAttributeMap() const;
};

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_DOM_ELEMENT_H_
