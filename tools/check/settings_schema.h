// What the service reads in its settings file: every element by path, with its attributes.
#ifndef SARVIK_TOOLS_CHECK_SETTINGS_SCHEMA_H_
#define SARVIK_TOOLS_CHECK_SETTINGS_SCHEMA_H_

#include <map>
#include <string>

namespace sarvik::check {

// How the service reads an element's own text.
enum class TextKind {
  kNone,    // not read
  kValue,   // compared or used byte for byte: blanks around it count
  kLabel,   // a rule's name: shown, never compared with an event
  kNumber,  // read by StrToInt
};

// How the service reads an attribute.
enum class AttributeKind {
  kSwitch,  // on only when exactly "true"
  kText,    // read as it stands
  kUnread,  // looks meaningful but is not read; `SchemaElement::unread_reason` says why
};

struct SchemaElement {
  TextKind text = TextKind::kNone;
  std::map<std::string, AttributeKind> attributes;
  std::string unread_reason;
};

// Element paths below the root element (whose own name is not read), "alertlist/alert/period"
// style, to what the service reads there. Every parent of a listed path is listed too. Built
// from the service's own keys and weekday table on first use; lives for the whole process.
const std::map<std::string, SchemaElement>& settings_schema();

}  // namespace sarvik::check

#endif  // SARVIK_TOOLS_CHECK_SETTINGS_SCHEMA_H_
