// A value-like handle on one node of an XML tree.
#ifndef SARVIK_SUPPORT_DOM_NODE_H_
#define SARVIK_SUPPORT_DOM_NODE_H_

#include <glibmm/ustring.h>
#include <libxml++/nodes/node.h>

#include <list>

#include "support/share_ptr.h"

namespace Vexil {

// Ends what a share group over `node` owns: a node without a parent is freed, together with the
// libxml++ wrappers of it and of everything below it, `node` among them. A node in a tree belongs
// to its document and is left alone, and so is a document node, which belongs to its parser.
void DeleteNode(xmlpp::Node* node);

// A handle on one node, passed by value; copies join the source's share group. Ownership: a node
// with a parent belongs to its document, and its handles must not outlive it; a node without a
// parent (made, cloned, removed or replaced) belongs to its share group and is freed with the
// group's last handle. A caller that unlinks a node must drop all other groups over it first.
// Every failure is a CXMLError whose message names the operation; an empty handle is a caller's
// fault except where an operation says otherwise. Operations are const because they do not
// change the handle; they may change the tree. One thread at a time.
class CDOMNode {
 public:
  // The handle's count and pointer; its default deleter is DeleteNode.
  class CShareNodePtr : public CSharePtr<xmlpp::Node> {
   public:
    CShareNodePtr();
    // A null `p` gives the empty handle; otherwise a new group with a count of 1.
    explicit CShareNodePtr(xmlpp::Node* p);
    CShareNodePtr(const CShareNodePtr& other);
    CShareNodePtr& operator=(const CShareNodePtr& other);
    ~CShareNodePtr() override;
  };

  CDOMNode() = default;
  // Starts a new share group over `node`; a null `node` gives the empty handle.
  explicit CDOMNode(xmlpp::Node* node);

  // The first node that `xpath` selects from this node. An XPath that the library rejects
  // raises the library's own exception.
  CDOMNode SelectSingleNode(const Glib::ustring& xpath) const;
  // All nodes that `xpath` selects, in the library's order, each in a group of its own.
  std::list<CDOMNode> SelectNodes(const Glib::ustring& xpath) const;
  // All children, of every type.
  std::list<CDOMNode> GetChildNodes() const;
  // The parent element; the root element has none. The one operation that takes an empty handle.
  CDOMNode GetParent() const;
  // The neighbours. A neighbour must exist, as it is read without a test: callers ask only for
  // one they know is there.
  CDOMNode GetNextSibling() const;
  CDOMNode GetPreviousSibling() const;

  // A copy with no parent, owned by its new group; `deep` copies the children too.
  CDOMNode CloneNode(bool deep) const;
  // Attaches a deep copy of `child` as the last child and returns it; `child` stays as it was.
  CDOMNode AppendChild(const CDOMNode& child) const;
  // Attaches `new_node` itself before `ref_node`; the result joins `new_node`'s group.
  CDOMNode InsertBefore(const CDOMNode& new_node, const CDOMNode& ref_node) const;
  // Unlinks `child`, which then belongs to its group; the result joins that group.
  CDOMNode RemoveChild(const CDOMNode& child) const;
  // Puts `new_node` itself in the place of `old_node`; the result joins `old_node`'s group,
  // which then owns it.
  CDOMNode ReplaceChild(const CDOMNode& new_node, const CDOMNode& old_node) const;

  Glib::ustring GetName() const;
  // The libxml2 node type.
  int GetNodeType() const;
  bool HasChildNodes() const;
  // Whether `xpath` selects a node; a rejected XPath raises the library's own exception.
  bool ExistNode(const Glib::ustring& xpath) const;

  // The wrapped node; null for the empty handle.
  xmlpp::Node* GetNode() const { return node.Get(); }
  const CShareNodePtr& GetShare() const { return node; }

 private:
  // The neighbour after this node when `next`, else the one before.
  CDOMNode Sibling(bool next) const;

  CShareNodePtr node;
};

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_DOM_NODE_H_
