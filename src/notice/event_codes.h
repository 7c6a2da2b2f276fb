// The codes of the event-log records that an alert raises.
#ifndef SARVIK_NOTICE_EVENT_CODES_H_
#define SARVIK_NOTICE_EVENT_CODES_H_

namespace sarvik {

// An alert was raised; arguments "name" and "number".
inline constexpr char kEventAlertRaised[] = "71100010";
// Mail went to an address; arguments "mail_address" and "name".
inline constexpr char kEventMailSent[] = "71000010";
// Mail to an address failed; arguments "mail_address" and "name".
inline constexpr char kEventMailFailed[] = "71090010";

}  // namespace sarvik

#endif  // SARVIK_NOTICE_EVENT_CODES_H_
