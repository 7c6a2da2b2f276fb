// XPath selection for the object model: libxml++'s own find, with each expression compiled once.
#include "support/xpath_select.h"

#include <libxml++/exceptions/internal_error.h>
#include <libxml/xpath.h>

#include <cctype>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Vexil {

namespace {

// Whether `step` is a name that an XPath name test takes as it stands: ASCII letters, digits,
// '_', '-' and '.', not beginning with a digit, '-' or '.'.
bool IsPlainName(std::string_view step) {
  if (step.empty() || !(std::isalpha(static_cast<unsigned char>(step[0])) || step[0] == '_')) {
    return false;
  }
  for (char c : step) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_' && c != '-' && c != '.') {
      return false;
    }
  }
  return true;
}

// Whether `path` is made of child steps alone: plain names and ".", joined by single slashes,
// neither leading nor trailing ("share/path", "expire/days", ".").
bool IsChildPath(std::string_view path) {
  for (;;) {
    size_t end = path.find('/');
    std::string_view step = path.substr(0, end);
    if (step != "." && !IsPlainName(step)) return false;
    if (end == std::string_view::npos) return true;
    path.remove_prefix(end + 1);
  }
}

// Adds to `nodes` what the child path `path` selects from `node`, as the library selects it: a
// name step takes the element children of that name that have no namespace, "." the node itself.
// Walking depth first along the children keeps the document order, and no node comes twice.
void WalkChildPath(_xmlNode* node, std::string_view path, xmlpp::NodeSet* nodes) {
  size_t end = path.find('/');
  std::string_view step = path.substr(0, end);
  std::string_view rest = end == std::string_view::npos ? std::string_view() : path.substr(end + 1);
  auto take = [&](_xmlNode* found) {
    if (end != std::string_view::npos) {
      WalkChildPath(found, rest, nodes);
      return;
    }
    xmlpp::Node::create_wrapper(found);
    nodes->push_back(static_cast<xmlpp::Node*>(found->_private));
  };
  if (step == ".") {
    take(node);
    return;
  }
  for (_xmlNode* child = node->children; child != nullptr; child = child->next) {
    if (child->type != XML_ELEMENT_NODE || child->ns != nullptr) continue;
    const char* name = reinterpret_cast<const char*>(child->name);
    if (std::strncmp(name, step.data(), step.size()) == 0 && name[step.size()] == '\0') take(child);
  }
}

// The compiled expressions of one thread, freed when the thread ends. Compiled expressions are
// independent of any document and are evaluated through the library's public calls.
class XPathCache {
 public:
  XPathCache() = default;
  XPathCache(const XPathCache&) = delete;
  XPathCache& operator=(const XPathCache&) = delete;
  ~XPathCache() {
    for (auto& entry : compiled) xmlXPathFreeCompExpr(entry.second);
  }

  // The expression compiled for `xpath`, kept or new; null when the library rejects it. A kept
  // one belongs to the cache; `*owned` is set when the caller must free the result.
  xmlXPathCompExpr* Compiled(xmlXPathContext* context, const Glib::ustring& xpath, bool* owned) {
    *owned = false;
    auto found = compiled.find(xpath.raw());
    if (found != compiled.end()) return found->second;
    xmlXPathCompExpr* expression =
        xmlXPathCtxtCompile(context, reinterpret_cast<const xmlChar*>(xpath.c_str()));
    if (expression == nullptr) return nullptr;
    if (compiled.size() < kMaxCachedXPaths) {
      compiled.emplace(xpath.raw(), expression);
    } else {
      *owned = true;  // a caller with ever new texts gets no growing cache
    }
    return expression;
  }

 private:
  std::unordered_map<std::string, xmlXPathCompExpr*> compiled;
};

// A fresh XPath context on the document of `node`, with `node` as the context node, freed with
// the object; `get()` is null when the library could not make one.
class Context {
 public:
  explicit Context(_xmlNode* node) : context(xmlXPathNewContext(node->doc)) {
    if (context != nullptr) context->node = node;
  }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  ~Context() {
    if (context != nullptr) xmlXPathFreeContext(context);
  }
  xmlXPathContext* get() const { return context; }

 private:
  xmlXPathContext* context;
};

thread_local XPathCache cache;

}  // namespace

// Done as libxml++ 2.40's find does it, message for message, so that an XPath fails with the same
// text here as through libxml++: its find evaluates the text in a context of its own with
// xmlXPathEval, which compiles the text and evaluates it as done here.
xmlpp::NodeSet FindNodes(const xmlpp::Node* node, const Glib::ustring& xpath) {
  _xmlNode* self = const_cast<xmlpp::Node*>(node)->cobj();
  if (self->type == XML_ELEMENT_NODE && IsChildPath(xpath.raw())) {
    // The settings' own keys: walked along the children, without the XPath machinery.
    xmlpp::NodeSet nodes;
    WalkChildPath(self, xpath.raw(), &nodes);
    return nodes;
  }
  Context context(self);
  if (context.get() == nullptr) {
    throw xmlpp::internal_error("Could not create XPath context for " + xpath);
  }
  bool owned = false;
  xmlXPathCompExpr* expression = cache.Compiled(context.get(), xpath, &owned);
  xmlXPathObject* result =
      expression == nullptr ? nullptr : xmlXPathCompiledEval(expression, context.get());
  if (owned) xmlXPathFreeCompExpr(expression);
  if (result == nullptr) throw xmlpp::exception("Invalid XPath: " + xpath);
  if (result->type != XPATH_NODESET) {
    xmlXPathFreeObject(result);
    throw xmlpp::internal_error("Only nodeset result types are supported.");
  }
  xmlpp::NodeSet nodes;
  xmlNodeSet* set = result->nodesetval;
  if (set != nullptr && !xmlXPathNodeSetIsEmpty(set)) {
    const int count = xmlXPathNodeSetGetLength(set);
    nodes.reserve(count);
    for (int i = 0; i != count; ++i) {
      _xmlNode* entry = xmlXPathNodeSetItem(set, i);
      if (entry == nullptr) {
        std::cerr << "Node::find_impl: The xmlNode was null." << std::endl;
        continue;
      }
      if (entry->type == XML_NAMESPACE_DECL) {
        std::cerr << "Node::find_impl: ignoring an xmlNs object." << std::endl;
        continue;
      }
      xmlpp::Node::create_wrapper(entry);
      nodes.push_back(static_cast<xmlpp::Node*>(entry->_private));
    }
  }
  xmlXPathFreeObject(result);
  return nodes;
}

}  // namespace Vexil
