// The network of an end-to-end test of the forwarding: loopback only, and no way to the host's
// system log.
#ifndef SARVIK_TESTS_INTEGRATION_FORWARDING_ISOLATED_NETWORK_H_
#define SARVIK_TESTS_INTEGRATION_FORWARDING_ISOLATED_NETWORK_H_

#include <string>

namespace sarvik::testing {

// In the test's private mount and network namespaces (enter_fresh_volumes): brings the loopback
// interface up, the only one there, and mounts an empty tmpfs on /run/systemd/journal (where
// /dev/log leads as a rule) and /dev/null on /dev/log when that is a socket of its own, so that
// nothing of the test (rsyslogd's own messages included) reaches the host's journal or syslog
// socket. False with the reason in `why`.
bool isolate_network(std::string* why);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_FORWARDING_ISOLATED_NETWORK_H_
