// The node handle's count holder and its deleter, which carries the ownership rule of the model.
#include <libxml/tree.h>

#include "support/dom_node.h"
#include "support/node_wrapper.h"

namespace Vexil {

void DeleteNode(xmlpp::Node* node) {
  _xmlNode* cnode = node->cobj();
  if (cnode->parent != nullptr || cnode->type == XML_DOCUMENT_NODE) return;
  FreeDetached(cnode);
}

CDOMNode::CShareNodePtr::CShareNodePtr() { deleter = DeleteNode; }

CDOMNode::CShareNodePtr::CShareNodePtr(xmlpp::Node* p) : CShareNodePtr() {
  if (p == nullptr) return;
  counter.count = new uint32_t(1);
  ptr = p;
}

CDOMNode::CShareNodePtr::CShareNodePtr(const CShareNodePtr& other) : CShareNodePtr() {
  // The deleter of an empty source is not taken: an empty copy keeps DeleteNode.
  if (&other == this || other.ptr == nullptr) return;
  ptr = other.ptr;
  counter.count = other.counter.count;
  ++*counter.count;
  deleter = other.deleter;
}

CDOMNode::CShareNodePtr& CDOMNode::CShareNodePtr::operator=(const CShareNodePtr& other) {
  Assign(other);
  return *this;
}

CDOMNode::CShareNodePtr::~CShareNodePtr() = default;

}  // namespace Vexil
