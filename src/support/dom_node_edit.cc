// CDOMNode: the operations that copy nodes and change the shape of a tree.
#include <libxml/tree.h>

#include "support/dom_node.h"
#include "support/node_wrapper.h"
#include "support/tree_generation.h"
#include "support/xml_error.h"

namespace Vexil {

CDOMNode CDOMNode::CloneNode(bool deep) const {
  return GuardXMLError(
      "CDOMNode::CloneNode:",
      [&] {
        _xmlNode* self = GetNode()->cobj();
        if (self == nullptr) throw CXMLError("object not found.");
        // 1: the node and everything below it; 2: the node with attributes and namespaces.
        _xmlNode* copy = xmlCopyNode(self, deep ? 1 : 2);
        if (copy == nullptr) throw CXMLError("xmlCopyNode() failed.");
        return AdoptDetached(copy);
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}};
      });
}

CDOMNode CDOMNode::AppendChild(const CDOMNode& child) const {
  CountTreeChange();
  return GuardXMLError(
      "CDOMNode::AppendChild:",
      [&] {
        _xmlNode* self = GetNode()->cobj();
        if (self == nullptr || child.GetNode()->cobj() == nullptr) {
          throw CXMLError("objects not found.");
        }
        CDOMNode copy = child.CloneNode(true);
        _xmlNode* ccopy = copy.GetNode()->cobj();
        if (xmlAddChild(self, ccopy) == nullptr) {
          // libxml2 may have set the parent before refusing; the copy is in no tree, so its group
          // must still free it.
          ccopy->parent = nullptr;
          throw CXMLError("xmlAddChild() failed.");
        }
        return copy;
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}, {" child=", child.GetName()}};
      });
}

CDOMNode CDOMNode::InsertBefore(const CDOMNode& new_node, const CDOMNode& ref_node) const {
  CountTreeChange();
  return GuardXMLError(
      "CDOMNode::InsertBefore:",
      [&] {
        _xmlNode* ref = ref_node.GetNode()->cobj();
        _xmlNode* inserted = new_node.GetNode()->cobj();
        if (ref == nullptr || inserted == nullptr) throw CXMLError("objects not found.");
        if (xmlAddPrevSibling(ref, inserted) == nullptr) {
          throw CXMLError("xmlAddPrevSibling() failed.");
        }
        return new_node;
      },
      [&] {
        return ErrorContextList{
            {" node=", GetName()}, {" new=", new_node.GetName()}, {" ref=", ref_node.GetName()}};
      });
}

CDOMNode CDOMNode::RemoveChild(const CDOMNode& child) const {
  CountTreeChange();
  return GuardXMLError(
      "CDOMNode::RemoveChild:",
      [&] {
        _xmlNode* removed = child.GetNode()->cobj();
        if (removed == nullptr) throw CXMLError("object not found.");
        xmlUnlinkNode(removed);
        return child;
      },
      [&] {
        return ErrorContextList{{" node=", GetName()}, {" child=", child.GetName()}};
      });
}

CDOMNode CDOMNode::ReplaceChild(const CDOMNode& new_node, const CDOMNode& old_node) const {
  CountTreeChange();
  return GuardXMLError(
      "CDOMNode::ReplaceChild:",
      [&] {
        _xmlNode* old = old_node.GetNode()->cobj();
        _xmlNode* replacement = new_node.GetNode()->cobj();
        if (old == nullptr || replacement == nullptr) throw CXMLError("objects not found.");
        if (xmlReplaceNode(old, replacement) == nullptr) {
          throw CXMLError("xmlReplaceNode() failed.");
        }
        return old_node;
      },
      [&] {
        return ErrorContextList{
            {" node=", GetName()}, {" new=", new_node.GetName()}, {" old=", old_node.GetName()}};
      });
}

}  // namespace Vexil
