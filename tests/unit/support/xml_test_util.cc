// Helpers for the XML model tests: documents from text and back, and a record of freed nodes.
#include "xml_test_util.h"

#include <algorithm>
#include <sstream>

namespace sarvik::testing {

namespace {
FreedNodes* current = nullptr;
}  // namespace

void LoadText(Vexil::CDOMXmlDocument& document, const std::string& text) {
  std::istringstream in(text);
  document.Load(in);
}

std::string SaveText(Vexil::CDOMXmlDocument& document) {
  std::ostringstream out;
  document.Save(out);
  return out.str();
}

unsigned GroupSize(const Vexil::CDOMNode& node) {
  const uint32_t* count = node.GetShare().GetCount();
  return count == nullptr ? 0 : *count;
}

FreedNodes::FreedNodes() {
  current = this;
  previous = xmlDeregisterNodeDefault(&FreedNodes::Record);
}

FreedNodes::~FreedNodes() {
  xmlDeregisterNodeDefault(previous);
  current = nullptr;
}

int FreedNodes::Times(const void* node) const {
  return static_cast<int>(std::count(freed.begin(), freed.end(), node));
}

void FreedNodes::Record(xmlNode* node) {
  current->freed.push_back(node);
  current->freed_names.push_back(node->name == nullptr ? ""
                                                       : reinterpret_cast<const char*>(node->name));
}

}  // namespace sarvik::testing
