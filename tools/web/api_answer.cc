// The pieces of the API's answers: JSON bodies, errors, warnings, and the plan of a query.
#include "web/api_answer.h"

#include <time.h>

#include "query/field_encoding.h"
#include "query/settings_source.h"

namespace sarvik::web {

Response json_response(int status, std::string body) {
  Response response;
  response.status = status;
  response.content_type = kJsonType;
  response.body = std::move(body);
  return response;
}

Response error_response(int status, const std::string& message) {
  std::string body = "{\"error\":";
  query::append_json_string(&body, message);
  body += "}";
  return json_response(status, std::move(body));
}

void WarningList::tell(const std::string& message, bool /*error*/) {
  std::lock_guard<std::mutex> hold(mutex);
  held.push_back(message);
}

std::vector<std::string> WarningList::messages() {
  std::lock_guard<std::mutex> hold(mutex);
  return held;
}

void append_warnings(std::string* out, const std::vector<std::string>& warnings) {
  *out += "\"warnings\":[";
  for (size_t i = 0; i < warnings.size(); ++i) {
    if (i > 0) *out += ',';
    query::append_json_string(out, warnings[i]);
  }
  *out += ']';
}

void append_json_array(std::string* out, std::string_view lines) {
  *out += '[';
  bool first = true;
  while (!lines.empty()) {
    size_t end = lines.find('\n');
    std::string_view object = lines.substr(0, end);
    if (!object.empty()) {
      if (!first) *out += ',';
      out->append(object);
      first = false;
    }
    if (end == std::string_view::npos) break;
    lines.remove_prefix(end + 1);
  }
  *out += ']';
}

bool plan_query(const ConsoleSettings& settings, query::QueryOptions options,
                query::QueryPlan* plan, Response* refusal) {
  options.settings = settings.settings;
  options.root = settings.root;
  std::string error;
  if (options.root.empty()) {
    ConfigXml config;
    if (!query::load_settings(settings.settings, &config, &error) ||
        !query::settings_volume(config, settings.settings, &options.root, &error)) {
      *refusal = error_response(500, error);
      return false;
    }
  }
  if (!query::build_query_plan(options, time(nullptr), /*terminal=*/false, plan, &error)) {
    *refusal = error_response(400, error);
    return false;
  }
  return true;
}

}  // namespace sarvik::web
