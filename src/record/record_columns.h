// Reading a record line of a log back into its columns.
#ifndef SARVIK_RECORD_RECORD_COLUMNS_H_
#define SARVIK_RECORD_RECORD_COLUMNS_H_

#include <cstddef>
#include <string_view>

namespace sarvik {

// Fields are never quoted in a log, so a comma inside a field gives its line more columns than
// the record had. A reader cannot always undo that; it says how far it could.
enum class ColumnFault {
  kNone,      // the columns are the record's fields
  kTooFew,    // fewer columns than the record has: the missing fields read as empty
  kAmbiguous  // more columns than fields, and where the extra commas belong cannot be told
};

inline constexpr size_t kAccessColumnCount = 8;
inline constexpr size_t kSystemColumnCount = 4;

// The columns of an access line (and of an alert line, which is an access line), as views into
// the line, which must outlive them. The path is the last column, so it takes everything behind
// the seventh comma: commas in a path are restored. A line whose sixth column is no result word
// has a comma in a field before the path (or is no record at all): its fields are read as the
// first seven commas split them and the line is marked kAmbiguous. A comma in the share cannot be
// noticed: it reads as part of the path.
struct AccessColumns {
  std::string_view time;
  std::string_view user;
  std::string_view host;
  std::string_view ipaddr;
  std::string_view operation;
  std::string_view result;  // as logged: "ok", or "fail" with the reason in parentheses
  std::string_view share;
  std::string_view path;
  ColumnFault fault = ColumnFault::kNone;
};

// The columns of a system line. The three texts come from the client and may each hold commas;
// when the line has more than four columns the third text takes the rest of the line and the
// line is marked kAmbiguous, since which text held the comma cannot be told. `texts` is always
// everything behind the time and its comma, the three texts as they were joined.
struct SystemColumns {
  std::string_view time;
  std::string_view text1;
  std::string_view text2;
  std::string_view text3;
  std::string_view texts;
  ColumnFault fault = ColumnFault::kNone;
};

// `line` without its line end. A reader that needs only the first columns may ask for just
// `columns` of them: the others stay empty, and the line is marked kAmbiguous only when the
// result column (the sixth) was read.
AccessColumns read_access_columns(std::string_view line, size_t columns = kAccessColumnCount);
SystemColumns read_system_columns(std::string_view line);

// Whether `text` is a result column as the service writes it: "ok", "fail", or "fail" with a
// reason in parentheses.
bool is_result_word(std::string_view text);
// The result as the alert rules see it: "ok" or "fail" for a result word, anything else as it
// stands.
std::string_view brief_result(std::string_view logged);

}  // namespace sarvik

#endif  // SARVIK_RECORD_RECORD_COLUMNS_H_
