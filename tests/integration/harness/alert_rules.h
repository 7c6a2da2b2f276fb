// Alert rules for end-to-end tests.
#ifndef SARVIK_TESTS_INTEGRATION_HARNESS_ALERT_RULES_H_
#define SARVIK_TESTS_INTEGRATION_HARNESS_ALERT_RULES_H_

#include <string>

namespace sarvik::testing {

// An "alert" element named `name`, on every day at any time, for every user, with the extra
// conditions `body` (elements such as "<sharename>docs</sharename>") and firing on the
// operations `operations` (a comma-free list of "operation" elements, by default open_read).
inline std::string alert_rule(
    const std::string& name, const std::string& body = "",
    const std::string& operations = "<operation type=\"open_read\" enable=\"true\"/>") {
  return "<alert><name>" + name +
         "</name><period><weekdays sun=\"true\" mon=\"true\" tue=\"true\" wed=\"true\" "
         "thu=\"true\" fri=\"true\" sat=\"true\"/></period><usernamelist all=\"true\"/>" +
         body + "<operationlist>" + operations + "</operationlist></alert>";
}

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_INTEGRATION_HARNESS_ALERT_RULES_H_
