// The names the service reads in its settings file: XPath keys, attributes and words.
#ifndef SARVIK_SETTINGS_SETTINGS_KEYS_H_
#define SARVIK_SETTINGS_SETTINGS_KEYS_H_

namespace sarvik::keys {

// Keys below the root element, whatever the root is called.
inline constexpr char kSharePath[] = "share/path";
inline constexpr char kEventLogConf[] = "eventlogconf";
inline constexpr char kAccessLogConf[] = "accesslogconf";
inline constexpr char kShareList[] = "accesslogconf/sharelist";
inline constexpr char kShareNames[] = "accesslogconf/sharelist/share/name";
inline constexpr char kEventAutoDelete[] = "eventlogconf/autodelete";
inline constexpr char kAccessAutoDelete[] = "accesslogconf/autodelete";
inline constexpr char kExpireDays[] = "expire/days";
inline constexpr char kExpirePercent[] = "expire/percent";
inline constexpr char kAlerts[] = "alertlist/alert";

// The optional limits, each off while missing.
inline constexpr char kClientTimeout[] = "hardening/clienttimeout";
inline constexpr char kScriptTimeout[] = "hardening/scripttimeout";
inline constexpr char kScriptReplyLimit[] = "hardening/scriptreplylimit";
inline constexpr char kLockTimeout[] = "hardening/locktimeout";
inline constexpr char kSafeText[] = "hardening/safetext";
inline constexpr char kSeal[] = "hardening/seal";

// Keys below one "alert" element.
inline constexpr char kAlertName[] = "name";
inline constexpr char kPeriod[] = "period";
inline constexpr char kPeriodFrom[] = "period/from";
inline constexpr char kPeriodTo[] = "period/to";
inline constexpr char kWeekdays[] = "period/weekdays";
inline constexpr char kHour[] = "hour";
inline constexpr char kMinute[] = "minute";
inline constexpr char kUserNameList[] = "usernamelist";
inline constexpr char kUserNames[] = "usernamelist/username";
inline constexpr char kHostName[] = "hostname";
inline constexpr char kIpAddr[] = "ipaddr";
inline constexpr char kResult[] = "result";
inline constexpr char kShareName[] = "sharename";
inline constexpr char kPath[] = "path";
inline constexpr char kOperations[] = "operationlist/operation";

// Attributes.
inline constexpr char kEnable[] = "enable";
inline constexpr char kAll[] = "all";
inline constexpr char kNot[] = "not";
inline constexpr char kType[] = "type";

// The current node, and the two words of a switch: on only when exactly "true".
inline constexpr char kSelf[] = ".";
inline constexpr char kTrue[] = "true";
inline constexpr char kFalse[] = "false";

}  // namespace sarvik::keys

#endif  // SARVIK_SETTINGS_SETTINGS_KEYS_H_
