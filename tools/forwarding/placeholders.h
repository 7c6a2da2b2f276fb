// Filling the @NAME@ placeholders of the packaged rsyslog configurations.
#ifndef SARVIK_TOOLS_FORWARDING_PLACEHOLDERS_H_
#define SARVIK_TOOLS_FORWARDING_PLACEHOLDERS_H_

#include <map>
#include <string>

namespace sarvik::forwarding {

// `text` with every "@NAME@" replaced by values.at("NAME"). A NAME is one or more of A-Z, 0-9
// and '_'; an '@' that does not open such a name is copied as it is. Raises
// std::invalid_argument when the text holds a placeholder that `values` lacks, or when a value
// is never used: either means that the template and the code that fills it have drifted apart.
std::string fill_placeholders(const std::string& text,
                              const std::map<std::string, std::string>& values);

}  // namespace sarvik::forwarding

#endif  // SARVIK_TOOLS_FORWARDING_PLACEHOLDERS_H_
