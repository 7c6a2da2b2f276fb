// Running a query of sarvik-log from its options to its exit status.
#include "query_run.h"

#include <errno.h>
#include <string.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "follow.h"
#include "ordered_output.h"
#include "problems.h"
#include "query_plan.h"

namespace sarvik::log_query {

namespace {

// More workers than this gain nothing: reading memory is the limit.
constexpr size_t kMostWorkers = 4;
// The width of a histogram when standard output is no terminal.
constexpr size_t kDefaultWidth = 80;

// Hands lines to the ordered output, into the slot of the file being scanned.
class OrderedSink : public RecordSink {
 public:
  OrderedSink(RecordFormatter& formatter, OrderedOutput& output)
      : formatter(formatter), output(output) {}
  bool take(const MatchedRecord& record) override {
    formatter.record(record, &output.text(file));
    return output.line_done(file);
  }
  size_t file = 0;

 private:
  RecordFormatter& formatter;
  OrderedOutput& output;
};

// Formats lines into a text that the caller writes out (following a log).
class TextSink : public RecordSink {
 public:
  TextSink(RecordFormatter& formatter, std::string& text) : formatter(formatter), text(text) {}
  bool take(const MatchedRecord& record) override {
    formatter.record(record, &text);
    ++lines;
    return true;
  }
  uint64_t lines = 0;

