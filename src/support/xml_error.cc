// The one error of the XML object model, and the building of its messages.
#include "support/xml_error.h"

#include <string>

namespace Vexil {

CXMLError::CXMLError(const char* what) : std::logic_error(what) {}

CXMLError::~CXMLError() = default;

void RaiseXMLError(const char* label, const CXMLError& inner, const ErrorContextList& context) {
  std::string text(label);
  text += " ERROR: ";
  text += inner.what();
  for (const ErrorContext& entry : context) {
    text += entry.key;
    text += entry.value.raw();
  }
  text += '\n';
  throw CXMLError(text.c_str());
}

}  // namespace Vexil
