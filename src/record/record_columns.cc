// Reading a record line of a log back into its columns.
#include "record/record_columns.h"

#include <cstring>

#include "record/record_words.h"

namespace sarvik {

namespace {

constexpr char kComma = kFieldSeparator[0];

// Splits off the column at the front of `rest`: the text up to its first comma, which is dropped
// with it. Without a comma the whole rest is the column and `rest` becomes empty with `found`
// false.
std::string_view next_column(std::string_view* rest, bool* found) {
  const void* comma = std::memchr(rest->data(), kComma, rest->size());
  if (comma == nullptr) {
    std::string_view column = *rest;
    *rest = rest->substr(rest->size());
    *found = false;
    return column;
  }
  size_t length = static_cast<const char*>(comma) - rest->data();
  std::string_view column = rest->substr(0, length);
  rest->remove_prefix(length + 1);
  *found = true;
  return column;
}

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool ends_with(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

}  // namespace

AccessColumns read_access_columns(std::string_view line) {
  AccessColumns columns;
  std::string_view* fields[] = {&columns.time,      &columns.user,   &columns.host, &columns.ipaddr,
                                &columns.operation, &columns.result, &columns.share};
  std::string_view rest = line;
  bool found = true;
  for (std::string_view* field : fields) {
    if (!found) {
      columns.fault = ColumnFault::kTooFew;
      return columns;
    }
    *field = next_column(&rest, &found);
  }
  if (!found) {
    columns.fault = ColumnFault::kTooFew;
    return columns;
  }
  columns.path = rest;
  if (!is_result_word(columns.result)) columns.fault = ColumnFault::kAmbiguous;
  return columns;
}

SystemColumns read_system_columns(std::string_view line) {
  SystemColumns columns;
  std::string_view rest = line;
  bool found = true;
  columns.time = next_column(&rest, &found);
  columns.texts = rest;
  if (found) columns.text1 = next_column(&rest, &found);
  if (found) columns.text2 = next_column(&rest, &found);
  if (!found) {
    columns.fault = ColumnFault::kTooFew;
    return columns;
  }
  columns.text3 = rest;
  if (std::memchr(rest.data(), kComma, rest.size()) != nullptr) {
    columns.fault = ColumnFault::kAmbiguous;
  }
  return columns;
}

bool is_result_word(std::string_view text) {
  if (text == kResultOkWord || text == kResultFailWord) return true;
  if (!starts_with(text, kResultFailWord)) return false;
  std::string_view reason = text.substr(std::strlen(kResultFailWord));
  return reason.size() >= std::strlen(kReasonOpen) + std::strlen(kReasonClose) &&
         starts_with(reason, kReasonOpen) && ends_with(reason, kReasonClose);
}

std::string_view brief_result(std::string_view logged) {
  if (logged == kResultOkWord) return kResultOkWord;
  if (is_result_word(logged)) return kResultFailWord;
  return logged;
}

}  // namespace sarvik
