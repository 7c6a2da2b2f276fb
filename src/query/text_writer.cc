// Where the output goes: standard output directly, or through the table's aligner.
#include "query/text_writer.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>

#include "query/display_text.h"
#include "query/record_format.h"

namespace sarvik::query {

namespace {

// The rows whose widths set the table's columns.
constexpr size_t kRowsForWidths = 1000;
// A column grows no wider than this for the sake of one long field.
constexpr size_t kWidestColumn = 40;

}  // namespace

bool FdWriter::write(std::string_view text) {
  while (!broken && !text.empty()) {
    ssize_t n = ::write(fd, text.data(), text.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      broken = true;
      break;
    }
    text.remove_prefix(static_cast<size_t>(n));
  }
  return !broken;
}

bool TableWriter::write(std::string_view text) {
  bool ok = true;
  while (!text.empty()) {
    size_t end = text.find(kTableRowEnd);
    if (end == std::string_view::npos) {
      pending.append(text);
      break;
    }
    pending.append(text.substr(0, end));
    text.remove_prefix(end + 1);
    if (settled) {
      ok = write_row(pending) && ok;
    } else {
      held.push_back(pending);
      if (held.size() >= kRowsForWidths) ok = settle() && ok;
    }
    pending.clear();
  }
  return ok;
}

bool TableWriter::settle() {
  if (settled) return true;
  settled = true;
  for (const std::string& row : held) {
    size_t column = 0, start = 0;
    for (size_t end; (end = row.find(kTableFieldEnd, start)) != std::string::npos;
         start = end + 1, ++column) {
      if (widths.size() <= column) widths.push_back(0);
      widths[column] = std::max(
          widths[column], std::min(kWidestColumn, display_width(row.substr(start, end - start))));
    }
  }
  bool ok = true;
  for (const std::string& row : held) ok = write_row(row) && ok;
  held.clear();
  return ok;
}

bool TableWriter::flush() { return settle() && out.flush(); }

bool TableWriter::write_row(std::string_view row) {
  line.clear();
  size_t column = 0, start = 0;
  fields.clear();
  for (size_t end; (end = row.find(kTableFieldEnd, start)) != std::string_view::npos;
       start = end + 1) {
    fields.push_back(row.substr(start, end - start));
  }
  for (std::string_view field : fields) {
    line.append(field);
    if (++column == fields.size()) break;
    size_t width = column - 1 < widths.size() ? widths[column - 1] : 0;
    size_t shown = display_width(field);
    line.append(shown < width ? width - shown + 2 : 2, ' ');
  }
  line += '\n';
  return out.write(line);
}

}  // namespace sarvik::query
