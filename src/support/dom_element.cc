// CDOMElement: attributes and text of an element.
#include "support/dom_element.h"

#include <libxml++/attribute.h>
#include <libxml++/nodes/element.h>
#include <libxml/tree.h>

#include "support/tree_generation.h"
#include "support/xml_error.h"

namespace Vexil {

namespace {

// The element of `handle`, taken from the node's _private wrapper.
xmlpp::Element* ElementOf(const CDOMNode& handle) {
  const _xmlNode* node = handle.GetNode()->cobj();
  if (node == nullptr || node->_private == nullptr) throw CXMLError("objects not found.");
  return static_cast<xmlpp::Element*>(static_cast<xmlpp::Node*>(node->_private));
}

}  // namespace

Glib::ustring CDOMElement::GetAttributeValue(const Glib::ustring& attr) const {
  return GuardXMLError(
      "CDOMElement::GetAttributeValue:",
      [&] {
        const xmlpp::Attribute* found = ElementOf(*this)->get_attribute(attr, Glib::ustring());
        if (found == nullptr) throw CXMLError("get_attribute() failed.");
        return found->get_value();
      },
      [&] {
        return ErrorContextList{{" elem=", GetName()}, {" attr=", attr}};
      });
}

void CDOMElement::SetAttributeValue(const Glib::ustring& attr, const Glib::ustring& value) const {
  CountTreeChange();
  GuardXMLError(
      "CDOMElement::SetAttributeValue:",
      [&] {
        if (ElementOf(*this)->set_attribute(attr, value, Glib::ustring()) == nullptr) {
          throw CXMLError("set_attribute() failed.");
        }
      },
      [&] {
        return ErrorContextList{{" elem=", GetName()}, {" attr=", attr}, {" value=", value}};
      });
}

void CDOMElement::RemoveAttribute(const Glib::ustring& attr) const {
  CountTreeChange();
  GuardXMLError(
      "CDOMElement::RemoveAttribute:",
      [&] { ElementOf(*this)->remove_attribute(attr, Glib::ustring()); },
      [&] {
        return ErrorContextList{{" elem=", GetName()}, {" attr=", attr}};
      });
}

Glib::ustring CDOMElement::GetText() const {
  return GuardXMLError(
      "CDOMElement::GetText:",
      [&] {
        const xmlpp::TextNode* text = ElementOf(*this)->get_child_text();
        if (text == nullptr) throw CXMLError("get_child_text() failed.");
        return text->get_content();
      },
      [&] {
        return ErrorContextList{{" elem=", GetName()}};
      });
}

void CDOMElement::SetText(const Glib::ustring& text) const {
  CountTreeChange();
  GuardXMLError(
      "CDOMElement::SetText:", [&] { ElementOf(*this)->set_child_text(text); },
      [&] {
        return ErrorContextList{{" elem=", GetName()}, {" text=", text}};
      });
}

std::map<Glib::ustring, Glib::ustring> CDOMElement::GetAttributeMap() const {
  return GuardXMLError(
      "CDOMElement::GetAttributeMap:",
      [&] {
        xmlpp::Element::AttributeList attributes = ElementOf(*this)->get_attributes();
        if (attributes.empty()) throw CXMLError("no attributes found.");
        std::map<Glib::ustring, Glib::ustring> result;
        for (const xmlpp::Attribute* attribute : attributes) {
          result.emplace(attribute->get_name(), attribute->get_value());  // the first one stays
        }
        return result;
      },
      [&] {
        return ErrorContextList{{" elem=", GetName()}};
      });
}

}  // namespace Vexil
