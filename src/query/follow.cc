// Following a log: new lines as they are appended, across new files and new month directories.
#include "query/follow.h"

#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "query/chunk_reader.h"

namespace sarvik::query {

namespace {

constexpr uint32_t kDirectoryEvents = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR;
constexpr uint32_t kMonthEvents = IN_CREATE | IN_MOVED_TO | IN_MODIFY | IN_CLOSE_WRITE | IN_ONLYDIR;

// A watch on an open directory through its descriptor's name in /proc, so that what is watched
// is the directory that was opened without following links, not whatever its path names later.
int watch_descriptor(int notify, int dir, uint32_t events) {
  std::string path = "/proc/self/fd/" + std::to_string(dir);
  return inotify_add_watch(notify, path.c_str(), events);
}

std::string key_of(const std::string& month, const std::string& name) { return month + "/" + name; }

}  // namespace

Follower::Follower(LogTree& tree, Problems& problems) : tree(tree), problems(problems) {}

bool Follower::watch(std::string* error) {
  notify = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (!notify.valid()) {
    *error = std::string("cannot follow the log: ") + strerror(errno);
    return false;
  }
  root_watch = watch_descriptor(notify.get(), tree.root_dir_fd(), kDirectoryEvents);
  if (root_watch < 0) {
    *error = std::string("cannot follow the log: ") + strerror(errno);
    return false;
  }
  watch_log_dir();
  return true;
}

void Follower::watch_log_dir() {
  if (log_watch >= 0 || !tree.open_log_dir()) return;
  log_watch = watch_descriptor(notify.get(), tree.log_dir_fd(), kDirectoryEvents);
  if (log_watch < 0) {
    problems.fail(tree.log_path() + ": cannot watch: " + strerror(errno));
    return;
  }
  for (const std::string& month : tree.months(problems)) watch_month(month);
}

void Follower::watch_month(const std::string& month) {
  for (const auto& [watch, name] : month_watches) {
    if (name == month) return;
  }
  Descriptor dir = tree.open_month(month);
  if (!dir.valid()) return;  // gone again, or no directory
  int watch = watch_descriptor(notify.get(), dir.get(), kMonthEvents);
  if (watch < 0) {
    problems.fail(tree.log_path() + "/" + month + ": cannot watch: " + strerror(errno));
    return;
  }
  month_watches[watch] = month;
}

void Follower::read_up_to(const std::string& month, const std::string& name,
                          const FileProgress& progress) {
  reached[key_of(month, name)] = progress;
}

std::vector<std::pair<std::string, std::string>> Follower::all_files() {
  std::vector<std::pair<std::string, std::string>> files;
  for (const std::string& month : tree.months(problems)) {
    watch_month(month);
    for (const std::string& name : tree.files_of_month(month, problems)) {
      files.emplace_back(month, name);
    }
  }
  return files;
}

void Follower::read_new_lines(const std::string& month, const std::string& name,
                              FileScanner& scanner, RecordSink& sink) {
  FileProgress& progress = reached[key_of(month, name)];
  if (progress.finished) return;
  std::string why;
  Descriptor file = tree.open_file(month, name, &why);
  if (!file.valid()) {
    // A file that went away (expired) has nothing more to give; one that cannot be read is
    // told once and then left alone.
    if (errno != ENOENT) {
      problems.fail(tree.relative_path(month, name) + ": " + why);
      progress.finished = true;
    }
    return;
  }
  struct stat status;
  // Nothing new: a file that did not grow is not read (nor are its lines counted).
  if (fstat(file.get(), &status) == 0 && static_cast<uint64_t>(status.st_size) <= progress.offset) {
    return;
  }
  LogFileEntry entry;  // every line tested, none ends the file
  entry.month = month;
  entry.name = name;
  std::string relative = tree.relative_path(month, name);
  bool failed = false;
  FileProgress next = scanner.scan_forward(file.get(), relative, entry, progress, sink, &failed);
  if (failed) {
    problems.fail(relative + ": " + strerror(errno));
    return;
  }
  progress = next;
}

void Follower::start_at_end() {
  for (const auto& [month, name] : all_files()) {
    std::string why;
    Descriptor file = tree.open_file(month, name, &why);
    if (!file.valid()) continue;  // gone, or told when it changes
    FileProgress& progress = reached[key_of(month, name)];
    int64_t end = whole_records_end(file.get());
    // A file that cannot be read now is read from its start when it changes.
    if (end >= 0) progress = FileProgress{static_cast<uint64_t>(end), /*next_line=*/0, false};
  }
}

void Follower::run(FileScanner& scanner, RecordSink& sink, const Deliver& deliver, int stop_fd,
                   int idle_ms) {
  // Files changed before the watches took effect for them are caught by one round over all.
  std::vector<std::pair<std::string, std::string>> changed = all_files();
  alignas(inotify_event) char events[64 * 1024];
  for (;;) {
    for (const auto& [month, name] : changed) read_new_lines(month, name, scanner, sink);
    changed.clear();
    if (!deliver()) return;

    pollfd waits[2] = {{notify.get(), POLLIN, 0}, {stop_fd, POLLIN, 0}};
    int ready = poll(waits, 2, idle_ms < 0 ? -1 : idle_ms);
    if (ready < 0) {
      if (errno == EINTR) continue;
      problems.fail(std::string("cannot follow the log: ") + strerror(errno));
      return;
    }
    if (waits[1].revents != 0) return;  // stopped: the normal end of following
    bool rescan = false;
    ssize_t length;
    while ((length = read(notify.get(), events, sizeof events)) > 0) {
      for (char* at = events; at < events + length;) {
        const inotify_event* event = reinterpret_cast<const inotify_event*>(at);
        at += sizeof(inotify_event) + event->len;
        std::string name = event->len > 0 ? event->name : "";
        if (event->mask & IN_Q_OVERFLOW) {
          rescan = true;
        } else if (event->wd == root_watch) {
          if (name == tree.log_kind().subdir) rescan = true;  // the log's directory appeared
        } else if (event->wd == log_watch) {
          if (event->mask & IN_ISDIR) rescan = true;  // a new month: its files too
        } else {
          auto month = month_watches.find(event->wd);
          if (month == month_watches.end() || (event->mask & IN_ISDIR)) continue;
          std::pair<std::string, std::string> file{month->second, name};
          if (std::find(changed.begin(), changed.end(), file) == changed.end()) {
            changed.push_back(file);
          }
        }
      }
    }
    if (rescan) {
      watch_log_dir();
      changed = all_files();
    }
    // A changed name that is no log file of this kind (a state file, an editor's copy) is
    // passed over, as the listing passes it over.
    changed.erase(
        std::remove_if(changed.begin(), changed.end(),
                       [&](const auto& file) { return !tree.is_log_file_name(file.second); }),
        changed.end());
  }
}

}  // namespace sarvik::query
