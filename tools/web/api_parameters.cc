// The query parameters of the API: sarvik-log's long option names, read into its options.
#include "web/api_parameters.h"

#include <algorithm>
#include <cstring>

namespace sarvik::web {

namespace {

using query::FilterValues;

// The filters of one value each; a value of one of them repeated would have to win silently.
bool set_once(const std::string& name, const std::string& value, std::string* field,
              std::vector<std::string>* seen, std::string* error) {
  if (std::find(seen->begin(), seen->end(), name) != seen->end()) {
    *error = "'" + name + "' is given more than once";
    return false;
  }
  seen->push_back(name);
  *field = value;
  return true;
}

bool read_flag(const std::string& name, const std::string& value, bool* flag, std::string* error) {
  if (value == "1" || value == "true") {
    *flag = true;
    return true;
  }
  *error = "'" + name + "' is a flag: 1 or true, not '" + value + "'";
  return false;
}

bool read_count(const std::string& name, const std::string& value, uint64_t* number,
                std::string* error) {
  uint64_t result = 0;
  bool digits = !value.empty() && value.size() <= 19;
  for (char c : value) digits = digits && c >= '0' && c <= '9';
  if (digits) {
    for (char c : value) result = result * 10 + static_cast<uint64_t>(c - '0');
  }
  if (!digits || result == 0) {
    *error = "'" + name + "' is a positive number, not '" + value + "'";
    return false;
  }
  *number = result;
  return true;
}

bool one_of(const std::string& name, const std::string& value,
            std::initializer_list<const char*> words, std::string* error) {
  std::string list;
  for (const char* word : words) {
    if (value == word) return true;
    list += list.empty() ? "" : ", ";
    list += word;
  }
  *error = "'" + name + "' is one of " + list + ", not '" + value + "'";
  return false;
}

// The filter options that take a value each time they are given.
std::vector<std::string>* repeated_filter(const std::string& name, ApiQuery* query) {
  FilterValues& f = query->options.filters;
  if (name == "user") return &f.users;
  if (name == "host") return &f.hosts;
  if (name == "ip") return &f.addresses;
  if (name == "share") return &f.shares;
  if (name == "op") return &f.operations;
  if (name == "result") return &f.results;
  if (name == "path") return &f.paths;
  if (name == "text") return &f.texts;
  if (name == "grep") return &f.greps;
  if (name == "rule") return &query->options.rule_names;
  return nullptr;
}

// Reads one parameter. 1: read; 0: the endpoint does not take it; -1: a bad value.
int read_parameter(const std::string& name, const std::string& value, unsigned accepted,
                   ApiQuery* query, std::vector<std::string>* seen, std::string* error) {
  query::QueryOptions& o = query->options;
  bool filters = (accepted & kFilterParameters) != 0;
  auto status = [](bool ok) { return ok ? 1 : -1; };
  if (name == "kind" && (filters || (accepted & kKindParameter) != 0)) {
    return status(set_once(name, value, &o.kind, seen, error) &&
                  one_of(name, value, {"access", "system", "alert"}, error));
  }
  if (filters) {
    if (name == "since") return status(set_once(name, value, &o.since, seen, error));
    if (name == "until") return status(set_once(name, value, &o.until, seen, error));
    if (name == "rules") return status(read_flag(name, value, &o.all_rules, error));
    if (std::vector<std::string>* values = repeated_filter(name, query)) {
      values->push_back(value);
      return 1;
    }
  }
  std::string single;
  if (name == "limit" && (accepted & kLimitParameter) != 0) {
    query->limit_given = true;
    return status(set_once(name, value, &single, seen, error) &&
                  read_count(name, value, &o.limit, error));
  }
  if (name == "reverse" && (accepted & kReverseParameter) != 0) {
    return status(read_flag(name, value, &o.reverse, error));
  }
  if (name == "cursor" && (accepted & kCursorParameter) != 0) {
    return status(set_once(name, value, &query->cursor, seen, error));
  }
  if ((accepted & kStatsParameters) != 0) {
    if (name == "stats") return status(set_once(name, value, &o.stats, seen, error));
    if (name == "top") {
      return status(set_once(name, value, &single, seen, error) &&
                    read_count(name, value, &o.top, error));
    }
  }
  if (name == "histogram" && (accepted & kHistogramParameter) != 0) {
    return status(set_once(name, value, &query->histogram, seen, error) &&
                  one_of(name, value, {"day", "hour", "auto"}, error));
  }
  if (name == "output" && (accepted & kOutputParameter) != 0) {
    return status(set_once(name, value, &o.output, seen, error) &&
                  one_of(name, value, {"csv", "tsv", "json"}, error));
  }
  if ((accepted & kLineParameters) != 0) {
    if (name == "file") return status(set_once(name, value, &query->file, seen, error));
    if (name == "line") {
      return status(set_once(name, value, &single, seen, error) &&
                    read_count(name, value, &query->line, error));
    }
  }
  return 0;
}

uint64_t fnv1a(uint64_t hash, const std::string& text) {
  for (unsigned char c : text) {
    hash ^= c;
    hash *= 0x100000001b3ULL;
  }
  return hash;
}

}  // namespace

bool read_api_query(const Parameters& parameters, unsigned accepted, ApiQuery* query,
                    std::string* error) {
  std::vector<std::string> seen;
  for (const auto& [name, value] : parameters) {
    if (name == "root" || name == "settings") {
      *error =
          "'" + name + "' is not a parameter: the log volume and the settings are the server's";
      return false;
    }
    int read = read_parameter(name, value, accepted, query, &seen, error);
    if (read < 0) return false;
    if (read == 0) {
      *error = "unknown parameter '" + name + "'";
      return false;
    }
  }
  return true;
}

uint64_t query_fingerprint(const Parameters& parameters) {
  Parameters deciding;
  for (const auto& parameter : parameters) {
    if (parameter.first != "cursor" && parameter.first != "limit") deciding.push_back(parameter);
  }
  std::sort(deciding.begin(), deciding.end());
  uint64_t hash = 0xcbf29ce484222325ULL;
  for (const auto& [name, value] : deciding) {
    // Lengths first, so that no two lists of texts run together alike.
    hash = fnv1a(hash, std::to_string(name.size()) + ":" + name + std::to_string(value.size()) +
                           ":" + value);
  }
  return hash;
}

}  // namespace sarvik::web
