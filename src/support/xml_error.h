// The one error of the XML object model, and the building of its messages.
#ifndef SARVIK_SUPPORT_XML_ERROR_H_
#define SARVIK_SUPPORT_XML_ERROR_H_

#include <glibmm/ustring.h>

#include <stdexcept>
#include <vector>

namespace Vexil {

// Raised by every failing operation of the object model. A message that has passed an
// operation reads: label, " ERROR: ", the reason or the inner operation's whole message, each
// context key and value, "\n". Callers print it as it stands.
class CXMLError : public std::logic_error {
 public:
  explicit CXMLError(const char* what);
  ~CXMLError() override;
};

// One context entry of a message: a key such as " node=" and its value, as UTF-8 bytes.
struct ErrorContext {
  const char* key;
  Glib::ustring value;
};
using ErrorContextList = std::vector<ErrorContext>;

// Raises the finished message of the operation `label` over the caught `inner`.
[[noreturn]] void RaiseXMLError(const char* label, const CXMLError& inner,
                                const ErrorContextList& context);

// Runs `body` and returns what it returns. A CXMLError out of it is raised again under `label`,
// with the entries that `context()` gives, worked out only then; other exceptions pass unchanged.
template <class Body, class Context>
auto GuardXMLError(const char* label, Body body, Context context) -> decltype(body()) {
  try {
    return body();
  } catch (const CXMLError& inner) {
    RaiseXMLError(label, inner, context());
  }
}

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_XML_ERROR_H_
