// Tolerant lookups in a loaded settings tree, with the line numbers of what they find.
#include "check/xml_lookup.h"

#include <libxml/tree.h>

namespace sarvik::check {

using Vexil::CDOMElement;
using Vexil::CDOMNode;

std::string child_path(const std::string& parent, const std::string& child) {
  return parent + "/" + child;
}

std::string parent_path(const std::string& path) { return path.substr(0, path.rfind('/')); }

int line_of(const CDOMNode& node) {
  return node.GetNode() == nullptr ? 0 : node.GetNode()->get_line();
}

std::optional<CDOMElement> find_element(const CDOMElement& base, const std::string& xpath) {
  try {
    return CDOMElement(base.SelectSingleNode(xpath));
  } catch (...) {
    return std::nullopt;  // not there
  }
}

int nearest_line(const CDOMElement& base, const std::string& xpath) {
  for (std::string path = xpath; !path.empty();) {
    if (std::optional<CDOMElement> found = find_element(base, path)) return line_of(*found);
    std::string::size_type slash = path.rfind('/');
    path = slash == std::string::npos ? std::string() : path.substr(0, slash);
  }
  return line_of(base);
}

std::optional<std::string> text_of(const CDOMElement& element) {
  try {
    return element.GetText().raw();
  } catch (...) {
    return std::nullopt;  // no text child
  }
}

std::map<std::string, std::string> attributes_of(const CDOMElement& element) {
  std::map<std::string, std::string> attributes;
  try {
    for (const auto& [name, value] : element.GetAttributeMap()) {
      attributes[name.raw()] = value.raw();
    }
  } catch (...) {
    // no attributes at all
  }
  return attributes;
}

std::vector<CDOMElement> child_elements(const CDOMElement& element) {
  std::vector<CDOMElement> children;
  try {
    for (const CDOMNode& child : element.GetChildNodes()) {
      if (child.GetNodeType() == XML_ELEMENT_NODE) children.emplace_back(child);
    }
  } catch (...) {
    // no children
  }
  return children;
}

}  // namespace sarvik::check
