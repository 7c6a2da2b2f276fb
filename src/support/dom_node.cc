// CDOMNode: selection, navigation and the node's own properties.
#include "support/dom_node.h"

#include <libxml/tree.h>

#include "support/node_wrapper.h"
#include "support/xml_error.h"
#include "support/xpath_select.h"

namespace Vexil {

namespace {

// An entry of a node set as a handle. This libxml++ hands out the document node as its
// xmlpp::Document, which is no xmlpp::Node: that entry becomes the empty handle, like a null one,
// so that no share group can ever end the document.
CDOMNode FoundNode(const xmlpp::Node* context, xmlpp::Node* entry) {
  const xmlDoc* doc = context->cobj()->doc;
  if (doc != nullptr && static_cast<void*>(entry) == doc->_private) return CDOMNode();
  return CDOMNode(entry);
}

}  // namespace

CDOMNode::CDOMNode(xmlpp::Node* node) { this->node.Assign(CShareNodePtr(node)); }

CDOMNode CDOMNode::SelectSingleNode(const Glib::ustring& xpath) const {
  return GuardXMLError(
      "CDOMNode::SelectSingleNode:",
      [&] {
        xmlpp::NodeSet found = FindNodes(GetNode(), xpath);
        if (found.empty()) throw CXMLError("no nodes found.");
        return FoundNode(GetNode(), found.front());
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}, {" xpath=", xpath}};
      });
}

std::list<CDOMNode> CDOMNode::SelectNodes(const Glib::ustring& xpath) const {
  return GuardXMLError(
      "CDOMNode::SelectNodes:",
      [&] {
        xmlpp::NodeSet found = FindNodes(GetNode(), xpath);
        if (found.empty()) throw CXMLError("no nodes found.");
        std::list<CDOMNode> result;
        for (xmlpp::Node* entry : found) result.push_back(FoundNode(GetNode(), entry));
        return result;
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}, {" xpath=", xpath}};
      });
}

std::list<CDOMNode> CDOMNode::GetChildNodes() const {
  return GuardXMLError(
      "CDOMNode::GetChildNodes:",
      [&] {
        xmlpp::Node::NodeList children = GetNode()->get_children(Glib::ustring());
        if (children.empty()) throw CXMLError("no children found.");
        std::list<CDOMNode> result;
        for (xmlpp::Node* child : children) result.push_back(CDOMNode(child));
        return result;
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}};
      });
}

CDOMNode CDOMNode::GetParent() const {
  return GuardXMLError(
      "CDOMNode::GetParent:",
      [&] {
        if (GetNode() == nullptr || GetNode()->cobj() == nullptr) {
          throw CXMLError("object not found.");
        }
        _xmlNode* parent = GetNode()->cobj()->parent;
        if (parent == nullptr || parent->type != XML_ELEMENT_NODE) {
          throw CXMLError("no parent found.");
        }
        // Wrapped here if libxml++ has not wrapped it yet.
        return CDOMNode(TreeWrapper(parent));
      },
      [&] {
        return ErrorContextList{{" node=", GetNode() == nullptr ? "(empty)" : GetName()}};
      });
}

CDOMNode CDOMNode::GetNextSibling() const { return Sibling(true); }

CDOMNode CDOMNode::GetPreviousSibling() const { return Sibling(false); }

CDOMNode CDOMNode::Sibling(bool next) const {
  return GuardXMLError(
      next ? "CDOMNode::GetNextSibling:" : "CDOMNode::GetPreviousSibling:",
      [&] {
        _xmlNode* self = GetNode()->cobj();
        if (self == nullptr) throw CXMLError("object not found.");
        // The neighbour is read without a test of its pointer: callers ask only for a neighbour
        // they know exists, so a missing one is the caller's error.
        xmlpp::Node* wrapper = TreeWrapper(next ? self->next : self->prev);
        if (wrapper == nullptr) throw CXMLError("no sibling found.");
        return CDOMNode(wrapper);
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}};
      });
}

Glib::ustring CDOMNode::GetName() const { return GetNode()->get_name(); }

int CDOMNode::GetNodeType() const {
  return GuardXMLError(
      "CDOMNode::GetNodeType:",
      [&] {
        const _xmlNode* self = GetNode()->cobj();
        if (self == nullptr) throw CXMLError("object not found.");
        return static_cast<int>(self->type);
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}};
      });
}

bool CDOMNode::HasChildNodes() const {
  // A node that cannot be reached has no children: this operation never raises.
  const _xmlNode* self = GetNode()->cobj();
  return self != nullptr && self->children != nullptr;
}

bool CDOMNode::ExistNode(const Glib::ustring& xpath) const {
  // What SelectSingleNode would find, without raising and catching its "no nodes found."; a
  // rejected XPath raises the library's exception all the same.
  return !FindNodes(GetNode(), xpath).empty();
}

}  // namespace Vexil
