// One XML document in memory: loading, saving, the root element and the making of nodes.
#ifndef SARVIK_SUPPORT_DOM_DOCUMENT_H_
#define SARVIK_SUPPORT_DOM_DOCUMENT_H_

#include <glibmm/ustring.h>
#include <libxml++/parsers/domparser.h>

#include <istream>
#include <ostream>

#include "support/dom_element.h"
#include "support/dom_node.h"

namespace Vexil {

// Owns one parsed tree through its parser; every node in the tree ends with it, so handles on
// attached nodes must not outlive the document, nor a second Load. Made nodes are detached and
// belong to their handles. The only place in the model that turns the library's own exceptions
// into CXMLError, without their text. Not copyable; one thread at a time.
class CDOMXmlDocument {
 public:
  // Writes with encoding "UTF-8".
  CDOMXmlDocument();
  explicit CDOMXmlDocument(const Glib::ustring& encoding);
  virtual ~CDOMXmlDocument();

  // Replaces the tree by the parsed file or stream. After a failure there is no tree.
  void Load(const Glib::ustring& path);
  void Load(std::istream& stream);
  // Writes the tree in the document's encoding: formatted to a file, plain to a stream. There is
  // no temporary file: a failed write leaves the file as the library left it.
  void Save(const Glib::ustring& path);
  void Save(std::ostream& stream);

  // A new share group over the root element; the document keeps owning it.
  CDOMElement GetRootNode();
  // Makes a deep copy of `elem` the root; `elem` stays as it was. A previous root is unlinked and
  // left to whoever still holds it, or lost: freeing it would leave such a holder dangling.
  void SetRootNode(const CDOMNode& elem);
  // A detached element named `name`, without namespace and unchecked, owned by its handle.
  CDOMElement CreateElement(const Glib::ustring& name);
  // A detached processing instruction that knows this document, owned by its handle; it must
  // not outlive the document.
  CDOMNode CreateProcessingInstruction(const Glib::ustring& target, const Glib::ustring& data);
  // The one node at `xpath` below `basenode` (the root when null), made when missing: see the
  // definition for what "made" means.
  CDOMNode CreateNodes(const Glib::ustring& xpath, CDOMNode* basenode);

 private:
  // The parser's document; null after a failed Load.
  xmlpp::Document* document() { return parser.get_document(); }

  xmlpp::DomParser parser;
  Glib::ustring encoding;
};

// Save(stream) and Load(stream), returning the stream.
std::ostream& operator<<(std::ostream& stream, CDOMXmlDocument& document);
std::istream& operator>>(std::istream& stream, CDOMXmlDocument& document);

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_DOM_DOCUMENT_H_
