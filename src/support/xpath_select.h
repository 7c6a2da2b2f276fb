// XPath selection for the object model: libxml++'s own find, with each expression compiled once.
#ifndef SARVIK_SUPPORT_XPATH_SELECT_H_
#define SARVIK_SUPPORT_XPATH_SELECT_H_

#include <glibmm/ustring.h>
#include <libxml++/nodes/node.h>

namespace Vexil {

// What `node->find(xpath)` gives, node for node, with the same lines on standard error for the
// entries it skips and the same exceptions: xmlpp::exception "Invalid XPath: <xpath>" for an
// expression the library rejects, xmlpp::internal_error for a result that is no node set. The
// difference is cost: a path of plain child steps is walked along the children, and any other
// expression is compiled once per thread and kept by its text (up to kMaxCachedXPaths of them;
// others are compiled for the call), then evaluated in a fresh context. Only compiled expressions
// are kept, never results or contexts, so nothing outlives a document. Any thread; each has its
// own cache, ended with the thread. `node` must not be null.
xmlpp::NodeSet FindNodes(const xmlpp::Node* node, const Glib::ustring& xpath);

inline constexpr size_t kMaxCachedXPaths = 64;

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_XPATH_SELECT_H_
