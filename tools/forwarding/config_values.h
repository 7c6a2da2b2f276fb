// Checks of the texts that go into the rsyslog configurations: the collector's address and the
// directories.
#ifndef SARVIK_TOOLS_FORWARDING_CONFIG_VALUES_H_
#define SARVIK_TOOLS_FORWARDING_CONFIG_VALUES_H_

#include <string>

namespace sarvik::forwarding {

// A collector's address as given on the command line.
struct CollectorAddress {
  std::string host;  // a host name, an IPv4 address or an IPv6 address without brackets
  int port = 0;
};

// Parses "HOST", "HOST:PORT", "[IPV6]" or "[IPV6]:PORT"; a missing port is `default_port`.
// A host name holds letters, digits, '-' and '.', an IPv6 address hex digits, ':' and '.'; a port
// is 1 to 65535. Returns false with the reason in `why` for anything else.
bool parse_collector_address(const std::string& text, int default_port, CollectorAddress* address,
                             std::string* why);

// A port given as text: 1 to 65535, decimal digits only. False with the reason otherwise.
bool parse_port(const std::string& text, int* port, std::string* why);

// `path` made fit for a place in the configuration: absolute, below the root, without "." or
// ".." parts, repeated '/' made one and a trailing '/' dropped. Refuses (false, reason in `why`)
// anything else, and control characters and the characters that rsyslog would read as syntax inside
// a quoted text or a template ('"', '\', '$', '%', '\''), and, when `as_pattern`, the wildcard
// characters of a file pattern ('*', '?', '[', ']', '{', '}'), which would match other files than
// the service's.
bool normalize_config_path(const std::string& path, bool as_pattern, std::string* normalized,
                           std::string* why);

}  // namespace sarvik::forwarding

#endif  // SARVIK_TOOLS_FORWARDING_CONFIG_VALUES_H_