 private:
  RecordFormatter& formatter;
  std::string& text;
};

// Runs `work(worker, file)` for every file index, on up to kMostWorkers threads (the calling
// thread among them), each file once.
template <typename Work>
void for_each_file(size_t files, size_t workers, const Work& work) {
  std::atomic<size_t> next{0};
  auto run = [&](size_t worker) {
    for (size_t file; (file = next++) < files;) {
      if (!work(worker, file)) break;
    }
  };
  std::vector<std::thread> threads;
  for (size_t worker = 1; worker < workers; ++worker) threads.emplace_back(run, worker);
  run(0);
  for (std::thread& thread : threads) thread.join();
}

size_t worker_count(size_t files) {
  size_t cores = std::max<size_t>(1, std::thread::hardware_concurrency());
  return std::max<size_t>(1, std::min({files, cores, kMostWorkers}));
}

size_t terminal_width() {
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kDefaultWidth;
}

// Scans one file forward or backward; reports a failure. Returns where a forward scan ended.
FileProgress scan_file(const LogTree& tree, const LogFileEntry& entry, bool backward,
                       FileScanner& scanner, RecordSink& sink, Problems& problems) {
  std::string relative = tree.relative_path(entry.month, entry.name);
  std::string why;
  Descriptor file = tree.open_file(entry.month, entry.name, &why);
  if (!file.valid()) {
    // A file expired since the listing held no line of interest any more.
    if (errno != ENOENT) problems.fail(relative + ": " + why);
    return FileProgress();
  }
  bool failed = false;
  FileProgress progress;
  if (backward) {
    failed = !scanner.scan_backward(file.get(), relative, entry, sink);
  } else {
    progress = scanner.scan_forward(file.get(), relative, entry, FileProgress(), sink, &failed);
  }
  if (failed) problems.fail(relative + ": " + strerror(errno));
  return progress;
}

void tell_left_out(const LeftOut& left, Problems& problems) {
  if (left.faulty_columns > 0) {
    problems.warn(std::to_string(left.faulty_columns) +
                  " line(s) with too few or ambiguous columns did not pass the field filters; a "
                  "comma inside a field moves the columns behind it (--grep sees whole lines, "
                  "--output json flags such lines)");
  }
  if (left.without_time > 0) {
    problems.warn(std::to_string(left.without_time) +
                  " line(s) without a readable time were left out by --since/--until");
  }
}

}  // namespace

int run_query(const QueryOptions& options, time_t now) {
  Problems problems;
  QueryPlan plan;
  std::string error;
  if (!build_query_plan(options, now, isatty(STDOUT_FILENO) == 1, &plan, &error)) {
    problems.fail(error);
    return kTrouble;
  }
  LogTree tree(plan.root, plan.kind);
  if (!tree.open(&error)) {
    problems.fail("cannot read the log volume " + error);
    return kTrouble;
  }
  std::optional<Follower> follower;
  if (plan.follow) {
    follower.emplace(tree, problems);
    if (!follower->watch(&error)) {
      problems.fail(error);
      return kTrouble;
    }
  }
  if (!tree.has_log_dir() && !plan.follow) {
    problems.warn(tree.log_path() + " does not exist: nothing is logged there yet");
  }
  std::vector<LogFileEntry> files = tree.files(plan.range, problems);
  bool backward = plan.reverse && !plan.summary;
  if (backward) std::reverse(files.begin(), files.end());

  ScanSettings settings;
  settings.access_columns = plan.access_columns;
  settings.range = &plan.range;
  settings.filter = &plan.filter;
  settings.rules = plan.rules.get();
  settings.number_lines = plan.form == OutputForm::kJson && !plan.summary;
  // Lines that are printed, and the rules, need every column; a summary only what it counts
  // and what the filters test.
  if (plan.summary && plan.rules == nullptr) {
    settings.access_columns_wanted =
        std::max(plan.filter.access_columns_needed(), access_columns_counted(plan.summary_request));
    settings.read_time = counts_by_time(plan.summary_request);
  } else {
    settings.read_time = plan.rules != nullptr || plan.form == OutputForm::kJson;
  }
  size_t workers = worker_count(files.size());
  std::vector<FileScanner> scanners(workers, FileScanner(settings));
  LeftOut left;
  uint64_t matched = 0;
  FdWriter standard_output(STDOUT_FILENO);

  if (plan.summary) {
    std::vector<Summary> summaries(workers, Summary(plan.summary_request));
    for_each_file(files.size(), workers, [&](size_t worker, size_t file) {
      scan_file(tree, files[file], false, scanners[worker], summaries[worker], problems);
      return true;
    });
    for (size_t worker = 1; worker < workers; ++worker) summaries[0].merge(summaries[worker]);
    for (const FileScanner& scanner : scanners) left.add(scanner.left_out());
    tell_left_out(left, problems);
    if (summaries[0].lines_without_time() > 0) {
      problems.warn(std::to_string(summaries[0].lines_without_time()) +
                    " matching line(s) without a readable time stand in no bar");
    }
    summaries[0].print(plan.form, plan.terminal, terminal_width(), standard_output);
    matched = summaries[0].lines();
    return problems.failed() ? kTrouble : matched > 0 ? kMatched : kNoneMatched;
  }

  TableWriter table(standard_output);
  TextWriter& out =
      plan.form == OutputForm::kTable ? static_cast<TextWriter&>(table) : standard_output;
  FormatSettings format;
  format.form = plan.form;
  format.kind = plan.kind_name;
  format.access_columns = plan.access_columns;
  format.with_rules = plan.rules != nullptr;
  format.terminal = plan.terminal;
  std::vector<std::unique_ptr<RecordFormatter>> formatters;
  for (size_t worker = 0; worker < workers; ++worker) {
    formatters.push_back(make_record_formatter(format));
  }
  std::string header;
  formatters[0]->header(&header);
  out.write(header);

  std::vector<FileProgress> progress(files.size());
  // Each worker may run a file ahead of the others; more would only hold text in memory.
  OrderedOutput ordered(out, files.size(), workers + 1, plan.limit);
  std::vector<OrderedSink> sinks;
  for (size_t worker = 0; worker < workers; ++worker) {
    sinks.emplace_back(*formatters[worker], ordered);
  }
  for_each_file(files.size(), workers, [&](size_t worker, size_t file) {
    if (!ordered.begin_file(file)) return false;
    sinks[worker].file = file;
    progress[file] =
        scan_file(tree, files[file], backward, scanners[worker], sinks[worker], problems);
    ordered.end_file(file);
    return true;
  });
  for (const FileScanner& scanner : scanners) left.add(scanner.left_out());
  tell_left_out(left, problems);
  matched = ordered.lines_written();
  // An empty table shows nothing at all, not even its header.
  if (matched > 0 || plan.form != OutputForm::kTable || plan.follow) out.flush();

  if (plan.follow && !ordered.failed()) {
    for (size_t file = 0; file < files.size(); ++file) {
      follower->read_up_to(files[file].month, files[file].name, progress[file]);
    }
    std::string pending;
    TextSink sink(*formatters[0], pending);
    follower->run(scanners[0], sink, pending, out);
    matched += sink.lines;
  }
  return problems.failed() ? kTrouble : matched > 0 ? kMatched : kNoneMatched;
}

}  // namespace sarvik::log_query
