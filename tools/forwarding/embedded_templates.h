// The packaged rsyslog configuration templates, embedded in the tool when it is built, so that
// the files installed as examples and the tool's output come from one text.
#ifndef SARVIK_TOOLS_FORWARDING_EMBEDDED_TEMPLATES_H_
#define SARVIK_TOOLS_FORWARDING_EMBEDDED_TEMPLATES_H_

namespace sarvik::forwarding {

// packaging/rsyslog/sarvik-sender.conf and sarvik-collector.conf, NUL-terminated.
extern const char kSenderTemplate[];
extern const char kCollectorTemplate[];

}  // namespace sarvik::forwarding

#endif  // SARVIK_TOOLS_FORWARDING_EMBEDDED_TEMPLATES_H_
