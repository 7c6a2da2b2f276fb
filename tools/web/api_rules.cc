// GET /api/rules: the settings' alert rules, or what each of them makes of one logged line.
#include <errno.h>
#include <string.h>

#include <exception>

#include "check/event_dry_run.h"
#include "logstore/log_kinds.h"
#include "query/field_encoding.h"
#include "query/line_lookup.h"
#include "query/local_offset.h"
#include "query/log_tree.h"
#include "query/settings_source.h"
#include "record/record_columns.h"
#include "web/api.h"
#include "web/api_answer.h"

namespace sarvik::web {

namespace {

constexpr size_t kMonthDigits = 6;

// The rules of the loaded settings with their lines.
Response rule_list(const std::string& settings_path, ConfigXml& config) {
  std::string body = "{\"settings\":";
  query::append_json_string(&body, settings_path);
  body += ",\"rules\":[";
  const std::vector<AlertInfo>& rules = config.get_alert_list();
  std::vector<int> lines = check::rule_lines(config);
  for (size_t i = 0; i < rules.size(); ++i) {
    body += i == 0 ? "{\"name\":" : ",{\"name\":";
    query::append_json_string(&body, rules[i].name);
    body += ",\"line\":" + std::to_string(i < lines.size() ? lines[i] : 0) + "}";
  }
  body += "],\"warnings\":[]}";
  return json_response(200, std::move(body));
}

// Reads "accesslog/202403/access_20240304000000.csv" into its log, month and name. False with
// the message of a bad request for anything that is no file of the access or alert log.
bool read_log_file(const std::string& file, const LogKind** kind, std::string* month,
                   std::string* name, std::string* error) {
  size_t first = file.find('/');
  size_t second = first == std::string::npos ? first : file.find('/', first + 1);
  if (second != std::string::npos && file.find('/', second + 1) == std::string::npos) {
    std::string subdir = file.substr(0, first);
    *month = file.substr(first + 1, second - first - 1);
    *name = file.substr(second + 1);
    *kind = subdir == kAccessLog.subdir  ? &kAccessLog
            : subdir == kAlertLog.subdir ? &kAlertLog
                                         : nullptr;
    bool month_digits = month->size() == kMonthDigits &&
                        month->find_first_not_of("0123456789") == std::string::npos;
    if (subdir == kSystemLog.subdir) {
      *error = "'file': the rules try access and alert lines, not system lines";
      return false;
    }
    if (*kind != nullptr && month_digits && name->size() > strlen((*kind)->prefix) &&
        name->compare(0, strlen((*kind)->prefix), (*kind)->prefix) == 0 &&
        name->size() > strlen((*kind)->suffix) &&
        name->compare(name->size() - strlen((*kind)->suffix), strlen((*kind)->suffix),
                      (*kind)->suffix) == 0) {
      return true;
    }
  }
  *error =
      "'file' is no log file of the volume: accesslog/YYYYMM/access_....csv or "
      "alertlog/YYYYMM/alert_....csv";
  return false;
}

void append_field(std::string* out, const char* name, std::string_view value) {
  *out += ",\"";
  *out += name;
  *out += "\":";
  query::append_json_string(out, value);
}

}  // namespace

Response answer_rules(ApiContext& context, const Request& request) {
  const Parameters& parameters = request.parameters;
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters, kLineParameters, &asked, &error)) {
    return error_response(400, error);
  }
  if (asked.file.empty() != (asked.line == 0)) {
    return error_response(400, "'file' and 'line' go together: the line of a log file");
  }
  const std::string& settings_path = context.settings.settings;
  ConfigXml config;
  if (!query::load_settings(settings_path, &config, &error)) return error_response(500, error);
  try {
    if (asked.file.empty()) return rule_list(settings_path, config);

    const LogKind* kind = nullptr;
    std::string month, name;
    if (!read_log_file(asked.file, &kind, &month, &name, &error)) {
      return error_response(400, error);
    }
    std::string root = context.settings.root;
    if (root.empty() && !query::settings_volume(config, settings_path, &root, &error)) {
      return error_response(500, error);
    }
    query::LogTree tree(root, *kind);
    if (!tree.open(&error)) return error_response(500, "cannot read the log volume " + error);
    std::string why;
    query::Descriptor file = tree.open_file(month, name, &why);
    if (!file.valid()) {
      if (errno == ENOENT) return error_response(404, asked.file + ": no such file");
      return error_response(400, asked.file + ": " + why);
    }
    std::string record;
    int found = query::read_record_at_line(file.get(), asked.line, &record);
    if (found < 0) return error_response(500, asked.file + ": " + strerror(errno));
    if (found == 0) {
      return error_response(404, asked.file + ": no line " + std::to_string(asked.line));
    }

    AccessColumns columns = read_access_columns(record);
    AccessFields fields;
    fields.user.assign(columns.user);
    fields.host.assign(columns.host);
    fields.ipaddr.assign(columns.ipaddr);
    fields.operation.assign(columns.operation);
    fields.result.assign(brief_result(columns.result));
    fields.share.assign(columns.share);
    fields.path.assign(columns.path);
    CivilTime time;
    bool has_time = read_record_time(record, &time);

    std::vector<std::string> warnings;
    if (columns.fault != ColumnFault::kNone) {
      warnings.push_back(
          "the line's columns are in doubt: a comma inside a field moves the "
          "columns behind it");
    }
    std::string stop = check::reason_no_rule_is_tried(config, fields.share);
    if (!stop.empty()) {
      warnings.push_back("with these settings the service tries no rule for this line: " + stop);
    }

    std::string body = "{\"file\":";
    query::append_json_string(&body, asked.file);
    body += ",\"line\":" + std::to_string(asked.line) + ",\"event\":{\"time\":";
    struct tm local = {};
    if (has_time) {
      local = broken_down_time(time);
      query::LocalOffset offset;
      body += '"';
      query::append_iso_time(&body, time, offset.seconds_east(time));
      body += "\",\"weekday\":";
      query::append_json_string(&body, check::weekday_name(config, local));
    } else {
      body += "null,\"weekday\":null";
    }
    append_field(&body, "user", fields.user);
    append_field(&body, "host", fields.host);
    append_field(&body, "ip", fields.ipaddr);
    append_field(&body, "op", fields.operation);
    append_field(&body, "result", fields.result);
    append_field(&body, "share", fields.share);
    append_field(&body, "path", fields.path);
    body += "},\"rules\":[";
    std::vector<check::RuleVerdict> verdicts;
    if (has_time) {
      verdicts = check::try_rules(config, local, fields);
    } else {
      // A line without a readable time has no moment for the period test: no rule fires.
      const std::vector<AlertInfo>& rules = config.get_alert_list();
      std::vector<int> lines = check::rule_lines(config);
      for (size_t i = 0; i < rules.size(); ++i) {
        verdicts.push_back(check::RuleVerdict{rules[i].name, i < lines.size() ? lines[i] : 0, false,
                                              "period: the line has no readable time"});
      }
    }
    for (size_t i = 0; i < verdicts.size(); ++i) {
      body += i == 0 ? "{\"name\":" : ",{\"name\":";
      query::append_json_string(&body, verdicts[i].name);
      body += ",\"line\":" + std::to_string(verdicts[i].line);
      body += verdicts[i].fires ? ",\"fires\":true" : ",\"fires\":false";
      if (!verdicts[i].fires) {
        body += ",\"reason\":";
        query::append_json_string(&body, verdicts[i].reason);
      }
      body += '}';
    }
    body += "],";
    append_warnings(&body, warnings);
    body += '}';
    return json_response(200, std::move(body));
  } catch (const std::exception& failure) {
    return error_response(500, settings_path + ": " + failure.what());
  }
}

}  // namespace sarvik::web
