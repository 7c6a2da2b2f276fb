// Summaries instead of lines: a count, counts by fields, or a histogram over time.
#include "query/summary.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "query/display_text.h"
#include "query/field_encoding.h"

namespace sarvik::query {

namespace {

constexpr int64_t kSecondsPerHour = 3600;
constexpr int64_t kSecondsPerDay = 86400;
// The narrowest bar a histogram draws, whatever the terminal's width.
constexpr size_t kNarrowestBar = 10;

struct FieldName {
  const char* name;
  StatsField field;
  bool access;  // of access lines; else of system lines; day and hour are of both
  bool system;
};

constexpr FieldName kFieldNames[] = {
    {"user", StatsField::kUser, true, false},     {"host", StatsField::kHost, true, false},
    {"ip", StatsField::kIp, true, false},         {"op", StatsField::kOp, true, false},
    {"result", StatsField::kResult, true, false}, {"share", StatsField::kShare, true, false},
    {"day", StatsField::kDay, true, true},        {"hour", StatsField::kHour, true, true},
    {"text1", StatsField::kText1, false, true},   {"text2", StatsField::kText2, false, true},
    {"text3", StatsField::kText3, false, true},
};

const char* name_of(StatsField field) {
  for (const FieldName& entry : kFieldNames) {
    if (entry.field == field) return entry.name;
  }
  return "";
}

// "2024-03-04" or "2024-03-04 13:00" of the civil second `start`.
std::string bucket_label(int64_t start, bool hourly) {
  CivilTime time = civil_time_at(start);
  char text[32];
  if (hourly) {
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:00", time.year, time.month, time.day,
                  time.hour);
  } else {
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", time.year, time.month, time.day);
  }
  return text;
}

int64_t bucket_of(const CivilTime& time, bool hourly) {
  int64_t seconds = civil_seconds(time);
  int64_t size = hourly ? kSecondsPerHour : kSecondsPerDay;
  return seconds - ((seconds % size) + size) % size;
}

std::string_view field_value(const MatchedRecord& record, StatsField field, std::string* scratch) {
  switch (field) {
    case StatsField::kUser:
      return record.access->user;
    case StatsField::kHost:
      return record.access->host;
    case StatsField::kIp:
      return record.access->ipaddr;
    case StatsField::kOp:
      return record.access->operation;
    case StatsField::kResult:
      return record.access->result;
    case StatsField::kShare:
      return record.access->share;
    case StatsField::kText1:
      return record.system->text1;
    case StatsField::kText2:
      return record.system->text2;
    case StatsField::kText3:
      return record.system->text3;
    case StatsField::kDay:
    case StatsField::kHour:
      if (!record.has_time) return "";
      *scratch = bucket_label(bucket_of(record.time, field == StatsField::kHour),
                              field == StatsField::kHour);
      return *scratch;
  }
  return "";
}

// A key of several fields holds each as its length in four bytes and its bytes, so that any bytes
// in a field read back unchanged; a key of one field is that field.
void append_key_part(std::string* key, std::string_view part) {
  uint32_t length = static_cast<uint32_t>(part.size());
  key->append(reinterpret_cast<const char*>(&length), sizeof length);
  key->append(part);
}

std::vector<std::string_view> key_parts(std::string_view key, size_t fields) {
  if (fields == 1) return {key};
  std::vector<std::string_view> parts;
  while (key.size() >= sizeof(uint32_t)) {
    uint32_t length;
    std::memcpy(&length, key.data(), sizeof length);
    key.remove_prefix(sizeof length);
    parts.push_back(key.substr(0, length));
    key.remove_prefix(std::min<size_t>(length, key.size()));
  }
  return parts;
}

// Writes rows of named values in one output form; the table's rows go through a TableWriter.
class RowPrinter {
 public:
  RowPrinter(OutputForm form, bool terminal, TextWriter& out)
      : form(form), terminal(terminal), table(out), out(form == OutputForm::kTable ? table : out) {}

