// The cursor of a page of lines: where the next page begins, for the same query only.
#include "web/cursor.h"

#include <cinttypes>
#include <cstdio>
#include <vector>

#include "web/base64url.h"

namespace sarvik::web {

namespace {

// The form of a cursor's text, so that a later form can tell an old cursor.
constexpr char kVersion[] = "1";
constexpr size_t kMonthDigits = 6;
// A cursor is never longer than this; a longer text is refused before it is read.
constexpr size_t kLongestCursor = 512;

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t end; (end = text.find(separator, start)) != std::string::npos; start = end + 1) {
    parts.push_back(text.substr(start, end - start));
  }
  parts.push_back(text.substr(start));
  return parts;
}

bool read_decimal(const std::string& text, int base, uint64_t* value) {
  if (text.empty() || text.size() > 20) return false;
  uint64_t result = 0;
  for (char c : text) {
    int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 99;
    if (digit >= base) return false;
    uint64_t next = result * static_cast<uint64_t>(base) + static_cast<uint64_t>(digit);
    if (next / static_cast<uint64_t>(base) != result) return false;  // overflow
    result = next;
  }
  *value = result;
  return true;
}

bool is_month(const std::string& text) {
  if (text.size() != kMonthDigits) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// A file's name as a directory listing gives it: no separator, no NUL, not a dot entry.
bool is_file_name(const std::string& text) {
  return !text.empty() && text != "." && text != ".." &&
         text.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

}  // namespace

std::string encode_cursor(const query::LogPosition& position, uint64_t fingerprint) {
  char numbers[80];
  std::snprintf(numbers, sizeof numbers, "%" PRIu64 "/%" PRIu64 "/%016" PRIx64, position.at.offset,
                position.at.next_line, fingerprint);
  return base64url_encode(std::string(kVersion) + "/" + position.month + "/" + position.name + "/" +
                          numbers);
}

bool decode_cursor(const std::string& cursor, uint64_t fingerprint, query::LogPosition* position,
                   std::string* error) {
  std::string text;
  std::vector<std::string> parts;
  if (cursor.size() <= kLongestCursor && base64url_decode(cursor, &text)) parts = split(text, '/');
  uint64_t offset = 0, line = 0, made_for = 0;
  if (parts.size() != 6 || parts[0] != kVersion || !is_month(parts[1]) || !is_file_name(parts[2]) ||
      !read_decimal(parts[3], 10, &offset) || !read_decimal(parts[4], 10, &line) ||
      parts[5].size() != 16 || !read_decimal(parts[5], 16, &made_for)) {
    *error = "'cursor' cannot be read: take it as the answer before gave it";
    return false;
  }
  if (made_for != fingerprint) {
    *error = "'cursor' belongs to another query: ask the first page of this one again";
    return false;
  }
  position->month = parts[1];
  position->name = parts[2];
  position->at = query::FileProgress{offset, line, false};
  return true;
}

}  // namespace sarvik::web
