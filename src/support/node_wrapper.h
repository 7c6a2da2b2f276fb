// The libxml++ wrappers that libxml2 nodes carry in their _private field: making and ending them.
#ifndef SARVIK_SUPPORT_NODE_WRAPPER_H_
#define SARVIK_SUPPORT_NODE_WRAPPER_H_

#include <libxml++/nodes/node.h>
#include <libxml/tree.h>

#include "support/dom_node.h"

namespace Vexil {

// Makes the wrapper of a node made by this library, unless `node` has one: an xmlpp::Element,
// Attribute, TextNode, EntityReference, CommentNode or Dtd by type, nothing for a document, and
// for any other type a plain xmlpp::Node and a warning line on standard error. The wrapper stays
// in _private; whoever frees the node frees it (DeleteNode, or the document's end). The name is
// the one the rest of the system links against, so it stays, reserved identifier or not.
void __xmlpp_node_create_wrapper(_xmlNode* node);  // NOLINT(bugprone-reserved-identifier)

// The xmlpp::Node of `node`, a node reached inside a tree. This libxml++ wraps nodes only when
// asked for them, so the wrapper is made here if it is missing, of the class that libxml++
// itself would choose. Null for a document or DTD node, whose wrappers are no xmlpp::Node.
xmlpp::Node* TreeWrapper(_xmlNode* node);

// Gives the detached `node` its wrapper and a new share group that owns it. A node that gets no
// wrapper (a document) is freed at once and the empty handle returned. If the handle cannot be
// made, the node is freed before the failure passes.
CDOMNode AdoptDetached(_xmlNode* node);

// Frees the detached `node` and the wrappers of it and of everything below it: xmlFreeNode
// alone would leave the wrappers behind, as this libxml++ does not hook node freeing.
void FreeDetached(_xmlNode* node);

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_NODE_WRAPPER_H_