  void header(const std::vector<std::string>& names) {
    this->names = names;
    if (form == OutputForm::kJson) return;
    std::vector<std::string_view> values(names.begin(), names.end());
    row(values, {});
  }

  // `numbers` marks the values that are numbers, written without quotes in JSON.
  void row(const std::vector<std::string_view>& values, const std::vector<bool>& numbers) {
    text.clear();
    for (size_t i = 0; i < values.size(); ++i) {
      bool number = i < numbers.size() && numbers[i];
      switch (form) {
        case OutputForm::kTable:
          append_display_text(&text, values[i]);
          text += kTableFieldEnd;
          break;
        case OutputForm::kCsv:
          if (i > 0) text += ',';
          append_csv_field(&text, values[i], terminal, &scratch);
          break;
        case OutputForm::kTsv:
          if (i > 0) text += '\t';
          append_tsv_field(&text, values[i], terminal);
          break;
        case OutputForm::kJson:
          text += i == 0 ? "{" : ",";
          append_json_string(&text, names[i]);
          text += ':';
          if (number) {
            text.append(values[i]);
          } else {
            append_json_string(&text, values[i]);
          }
          break;
      }
    }
    text += form == OutputForm::kJson ? "}\n" : "\n";
    ok = out.write(text) && ok;
  }

  bool finish() { return out.flush() && ok; }

 private:
  OutputForm form;
  bool terminal;
  TableWriter table;
  TextWriter& out;
  std::vector<std::string> names;
  std::string text;
  std::string scratch;
  bool ok = true;
};

}  // namespace

size_t access_columns_counted(const SummaryRequest& request) {
  size_t columns = 0;
  if (request.kind != SummaryRequest::Kind::kStats) return columns;
  // The columns by their number from 1, as the fields are ordered.
  for (StatsField field : request.fields) {
    size_t number = field == StatsField::kUser     ? 2
                    : field == StatsField::kHost   ? 3
                    : field == StatsField::kIp     ? 4
                    : field == StatsField::kOp     ? 5
                    : field == StatsField::kResult ? 6
                    : field == StatsField::kShare  ? 7
                                                   : 1;
    columns = std::max(columns, number);
  }
  return columns;
}

bool counts_by_time(const SummaryRequest& request) {
  if (request.kind == SummaryRequest::Kind::kHistogram) return true;
  for (StatsField field : request.fields) {
    if (field == StatsField::kDay || field == StatsField::kHour) return true;
  }
  return false;
}

bool parse_stats_fields(const std::string& text, bool access_columns,
                        std::vector<StatsField>* fields, std::string* error) {
  size_t start = 0;
  do {
    size_t end = text.find(',', start);
    std::string name = text.substr(start, end == std::string::npos ? end : end - start);
    const FieldName* found = nullptr;
    for (const FieldName& entry : kFieldNames) {
      if (name == entry.name && (access_columns ? entry.access : entry.system)) found = &entry;
    }
    if (found == nullptr) {
      *error = "--stats: '" + name + "' is no field of these lines; use " +
               (access_columns ? "user, host, ip, op, result, share, day, hour"
                               : "text1, text2, text3, day, hour");
      return false;
    }
    fields->push_back(found->field);
    start = end == std::string::npos ? end : end + 1;
  } while (start != std::string::npos);
  return true;
}

bool Summary::take(const MatchedRecord& record) {
  ++counted;
  switch (request.kind) {
    case SummaryRequest::Kind::kCount:
      break;
    case SummaryRequest::Kind::kStats:
      if (request.fields.size() == 1) {
        // One field is its own key: no need to mark where it ends.
        by_fields.add(field_value(record, request.fields[0], &label));
        break;
      }
      key.clear();
      for (StatsField field : request.fields) {
        append_key_part(&key, field_value(record, field, &label));
      }
      by_fields.add(key);
      break;
    case SummaryRequest::Kind::kHistogram:
      if (record.has_time) {
        ++buckets[bucket_of(record.time, request.hourly)];
      } else {
        ++timeless;
      }
      break;
  }
  return true;
}

