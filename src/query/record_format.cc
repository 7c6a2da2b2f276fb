// The output forms of matching lines: the rows of the table, CSV and TSV.
#include "query/record_format.h"

#include "query/display_text.h"
#include "query/field_encoding.h"

namespace sarvik::query {

// Defined in json_format.cc.
std::unique_ptr<RecordFormatter> make_json_formatter(const FormatSettings& settings);

namespace {

// One row of fields per line, the rules (when asked) behind the other columns; in the table the
// path stays the last column, as it is the one of unbounded width.
class RowFormatter : public RecordFormatter {
 public:
  explicit RowFormatter(const FormatSettings& settings) : settings(settings) {}

  void header(std::string* out) override {
    std::vector<std::string> names = column_names(settings.access_columns, settings.with_rules);
    if (settings.form == OutputForm::kTable && settings.with_rules) {
      std::string rules = names.back();  // before "path"
      names.pop_back();
      names.insert(names.end() - 1, rules);
    }
    begin_row();
    for (const std::string& name : names) field(name, out);
    end_row(out);
  }

  void record(const MatchedRecord& record, std::string* out) override {
    std::string_view values[kMostColumns];
    size_t count = column_values(record, values);
    begin_row();
    bool rules_before_last = settings.form == OutputForm::kTable && settings.with_rules;
    for (size_t i = 0; i < count; ++i) {
      if (rules_before_last && i + 1 == count) rules_field(record, out);
      field(values[i], out);
    }
    if (settings.with_rules && !rules_before_last) rules_field(record, out);
    end_row(out);
  }

 private:
  void begin_row() { first = true; }

  void rules_field(const MatchedRecord& record, std::string* out) {
    join_rule_names(record, &rule_names);
    field(rule_names, out);
  }

  void field(std::string_view text, std::string* out) {
    switch (settings.form) {
      case OutputForm::kCsv:
        if (!first) *out += ',';
        append_csv_field(out, text, settings.terminal, &scratch);
        break;
      case OutputForm::kTsv:
        if (!first) *out += '\t';
        append_tsv_field(out, text, settings.terminal);
        break;
      default:  // the table: every field ends in the field mark
        append_display_text(out, text);
        *out += kTableFieldEnd;
        break;
    }
    first = false;
  }

  void end_row(std::string* out) {
    *out += settings.form == OutputForm::kTable ? kTableRowEnd : '\n';
  }

  FormatSettings settings;
  bool first = true;
  std::string scratch;
  std::string rule_names;
};

}  // namespace

std::unique_ptr<RecordFormatter> make_record_formatter(const FormatSettings& settings) {
  if (settings.form == OutputForm::kJson) return make_json_formatter(settings);
  return std::make_unique<RowFormatter>(settings);
}

std::vector<std::string> column_names(bool access_columns, bool with_rules) {
  std::vector<std::string> names =
      access_columns
          ? std::vector<std::string>{"time", "user", "host", "ip", "op", "result", "share", "path"}
          : std::vector<std::string>{"time", "text1", "text2", "text3"};
  if (with_rules) names.push_back("rules");
  return names;
}

size_t column_values(const MatchedRecord& record, std::string_view (&values)[kMostColumns]) {
  if (record.access != nullptr) {
    const AccessColumns& c = *record.access;
    values[0] = c.time;
    values[1] = c.user;
    values[2] = c.host;
    values[3] = c.ipaddr;
    values[4] = c.operation;
    values[5] = c.result;
    values[6] = c.share;
    values[7] = c.path;
    return 8;
  }
  const SystemColumns& c = *record.system;
  values[0] = c.time;
  values[1] = c.text1;
  values[2] = c.text2;
  values[3] = c.text3;
  return 4;
}

void join_rule_names(const MatchedRecord& record, std::string* out) {
  out->clear();
  if (record.rules == nullptr) return;
  for (const std::string* name : *record.rules) {
    if (!out->empty()) *out += ';';
    *out += *name;
  }
}

}  // namespace sarvik::query
