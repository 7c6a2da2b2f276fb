// The libxml++ wrappers that libxml2 nodes carry in their _private field: making and ending them.
#include "support/node_wrapper.h"

#include <libxml++/attribute.h>
#include <libxml++/dtd.h>
#include <libxml++/nodes/commentnode.h>
#include <libxml++/nodes/element.h>
#include <libxml++/nodes/entityreference.h>
#include <libxml++/nodes/textnode.h>

#include <iostream>

namespace Vexil {

void __xmlpp_node_create_wrapper(_xmlNode* node) {  // NOLINT(bugprone-reserved-identifier)
  if (node->_private != nullptr) return;
  switch (node->type) {
    case XML_ELEMENT_NODE:
      node->_private = new xmlpp::Element(node);
      break;
    case XML_ATTRIBUTE_NODE:
      node->_private = new xmlpp::Attribute(node);
      break;
    case XML_TEXT_NODE:
      node->_private = new xmlpp::TextNode(node);
      break;
    case XML_ENTITY_REF_NODE:
      node->_private = new xmlpp::EntityReference(node);
      break;
    case XML_COMMENT_NODE:
      node->_private = new xmlpp::CommentNode(node);
      break;
    case XML_DOCUMENT_NODE:
      break;
    case XML_DTD_NODE:
      node->_private = new xmlpp::Dtd(reinterpret_cast<xmlDtd*>(node));
      break;
    default:
      // Processing instructions and CDATA sections land here too: the object model has no
      // class of its own for them, and a plain node serves every operation it offers on them.
      node->_private = new xmlpp::Node(node);
      std::cerr << "void Vexil::__xmlpp_node_create_wrapper(_xmlNode*)"
                << "Warning: new node of unknown type created: " << node->type << std::endl;
      break;
  }
}

xmlpp::Node* TreeWrapper(_xmlNode* node) {
  if (node->type == XML_DOCUMENT_NODE || node->type == XML_DTD_NODE) return nullptr;
  xmlpp::Node::create_wrapper(node);
  return static_cast<xmlpp::Node*>(node->_private);
}

CDOMNode AdoptDetached(_xmlNode* node) {
  try {
    __xmlpp_node_create_wrapper(node);
    if (node->_private == nullptr) {
      // A copy of a document: nothing can hold it, so nothing may keep it.
      xmlFreeDoc(reinterpret_cast<xmlDoc*>(node));
      return CDOMNode();
    }
    return CDOMNode(static_cast<xmlpp::Node*>(node->_private));
  } catch (...) {
    FreeDetached(node);
    throw;
  }
}

void FreeDetached(_xmlNode* node) {
  xmlpp::Node::free_wrappers(node);
  xmlFreeNode(node);
}

}  // namespace Vexil