void Summary::merge(const Summary& other) {
  counted += other.counted;
  timeless += other.timeless;
  by_fields.merge(other.by_fields);
  for (const auto& [start, lines] : other.buckets) buckets[start] += lines;
}

bool Summary::print(OutputForm form, bool terminal, size_t width, TextWriter& out) const {
  switch (request.kind) {
    case SummaryRequest::Kind::kCount:
      return out.write(std::to_string(counted) + "\n") && out.flush();
    case SummaryRequest::Kind::kStats:
      return print_stats(form, terminal, out);
    case SummaryRequest::Kind::kHistogram:
      return print_histogram(form, terminal, width, out);
  }
  return true;
}

bool Summary::print_stats(OutputForm form, bool terminal, TextWriter& out) const {
  std::vector<const std::pair<std::string, uint64_t>*> order;
  for (const auto& entry : by_fields.entries()) order.push_back(&entry);
  // The largest counts first; equal counts in the order of their fields' texts.
  size_t fields = request.fields.size();
  std::sort(order.begin(), order.end(), [&](const auto* a, const auto* b) {
    return a->second != b->second ? a->second > b->second
                                  : key_parts(a->first, fields) < key_parts(b->first, fields);
  });
  if (request.top != 0 && order.size() > request.top) order.resize(request.top);

  RowPrinter printer(form, terminal, out);
  std::vector<std::string> names{"count"};
  for (StatsField field : request.fields) names.push_back(name_of(field));
  printer.header(names);
  size_t digits = order.empty() ? 1 : std::to_string(order.front()->second).size();
  std::vector<bool> numbers{true};
  for (const auto* entry : order) {
    std::string count = std::to_string(entry->second);
    if (form == OutputForm::kTable) count.insert(0, digits - count.size(), ' ');
    std::vector<std::string_view> values{count};
    for (std::string_view part : key_parts(entry->first, fields)) values.push_back(part);
    printer.row(values, numbers);
  }
  return printer.finish();
}

bool Summary::print_histogram(OutputForm form, bool terminal, size_t width, TextWriter& out) const {
  RowPrinter printer(form, terminal, out);
  std::string bucket_name = request.hourly ? "hour" : "day";
  if (form != OutputForm::kTable) printer.header({bucket_name, "count"});
  if (buckets.empty()) return printer.finish();
  int64_t first = INT64_MAX, last = INT64_MIN;
  uint64_t most = 0;
  for (const auto& [start, lines] : buckets) {
    first = std::min(first, start);
    last = std::max(last, start);
    most = std::max(most, lines);
  }
  int64_t step = request.hourly ? kSecondsPerHour : kSecondsPerDay;
  size_t digits = std::to_string(most).size();
  size_t label_width = bucket_label(first, request.hourly).size();
  size_t used = label_width + 2 + digits + 2;
  size_t bar_width = width > used + kNarrowestBar ? width - used : kNarrowestBar;
  // Every bucket from the first to the last, the empty ones too, so that a gap shows.
  for (int64_t start = first; start <= last; start += step) {
    auto found = buckets.find(start);
    uint64_t lines = found == buckets.end() ? 0 : found->second;
    std::string label = bucket_label(start, request.hourly);
    std::string count = std::to_string(lines);
    if (form != OutputForm::kTable) {
      printer.row({label, count}, {false, true});
      continue;
    }
    size_t bar = static_cast<size_t>((lines * bar_width + most - 1) / most);
    std::string line = label + "  " + std::string(digits - count.size(), ' ') + count + "  " +
                       std::string(bar, '#') + "\n";
    if (!out.write(line)) return false;
  }
  return printer.finish();
}

}  // namespace sarvik::query
