// The files of one log below a volume, in order, and which of them can hold a time range.
#include "query/log_tree.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>

#include <algorithm>
#include <optional>

#include "logstore/log_names.h"

namespace sarvik::query {

namespace {

// The span of civil seconds (see civil_seconds) that a file's lines can lie in, both ends
// inclusive.
struct Span {
  int64_t first;
  int64_t last;
};

// The whole month of a month directory's digits.
Span month_span(const std::string& digits) {
  CivilTime first = civil_time_of(parse_stamp(digits));
  CivilTime next = first;
  if (++next.month > 12) {
    next.month = 1;
    ++next.year;
  }
  return Span{civil_seconds(first), civil_seconds(next) - 1};
}

}  // namespace

bool month_overlaps(const std::string& month, const TimeRange& range) {
  Span month_lines = month_span(month);
  return month_lines.last >= range.first_second() && month_lines.first <= range.last_second();
}

LogTree::LogTree(const std::string& root, const LogKind& kind)
    : root(root), kind(kind), ordered(std::string(kind.subdir) != kSystemLog.subdir) {}

bool LogTree::open(std::string* error) {
  root_dir = Descriptor(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!root_dir.valid()) {
    *error = root + ": " + strerror(errno);
    return false;
  }
  open_log_dir();
  return true;
}

bool LogTree::open_log_dir() {
  if (!log_dir.valid() && root_dir.valid())
    log_dir = open_directory_at(root_dir.get(), kind.subdir);
  return log_dir.valid();
}

std::string LogTree::log_path() const { return root + "/" + kind.subdir; }

std::string LogTree::relative_path(const std::string& month, const std::string& name) const {
  return std::string(kind.subdir) + "/" + month + "/" + name;
}

bool LogTree::is_log_file_name(const std::string& name) const {
  size_t prefix = strlen(kind.prefix), suffix = strlen(kind.suffix);
  return name.size() > prefix + suffix && name.compare(0, prefix, kind.prefix) == 0 &&
         name.compare(name.size() - suffix, suffix, kind.suffix) == 0;
}

std::vector<std::string> LogTree::months(Problems& problems) const {
  std::vector<std::string> found;
  if (!log_dir.valid()) return found;
  std::vector<DirEntry> entries;
  if (!list_directory(log_dir.get(), &entries)) {
    problems.fail(log_path() + ": " + strerror(errno));
    return found;
  }
  for (const DirEntry& entry : entries) {
    if (entry.name.size() != kMonthDigits || stamp_digits(entry.name, "") != entry.name) continue;
    if (entry.type != DirEntry::Type::kDirectory) {
      problems.warn(log_path() + "/" + entry.name + ": not a directory, not read");
      continue;
    }
    found.push_back(entry.name);
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::vector<std::string> LogTree::files_of_month(const std::string& month,
                                                 Problems& problems) const {
  std::vector<std::string> found;
  Descriptor dir = open_month(month);
  std::vector<DirEntry> entries;
  if (!dir.valid() || !list_directory(dir.get(), &entries)) {
    if (errno != ENOENT) problems.fail(log_path() + "/" + month + ": " + strerror(errno));
    return found;
  }
  for (const DirEntry& entry : entries) {
    if (!is_log_file_name(entry.name)) continue;
    if (entry.type != DirEntry::Type::kRegular) {
      problems.warn(relative_path(month, entry.name) + ": not a regular file, not read");
      continue;
    }
    found.push_back(entry.name);
  }
  std::sort(found.begin(), found.end());
  return found;
}

Descriptor LogTree::open_month(const std::string& month) const {
  if (!log_dir.valid()) {
    errno = ENOENT;
    return Descriptor();
  }
  return open_directory_at(log_dir.get(), month);
}

Descriptor LogTree::open_file(const std::string& month, const std::string& name,
                              std::string* why) const {
  Descriptor dir = open_month(month);
  if (!dir.valid()) {
    *why = strerror(errno);
    return dir;
  }
  return open_regular_at(dir.get(), name, why);
}

std::vector<LogFileEntry> LogTree::files(const TimeRange& range, Problems& problems) const {
  std::vector<LogFileEntry> found;
  const int64_t first = range.first_second(), last = range.last_second();
  for (const std::string& month : months(problems)) {
    if (!month_overlaps(month, range)) continue;
    Span month_lines = month_span(month);
    std::vector<std::string> names = files_of_month(month, problems);

    // The time of each file's first line, from its name, where the name carries a full stamp
    // of this very month; the sorted list of them bounds the files before.
    std::vector<std::optional<int64_t>> starts(names.size());
    std::vector<int64_t> sorted_starts;
    CivilTime month_start = civil_time_at(month_lines.first);
    for (size_t i = 0; ordered && i < names.size(); ++i) {
      std::string digits = stamp_digits(names[i], kind.prefix);
      if (digits.size() < kStampDigits) continue;
      CivilTime start = civil_time_of(parse_stamp(digits));
      if (!is_valid_civil_time(start) || start.year != month_start.year ||
          start.month != month_start.month) {
        continue;
      }
      starts[i] = civil_seconds(start);
      sorted_starts.push_back(*starts[i]);
    }
    std::sort(sorted_starts.begin(), sorted_starts.end());

    for (size_t i = 0; i < names.size(); ++i) {
      Span lines = month_lines;
      if (starts[i]) {
        // No line reads earlier than the first by more than the slack. A file whose first line
        // reads later than this one's by more than the slack was begun after this one, so this
        // file's lines were all written before that first line, and read no later than it by
        // more than the slack.
        lines.first = std::max(lines.first, *starts[i] - kOrderSlack);
        auto later =
            std::upper_bound(sorted_starts.begin(), sorted_starts.end(), *starts[i] + kOrderSlack);
        if (later != sorted_starts.end()) lines.last = std::min(lines.last, *later + kOrderSlack);
      }
      if (lines.last < first || lines.first > last) continue;
      LogFileEntry entry;
      entry.month = month;
      entry.name = names[i];
      entry.whole = lines.first >= first && lines.last <= last;
      if (ordered && !entry.whole && range.bounded() &&
          last < std::numeric_limits<int64_t>::max()) {
        entry.stop_after = record_time_text(civil_time_at(last + kOrderSlack));
      }
      found.push_back(std::move(entry));
    }
  }
  return found;
}

}  // namespace sarvik::query
