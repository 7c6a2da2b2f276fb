// One line that passed every filter, as the output forms and the summaries receive it.
#ifndef SARVIK_QUERY_MATCHED_RECORD_H_
#define SARVIK_QUERY_MATCHED_RECORD_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "record/record_columns.h"
#include "record/record_time.h"

namespace sarvik::query {

// Views into the file's buffer and the scanner's state: valid only during the call that hands
// the record over.
struct MatchedRecord {
  const std::string* file = nullptr;  // relative to the volume: "accesslog/202403/access_...csv"
  std::string_view text;              // the whole line, without its CR LF
  uint64_t offset = 0;                // of the line's first byte in the file
  uint64_t line = 0;                  // its number in the file as grep -n counts; 0: not counted
  bool has_time = false;
  CivilTime time;
  // The columns of the line's kind: access and alert lines fill `access`, system lines `system`.
  const AccessColumns* access = nullptr;
  const SystemColumns* system = nullptr;
  ColumnFault fault = ColumnFault::kNone;
  // The names of the alert rules that fire for the line, when rules were asked for.
  const std::vector<const std::string*>* rules = nullptr;
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_MATCHED_RECORD_H_
