// The output forms of matching lines: the terminal's table, CSV, TSV and JSON.
#ifndef SARVIK_QUERY_RECORD_FORMAT_H_
#define SARVIK_QUERY_RECORD_FORMAT_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "query/matched_record.h"

namespace sarvik::query {

enum class OutputForm { kTable, kCsv, kTsv, kJson };

// Between the fields of a table row, and at its end, on the way to the TableWriter that aligns
// the rows. Fields of a table are made safe for a terminal, so neither byte occurs in them.
inline constexpr char kTableFieldEnd = '\x1f';
inline constexpr char kTableRowEnd = '\n';

struct FormatSettings {
  OutputForm form = OutputForm::kCsv;
  const char* kind = "access";  // the log's name in JSON: "access", "system", "alert"
  bool access_columns = true;   // access and alert lines; false: system lines
  bool with_rules = false;      // a column of the rules that fired
  bool terminal = false;        // standard output is a terminal: escape what it would act on
};

// Turns matching lines into the text of one output form. One formatter per thread.
class RecordFormatter {
 public:
  virtual ~RecordFormatter() = default;
  // What stands before the first line: the header row of the table, CSV and TSV.
  virtual void header(std::string* out) = 0;
  virtual void record(const MatchedRecord& record, std::string* out) = 0;
};

std::unique_ptr<RecordFormatter> make_record_formatter(const FormatSettings& settings);

// The names of the columns of a line kind in CSV and TSV, time first; "rules" last when asked.
std::vector<std::string> column_names(bool access_columns, bool with_rules);

// The most columns a line kind has.
inline constexpr size_t kMostColumns = 8;

// The record's columns in the order of column_names, rules left out, into `values`; returns
// their number.
size_t column_values(const MatchedRecord& record, std::string_view (&values)[kMostColumns]);

// The names of the fired rules in one field, separated by ";", into `out` (emptied first).
void join_rule_names(const MatchedRecord& record, std::string* out);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_RECORD_FORMAT_H_
