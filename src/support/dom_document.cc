// CDOMXmlDocument: loading, saving, the root element and the making of nodes.
#include "support/dom_document.h"

#include <libxml++/exceptions/exception.h>
#include <libxml/tree.h>

#include <string>

#include "support/node_wrapper.h"
#include "support/tree_generation.h"
#include "support/xml_error.h"

namespace Vexil {

namespace {

// Runs `call`; an xmlpp::exception out of it becomes `reason`, its own text dropped.
template <class Call>
void Translated(const char* reason, Call call) {
  try {
    call();
  } catch (const xmlpp::exception&) {
    throw CXMLError(reason);
  }
}

const xmlChar* XmlText(const Glib::ustring& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

}  // namespace

CDOMXmlDocument::CDOMXmlDocument() : encoding("UTF-8") {}

CDOMXmlDocument::CDOMXmlDocument(const Glib::ustring& encoding) : encoding(encoding) {}

CDOMXmlDocument::~CDOMXmlDocument() = default;

void CDOMXmlDocument::Load(const Glib::ustring& path) {
  CountTreeChange();
  GuardXMLError(
      "CDOMXmlDocument::Load:",
      [&] { Translated("parse_file() failed.", [&] { parser.parse_file(path); }); },
      [&] {
        return ErrorContextList{{" file=", path}};
      });
}

void CDOMXmlDocument::Load(std::istream& stream) {
  CountTreeChange();
  GuardXMLError(
      "CDOMXmlDocument::Load:",
      [&] { Translated("parse_stream() failed.", [&] { parser.parse_stream(stream); }); },
      [] { return ErrorContextList{}; });
}

void CDOMXmlDocument::Save(const Glib::ustring& path) {
  const char* reason = "write_to_file_formatted() failed.";
  GuardXMLError(
      "CDOMXmlDocument::Save:",
      [&] {
        if (document() == nullptr) throw CXMLError(reason);  // no tree after a failed Load
        Translated(reason, [&] { document()->write_to_file_formatted(path, encoding); });
      },
      [&] {
        return ErrorContextList{{" file=", path}};
      });
}

void CDOMXmlDocument::Save(std::ostream& stream) {
  const char* reason = "write_to_stream() failed.";
  GuardXMLError(
      "CDOMXmlDocument::Save:",
      [&] {
        if (document() == nullptr) throw CXMLError(reason);  // no tree after a failed Load
        Translated(reason, [&] { document()->write_to_stream(stream, encoding); });
      },
      [] { return ErrorContextList{}; });
}

CDOMElement CDOMXmlDocument::GetRootNode() {
  return GuardXMLError(
      "CDOMXmlDocument::GetRootNode:",
      [&] {
        xmlpp::Element* root = nullptr;
        Translated("get_root_node() failed.", [&] {
          // After a failed Load the parser has no document, which counts as no root.
          if (document() != nullptr) root = document()->get_root_node();
        });
        if (root == nullptr) throw CXMLError("root node empty.");
        return CDOMElement(root);
      },
      [] { return ErrorContextList{}; });
}

void CDOMXmlDocument::SetRootNode(const CDOMNode& elem) {
  CountTreeChange();
  GuardXMLError(
      "CDOMXmlDocument::SetRootNode:",
      [&] {
        // Without a document (after a failed Load) there is nothing to hang the copy in.
        if (elem.GetNode() == nullptr || elem.GetNode()->cobj() == nullptr ||
            document() == nullptr) {
          throw CXMLError("object not found.");
        }
        CDOMNode copy = elem.CloneNode(true);
        // The previous root that this returns is left unlinked and not freed: a caller may still
        // hold a handle to it, which freeing it here would leave dangling.
        xmlDocSetRootElement(document()->cobj(), copy.GetNode()->cobj());
      },
      [&] {
        if (elem.GetNode() == nullptr) return ErrorContextList{};
        return ErrorContextList{{" elem=", elem.GetName()}};
      });
}

CDOMElement CDOMXmlDocument::CreateElement(const Glib::ustring& name) {
  return GuardXMLError(
      "CDOMXmlDocument::CreateElement:",
      [&] {
        _xmlNode* node = xmlNewNode(nullptr, XmlText(name));
        if (node == nullptr) throw CXMLError("xmlNewNode() failed.");
        return CDOMElement(AdoptDetached(node));
      },
      [&] {
        return ErrorContextList{{" name=", name}};
      });
}

CDOMNode CDOMXmlDocument::CreateProcessingInstruction(const Glib::ustring& target,
                                                      const Glib::ustring& data) {
  return GuardXMLError(
      "CDOMXmlDocument::CreateProcessingInstruction:",
      [&] {
        xmlDoc* doc = document() == nullptr ? nullptr : document()->cobj();
        _xmlNode* node = xmlNewDocPI(doc, XmlText(target), XmlText(data));
        if (node == nullptr) throw CXMLError("xmlNewDocPI() failed.");
        return AdoptDetached(node);  // no wrapper class of its own: prints the warning line
      },
      [&] {
        return ErrorContextList{{" target=", target}, {" data=", data}};
      });
}

// Documents built with this operation have the shape these steps give, so it stays as it is:
// the path is split at its last "/" with no XPath parsing, the new
// element's name keeps that "/" (so the next call makes another one), only the first missing step
// lands in the tree as a copy, and the caller gets the detached element itself. A path that is
// missing down to its start ends in the library's exception ("/x") or std::out_of_range ("x").
// Failures of the operations called pass unchanged.
CDOMNode CDOMXmlDocument::CreateNodes(const Glib::ustring& xpath, CDOMNode* basenode) {
  CDOMNode root;
  if (basenode == nullptr) {
    root = GetRootNode();
    basenode = &root;
  }
  if (basenode->ExistNode(xpath)) {
    std::list<CDOMNode> found = basenode->SelectNodes(xpath);
    if (found.size() > 1) {
      std::string text = "CDOMXmlDocument::CreateNodes: ERROR: More than one Xpath exist. xpath=";
      text += xpath.raw();
      text += " basenode=";
      text += basenode->GetName().raw();
      text += '\n';
      throw CXMLError(text.c_str());
    }
    return found.front();
  }
  Glib::ustring::size_type pos = xpath.find_last_of("/", xpath.length());
  Glib::ustring leaf(xpath, pos);
  Glib::ustring head(xpath, 0, pos);
  CDOMNode parent = CreateNodes(head, basenode);
  CDOMElement element = CreateElement(leaf);
  parent.AppendChild(element);
  return element;
}

std::ostream& operator<<(std::ostream& stream, CDOMXmlDocument& document) {
  document.Save(stream);
  return stream;
}

std::istream& operator>>(std::istream& stream, CDOMXmlDocument& document) {
  document.Load(stream);
  return stream;
}

}  // namespace Vexil
