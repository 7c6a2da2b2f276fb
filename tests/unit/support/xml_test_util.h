// Helpers for the XML model tests: documents from text and back, and a record of freed nodes.
#ifndef SARVIK_TESTS_UNIT_SUPPORT_XML_TEST_UTIL_H_
#define SARVIK_TESTS_UNIT_SUPPORT_XML_TEST_UTIL_H_

#include <libxml/tree.h>

#include <string>
#include <vector>

#include "support/dom_document.h"
#include "support/dom_node.h"
#include "support/xml_error.h"

namespace sarvik::testing {

// Loads `text` into `document` through its stream variant.
void LoadText(Vexil::CDOMXmlDocument& document, const std::string& text);
// The document as its stream variant writes it.
std::string SaveText(Vexil::CDOMXmlDocument& document);
// The number of handles in the share group of `node`; 0 for an empty handle.
unsigned GroupSize(const Vexil::CDOMNode& node);

// The whole message of the CXMLError that `call` raises, or a note that it raised none.
template <class Call>
std::string XmlErrorText(Call call) {
  try {
    call();
  } catch (const Vexil::CXMLError& error) {
    return error.what();
  }
  return "(no CXMLError)";
}

// Records every libxml2 node that is freed while it lives, through libxml2's deregistration hook
// (this libxml++ leaves that hook unused). One at a time, on the test's thread.
class FreedNodes {
 public:
  FreedNodes();
  ~FreedNodes();
  FreedNodes(const FreedNodes&) = delete;
  FreedNodes& operator=(const FreedNodes&) = delete;

  // How often `node` has been freed since the record began.
  int Times(const void* node) const;
  // The names of the freed nodes, in the order of freeing.
  const std::vector<std::string>& names() const { return freed_names; }

 private:
  static void Record(xmlNode* node);

  xmlDeregisterNodeFunc previous;
  std::vector<const void*> freed;
  std::vector<std::string> freed_names;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_SUPPORT_XML_TEST_UTIL_H_
