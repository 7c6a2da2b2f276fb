// Filling the @NAME@ placeholders of the packaged rsyslog configurations.
#include "forwarding/placeholders.h"

#include <set>
#include <stdexcept>

namespace sarvik::forwarding {

namespace {

bool is_name_char(char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_'; }

// The length of the placeholder name that starts at `at` and ends at an '@', or 0 when none
// does.
size_t name_length_at(const std::string& text, size_t at) {
  size_t end = at;
  while (end < text.size() && is_name_char(text[end])) ++end;
  if (end == at || end == text.size() || text[end] != '@') return 0;
  return end - at;
}

}  // namespace

std::string fill_placeholders(const std::string& text,
                              const std::map<std::string, std::string>& values) {
  std::string filled;
  filled.reserve(text.size());
  std::set<std::string> used;
  size_t at = 0;
  while (at < text.size()) {
    size_t marker = text.find('@', at);
    if (marker == std::string::npos) {
      filled.append(text, at, std::string::npos);
      break;
    }
    filled.append(text, at, marker - at);
    size_t length = name_length_at(text, marker + 1);
    if (length == 0) {
      filled += '@';
      at = marker + 1;
      continue;
    }
    std::string name = text.substr(marker + 1, length);
    auto value = values.find(name);
    if (value == values.end())
      throw std::invalid_argument("no value for placeholder @" + name + "@");
    filled += value->second;
    used.insert(name);
    at = marker + length + 2;
  }
  for (const auto& [name, value] : values) {
    if (used.count(name) == 0) throw std::invalid_argument("no placeholder @" + name + "@");
  }
  return filled;
}

}  // namespace sarvik::forwarding
