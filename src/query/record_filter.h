// The filters of the command line on the columns of a line and on the whole line.
#ifndef SARVIK_QUERY_RECORD_FILTER_H_
#define SARVIK_QUERY_RECORD_FILTER_H_

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/address_filter.h"
#include "query/literal_finder.h"
#include "query/text_pattern.h"
#include "record/record_columns.h"

namespace re2 {
class RE2;
}

namespace sarvik::query {

// The values given to each filter option. Values of one option are alternatives: any may match.
// Different options must all hold.
struct FilterValues {
  std::vector<std::string> users;
  std::vector<std::string> hosts;
  std::vector<std::string> shares;
  std::vector<std::string> addresses;
  std::vector<std::string> operations;
  std::vector<std::string> results;
  std::vector<std::string> paths;
  std::vector<std::string> texts;
  std::vector<std::string> greps;
};

// The filters, compiled once. Immutable after build; any thread may test lines with it.
class RecordFilter {
 public:
  RecordFilter();
  ~RecordFilter();
  RecordFilter(RecordFilter&&) noexcept;
  RecordFilter& operator=(RecordFilter&&) noexcept;

  // Compiles `values`; false with a reason in `error` for a value that is no valid address,
  // result or regular expression.
  bool build(const FilterValues& values, std::string* error);

  // Whether the columns pass the field filters of their kind.
  bool accepts(const AccessColumns& columns) const;
  bool accepts(const SystemColumns& columns) const;
  // Whether the whole line passes --grep.
  bool accepts_line(std::string_view line) const;

  // A string that every matching line contains, to look for in a whole block before any line is
  // read: the one --grep when it is a plain string, or what its expression requires, else the
  // one --path when that is a plain string (without regard to case). Nothing when there is no
  // such string.
  const LiteralFinder* needle() const;

  bool has_field_filters() const;
  // How many leading columns of an access line the field filters read: up to the last column
  // they test, and at least to the result, which tells a line whose columns moved. 0 without
  // field filters.
  size_t access_columns_needed() const;

 private:
  std::vector<std::string> users;
  std::vector<std::string> hosts;
  std::vector<std::string> shares;
  std::vector<AddressFilter> addresses;
  std::vector<TextPattern> operations;
  bool want_ok = false;
  bool want_fail = false;
  std::vector<TextPattern> paths;
  std::vector<TextPattern> texts;
  std::unique_ptr<re2::RE2> grep;
  std::optional<LiteralFinder> grep_literal;   // the one --grep, a plain string
  std::optional<LiteralFinder> grep_required;  // what the one --grep expression needs
};

// Whether a --grep value holds no character that is special in a regular expression, so that it
// can be searched for as it stands.
bool is_plain_string(const std::string& pattern);

// The longest run of plain characters that every match of the regular expression contains, or
// empty when that cannot be told simply: runs are taken only outside groups and classes, in an
// expression without a '|' outside groups and without flags; a character that a quantifier
// makes optional ends its run before it.
std::string required_literal(const std::string& pattern);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_RECORD_FILTER_H_
