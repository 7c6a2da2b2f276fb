// Checking a settings tree against what the service reads: names, switches and texts.
#ifndef SARVIK_TOOLS_CHECK_SCHEMA_CHECK_H_
#define SARVIK_TOOLS_CHECK_SCHEMA_CHECK_H_

#include <map>
#include <string>

#include "check/diagnostic.h"
#include "check/settings_schema.h"
#include "support/dom_element.h"

namespace sarvik::check {

// Reports, below `root`: elements and attributes that `schema` does not know (warnings),
// attributes that are known but not read, switches that are not exactly "true" or "false",
// value texts with blanks around them, and number texts that do not read as what they say.
// Main thread only.
void check_against_schema(const Vexil::CDOMElement& root,
                          const std::map<std::string, SchemaElement>& schema, FileDiagnostics& out);

// Reports attribute `attribute` of element `element` (at `line`) with `value` when the service
// reads it as false although it is not "false": a warning when it looks meant as true ("True",
// "yes", " 1"...), a note otherwise.
void check_switch(const std::string& element, const std::string& attribute,
                  const std::string& value, int line, FileDiagnostics& out);

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_SCHEMA_CHECK_H_
