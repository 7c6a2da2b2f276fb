// Checks of the texts that go into the rsyslog configurations: the collector's address and the
// directories.
#include "forwarding/config_values.h"

#include <cctype>
#include <cstring>

namespace sarvik::forwarding {

namespace {

bool all_of(const std::string& text, const char* allowed_punctuation) {
  for (char c : text) {
    if (std::isalnum(static_cast<unsigned char>(c)) == 0 &&
        std::strchr(allowed_punctuation, c) == nullptr) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool parse_port(const std::string& text, int* port, std::string* why) {
  long value = 0;
  bool digits = !text.empty() && text.size() <= 5;
  for (char c : text) {
    digits = digits && c >= '0' && c <= '9';
    if (digits) value = value * 10 + (c - '0');
  }
  if (!digits || value < 1 || value > 65535) {
    *why = "the port '" + text + "' is no number from 1 to 65535";
    return false;
  }
  *port = static_cast<int>(value);
  return true;
}

bool parse_collector_address(const std::string& text, int default_port, CollectorAddress* address,
                             std::string* why) {
  std::string host = text;
  std::string port;
  bool bracketed = !text.empty() && text[0] == '[';
  if (bracketed) {
    size_t close = text.find(']');
    if (close == std::string::npos) {
      *why = "the address '" + text + "' lacks the ']' of its IPv6 address";
      return false;
    }
    host = text.substr(1, close - 1);
    std::string rest = text.substr(close + 1);
    if (!rest.empty() && (rest[0] != ':' || rest.size() == 1)) {
      *why = "the address '" + text + "' has something else than ':PORT' behind its ']'";
      return false;
    }
    if (!rest.empty()) port = rest.substr(1);
  } else if (size_t colon = text.find(':'); colon != std::string::npos) {
    if (text.find(':', colon + 1) != std::string::npos) {
      *why = "the IPv6 address '" + text + "' needs brackets: [ADDRESS]:PORT";
      return false;
    }
    host = text.substr(0, colon);
    port = text.substr(colon + 1);
    if (port.empty()) {
      *why = "the address '" + text + "' has no port behind its ':'";
      return false;
    }
  }
  bool valid_host =
      bracketed ? all_of(host, ":.") && host.find(':') != std::string::npos : all_of(host, "-.");
  if (host.empty() || !valid_host) {
    *why = "'" + host + "' is no host name, IPv4 address or IPv6 address";
    return false;
  }
  address->host = host;
  address->port = default_port;
  return port.empty() || parse_port(port, &address->port, why);
}

bool normalize_config_path(const std::string& path, bool as_pattern, std::string* normalized,
                           std::string* why) {
  if (path.empty() || path[0] != '/') {
    *why = "the path '" + path + "' is not absolute";
    return false;
  }
  for (char c : path) {
    if (std::iscntrl(static_cast<unsigned char>(c)) != 0 || std::strchr("\"\\$%'", c) != nullptr ||
        (as_pattern && std::strchr("*?[]{}", c) != nullptr)) {
      *why = "the path '" + path + "' holds a character that cannot stand in the configuration";
      return false;
    }
  }
  std::string result;
  size_t at = 0;
  while (at < path.size()) {
    size_t end = path.find('/', at);
    if (end == std::string::npos) end = path.size();
    std::string part = path.substr(at, end - at);
    if (part == "." || part == "..") {
      *why = "the path '" + path + "' holds a '.' or '..' part";
      return false;
    }
    if (!part.empty()) result += "/" + part;
    at = end + 1;
  }
  if (result.empty()) {
    *why = "the path '" + path + "' names the root directory";
    return false;
  }
  *normalized = result;
  return true;
}

}  // namespace sarvik::forwarding
