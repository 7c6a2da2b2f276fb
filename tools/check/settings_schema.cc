// What the service reads in its settings file: every element by path, with its attributes.
#include "check/settings_schema.h"

#include "check/xml_lookup.h"
#include "settings/config_xml.h"
#include "settings/settings_keys.h"

namespace sarvik::check {

namespace {

using Schema = std::map<std::string, SchemaElement>;

constexpr char kUninvertible[] =
    "only 'period', 'usernamelist', 'hostname' and 'ipaddr' can be inverted";

// Enters `path` and each of its parents, and returns the entry of `path`.
SchemaElement& enter(Schema& schema, const std::string& path) {
  for (std::string::size_type slash = path.find('/'); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    schema[path.substr(0, slash)];
  }
  return schema[path];
}

void enter_text(Schema& schema, const std::string& path, TextKind kind) {
  enter(schema, path).text = kind;
}

void enter_attribute(Schema& schema, const std::string& path, const std::string& name,
                     AttributeKind kind) {
  enter(schema, path).attributes[name] = kind;
}

void enter_autodelete(Schema& schema, const char* autodelete) {
  enter_attribute(schema, autodelete, keys::kEnable, AttributeKind::kSwitch);
  enter_text(schema, child_path(autodelete, keys::kExpireDays), TextKind::kNumber);
  enter_text(schema, child_path(autodelete, keys::kExpirePercent), TextKind::kNumber);
}

void enter_alert(Schema& schema) {
  const std::string alert = keys::kAlerts;
  enter_text(schema, child_path(alert, keys::kAlertName), TextKind::kLabel);
  enter_attribute(schema, child_path(alert, keys::kPeriod), keys::kNot, AttributeKind::kSwitch);
  for (const auto& [day, bit] : ConfigXml().weekday_bits) {
    enter_attribute(schema, child_path(alert, keys::kWeekdays), day.raw(), AttributeKind::kSwitch);
  }
  for (const char* end : {keys::kPeriodFrom, keys::kPeriodTo}) {
    enter_text(schema, child_path(child_path(alert, end), keys::kHour), TextKind::kNumber);
    enter_text(schema, child_path(child_path(alert, end), keys::kMinute), TextKind::kNumber);
  }
  for (const char* name : {keys::kAll, keys::kNot}) {
    enter_attribute(schema, child_path(alert, keys::kUserNameList), name, AttributeKind::kSwitch);
  }
  enter_text(schema, child_path(alert, keys::kUserNames), TextKind::kValue);
  for (const char* pattern : {keys::kHostName, keys::kIpAddr}) {
    enter_text(schema, child_path(alert, pattern), TextKind::kValue);
    enter_attribute(schema, child_path(alert, pattern), keys::kNot, AttributeKind::kSwitch);
  }
  for (const char* pattern : {keys::kResult, keys::kShareName, keys::kPath}) {
    enter_text(schema, child_path(alert, pattern), TextKind::kValue);
    enter_attribute(schema, child_path(alert, pattern), keys::kNot, AttributeKind::kUnread);
    enter(schema, child_path(alert, pattern)).unread_reason = kUninvertible;
  }
  const std::string operation = child_path(alert, keys::kOperations);
  enter_attribute(schema, operation, keys::kType, AttributeKind::kText);
  enter_attribute(schema, operation, keys::kEnable, AttributeKind::kSwitch);
  enter_attribute(schema, operation, keys::kNot, AttributeKind::kUnread);
  enter(schema, operation).unread_reason = kUninvertible;
}

Schema build_settings_schema() {
  Schema schema;
  enter_text(schema, keys::kSharePath, TextKind::kValue);
  enter_attribute(schema, keys::kEventLogConf, keys::kEnable, AttributeKind::kSwitch);
  enter_attribute(schema, keys::kAccessLogConf, keys::kEnable, AttributeKind::kSwitch);
  enter_attribute(schema, keys::kShareList, keys::kAll, AttributeKind::kSwitch);
  enter_text(schema, keys::kShareNames, TextKind::kValue);
  enter_autodelete(schema, keys::kEventAutoDelete);
  enter_autodelete(schema, keys::kAccessAutoDelete);
  for (const char* limit :
       {keys::kClientTimeout, keys::kScriptTimeout, keys::kScriptReplyLimit, keys::kLockTimeout}) {
    enter_text(schema, limit, TextKind::kNumber);
  }
  enter_attribute(schema, keys::kSafeText, keys::kEnable, AttributeKind::kSwitch);
  enter_attribute(schema, keys::kSeal, keys::kEnable, AttributeKind::kSwitch);
  enter_alert(schema);
  return schema;
}

}  // namespace

const Schema& settings_schema() {
  static const Schema schema = build_settings_schema();
  return schema;
}

}  // namespace sarvik::check
