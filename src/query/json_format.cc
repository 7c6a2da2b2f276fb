// JSON output: one object per line, the fields named.
#include <cstdio>

#include "query/field_encoding.h"
#include "query/local_offset.h"
#include "query/record_format.h"

namespace sarvik::query {

namespace {

class JsonFormatter : public RecordFormatter {
 public:
  explicit JsonFormatter(const FormatSettings& settings)
      : settings(settings), names(column_names(settings.access_columns, false)) {}

  void header(std::string*) override {}

  void record(const MatchedRecord& record, std::string* out) override {
    *out += "{\"kind\":";
    append_json_string(out, settings.kind);
    *out += ",\"time\":";
    if (record.has_time) {
      *out += '"';
      append_iso_time(out, record.time, offset.seconds_east(record.time));
      *out += '"';
    } else {
      *out += "null";
    }
    *out += ",\"file\":";
    append_json_string(out, *record.file);
    char number[32];
    std::snprintf(number, sizeof number, ",\"line\":%llu",
                  static_cast<unsigned long long>(record.line));
    *out += number;
    std::string_view values[kMostColumns];
    size_t count = column_values(record, values);
    for (size_t i = 1; i < count; ++i) {  // the time is given above
      *out += ",\"";
      *out += names[i];
      *out += "\":";
      append_json_string(out, values[i]);
    }
    if (settings.with_rules) {
      *out += ",\"rules\":[";
      for (size_t i = 0; record.rules != nullptr && i < record.rules->size(); ++i) {
        if (i > 0) *out += ',';
        append_json_string(out, *(*record.rules)[i]);
      }
      *out += ']';
    }
    if (record.fault == ColumnFault::kTooFew) *out += ",\"columns\":\"too_few\"";
    if (record.fault == ColumnFault::kAmbiguous) *out += ",\"columns\":\"ambiguous\"";
    *out += "}\n";
  }

 private:
  FormatSettings settings;
  std::vector<std::string> names;
  LocalOffset offset;
};

}  // namespace

std::unique_ptr<RecordFormatter> make_json_formatter(const FormatSettings& settings) {
  return std::make_unique<JsonFormatter>(settings);
}

}  // namespace sarvik::query
