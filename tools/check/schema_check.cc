// Checking a settings tree against what the service reads: names, switches and texts.
#include "check/schema_check.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

#include "check/xml_lookup.h"
#include "settings/settings_keys.h"
#include "settings/xml_data.h"

namespace sarvik::check {

namespace {

using Vexil::CDOMElement;

bool is_blank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

std::string trimmed(const std::string& text) {
  std::string::size_type first = 0;
  std::string::size_type last = text.size();
  while (first < last && is_blank(text[first])) ++first;
  while (last > first && is_blank(text[last - 1])) --last;
  return text.substr(first, last - first);
}

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool looks_meant_true(const std::string& value) {
  std::string word = lower(trimmed(value));
  return word == "true" || word == "yes" || word == "on" || word == "1";
}

// True when `text` reads as the number it shows: blanks around it, a sign, digits, and a value
// within int.
bool is_plain_number(const std::string& text) {
  std::string number = trimmed(text);
  std::string::size_type digits = !number.empty() && (number[0] == '+' || number[0] == '-');
  if (digits == number.size() ||
      number.find_first_not_of("0123456789", digits) != std::string::npos) {
    return false;
  }
  errno = 0;
  long long value = std::strtoll(number.c_str(), nullptr, 10);
  return errno == 0 && value >= INT_MIN && value <= INT_MAX;
}

std::string where(const std::string& path, const std::string& name) {
  std::string::size_type slash = path.rfind('/');
  return slash == std::string::npos ? "'" + name + "'"
                                    : "'" + name + "' in '" + path.substr(0, slash) + "'";
}

void check_text(const CDOMElement& element, const std::string& name, TextKind kind,
                FileDiagnostics& out) {
  std::optional<std::string> text = text_of(element);
  if (!text) return;
  if (kind == TextKind::kValue && trimmed(*text) != *text) {
    out.warning(line_of(element), "text " + quoted(*text) + " of '" + name +
                                      "' has blanks around it: they are part of the value");
  }
  if (kind == TextKind::kNumber && !is_plain_number(*text)) {
    out.warning(line_of(element), "text " + quoted(*text) + " of '" + name + "' is read as " +
                                      std::to_string(StrToInt(*text)));
  }
}

void check_attributes(const CDOMElement& element, const std::string& name,
                      const SchemaElement& known, FileDiagnostics& out) {
  for (const auto& [attribute, value] : attributes_of(element)) {
    auto kind = known.attributes.find(attribute);
    if (kind == known.attributes.end()) {
      out.warning(line_of(element),
                  "attribute '" + attribute + "' of '" + name + "' is not read by the service");
    } else if (kind->second == AttributeKind::kSwitch) {
      check_switch(name, attribute, value, line_of(element), out);
    } else if (kind->second == AttributeKind::kUnread && value != keys::kFalse) {
      out.warning(line_of(element), "'" + name + "' " + attribute + "=" + quoted(value) +
                                        " is ignored: " + known.unread_reason);
    }
  }
}

void walk(const CDOMElement& element, const std::string& path,
          const std::map<std::string, SchemaElement>& schema, FileDiagnostics& out) {
  for (const CDOMElement& child : child_elements(element)) {
    std::string name = child.GetName().raw();
    std::string child_path = path.empty() ? name : path + "/" + name;
    auto known = schema.find(child_path);
    if (known == schema.end()) {
      out.warning(line_of(child),
                  "element " + where(child_path, name) + " is not read by the service");
      continue;
    }
    check_attributes(child, name, known->second, out);
    check_text(child, name, known->second.text, out);
    walk(child, child_path, schema, out);
  }
}

}  // namespace

void check_against_schema(const CDOMElement& root,
                          const std::map<std::string, SchemaElement>& schema,
                          FileDiagnostics& out) {
  check_attributes(root, root.GetName().raw(), SchemaElement(), out);  // the root has none
  walk(root, "", schema, out);
}

void check_switch(const std::string& element, const std::string& attribute,
                  const std::string& value, int line, FileDiagnostics& out) {
  if (value == keys::kTrue || value == keys::kFalse) return;
  std::string message = "'" + element + "' " + attribute + "=" + quoted(value) +
                        " is read as false (only \"true\" is true)";
  if (looks_meant_true(value)) {
    out.warning(line, message);
  } else {
    out.note(line, message);
  }
}

}  // namespace sarvik::check
