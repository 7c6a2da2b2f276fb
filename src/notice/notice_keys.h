// The names the service reads in the notice settings file.
#ifndef SARVIK_NOTICE_NOTICE_KEYS_H_
#define SARVIK_NOTICE_NOTICE_KEYS_H_

namespace sarvik::keys {

// The mail profiles below the root, whatever the root is called.
inline constexpr char kMailConfs[] = "mailnotice/mailconflist/mailconf";
// Below one profile: its notice switches, the one for system notices, and its addresses.
inline constexpr char kNotifies[] = "notifylist/notify";
inline constexpr char kSystemNotify[] = "notifylist/notify[@name=\"system\"]";
inline constexpr char kToAddrs[] = "toaddrlist/toaddr";

}  // namespace sarvik::keys

#endif  // SARVIK_NOTICE_NOTICE_KEYS_H_
