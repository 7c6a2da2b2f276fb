// A query put to one log: the files that can hold it, scanned side by side.
#include "query/search.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <thread>
#include <tuple>

#include "query/chunk_reader.h"
#include "query/ordered_output.h"

namespace sarvik::query {

namespace {

// More workers than this gain nothing: reading memory is the limit.
constexpr size_t kMostWorkers = 4;

// Hands lines to the ordered output, into the slot of the file being scanned, with the place
// behind each line for a limit that cuts the output there.
class OrderedSink : public RecordSink {
 public:
  OrderedSink(RecordFormatter& formatter, OrderedOutput& output, bool backward, bool limited)
      : formatter(formatter), output(output), backward(backward), limited(limited) {}
  bool take(const MatchedRecord& record) override {
    formatter.record(record, &output.text(file));
    ResumePoint resume;
    if (limited && backward) {
      resume = ResumePoint{record.offset, record.line};
    } else if (limited) {
      const char* text = record.text.data();
      resume.offset = record.offset + record.text.size() + 2;  // behind its CR LF
      if (record.line != 0) {
        resume.line = record.line + 1 + count_line_feeds(text, text + record.text.size());
      }
    }
    return output.line_done(file, resume);
  }
  size_t file = 0;

 private:
  RecordFormatter& formatter;
  OrderedOutput& output;
  bool backward;
  bool limited;
};

// Runs `work(worker, file)` for every file index, on `workers` threads (the calling thread
// among them), each file once, until a call returns false.
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

// Whether the file (month, name) comes before the place `from` in the order of the scan.
bool comes_before(const LogFileEntry& entry, const LogPosition& from, bool backward) {
  auto file = std::tie(entry.month, entry.name);
  auto place = std::tie(from.month, from.name);
  return backward ? file > place : file < place;
}

}  // namespace

Search::Search(const QueryPlan& plan, Problems& problems)
    : plan(plan), problems(problems), tree(plan.root, plan.kind) {}

bool Search::open(bool follow, std::string* error) {
  if (!tree.open(error)) {
    *error = "cannot read the log volume " + *error;
    return false;
  }
  if (follow) {
    follower.emplace(tree, problems);
    if (!follower->watch(error)) return false;
  } else if (!tree.has_log_dir()) {
    problems.warn(tree.log_path() + " does not exist: nothing is logged there yet");
  }
  return true;
}

ScanSettings Search::scan_settings() const {
  ScanSettings settings;
  settings.access_columns = plan.access_columns;
  settings.range = &plan.range;
  settings.filter = &plan.filter;
  settings.rules = plan.rules.get();
  settings.number_lines = plan.form == OutputForm::kJson && !plan.summary;
  settings.cancel = &cancelled_flag;
  // Lines that are printed, and the rules, need every column; a summary only what it counts
  // and what the filters test.
  if (plan.summary && plan.rules == nullptr) {
    settings.access_columns_wanted =
        std::max(plan.filter.access_columns_needed(), access_columns_counted(plan.summary_request));
    settings.read_time = counts_by_time(plan.summary_request);
  } else {
    settings.read_time = plan.rules != nullptr || plan.form == OutputForm::kJson;
  }
  return settings;
}

FileProgress Search::scan_file(const LogFileEntry& entry, bool backward, const FileProgress* from,
                               FileScanner& scanner, RecordSink& sink) {
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
    failed = !scanner.scan_backward(file.get(), relative, entry, from, sink);
  } else {
    progress = scanner.scan_forward(file.get(), relative, entry,
                                    from != nullptr ? *from : FileProgress(), sink, &failed);
  }
  if (failed) problems.fail(relative + ": " + strerror(errno));
  return progress;
}

void Search::tell_left_out(const std::vector<FileScanner>& scanners) {
  LeftOut left;
  for (const FileScanner& scanner : scanners) left.add(scanner.left_out());
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

void Search::summarize(Summary* summary) {
  std::vector<LogFileEntry> files = tree.files(plan.range, problems);
  size_t workers = worker_count(files.size());
  std::vector<FileScanner> scanners(workers, FileScanner(scan_settings()));
  std::vector<Summary> summaries(workers, Summary(plan.summary_request));
  for_each_file(files.size(), workers, [&](size_t worker, size_t file) {
    scan_file(files[file], /*backward=*/false, nullptr, scanners[worker], summaries[worker]);
    return !cancelled();
  });
  for (const Summary& part : summaries) summary->merge(part);
  tell_left_out(scanners);
  if (summary->lines_without_time() > 0) {
    problems.warn(std::to_string(summary->lines_without_time()) +
                  " matching line(s) without a readable time stand in no bar");
  }
}

uint64_t Search::write_lines(TextWriter& out, const LogPosition* from,
                             std::optional<LogPosition>* next) {
  std::vector<LogFileEntry> files = tree.files(plan.range, problems);
  bool backward = plan.reverse;
  if (backward) std::reverse(files.begin(), files.end());
  const FileProgress* start = nullptr;  // in the first file
  if (from != nullptr) {
    files.erase(files.begin(),
                std::find_if(files.begin(), files.end(), [&](const LogFileEntry& entry) {
                  return !comes_before(entry, *from, backward);
                }));
    if (!files.empty() && files[0].month == from->month && files[0].name == from->name) {
      start = &from->at;
    }
  }

  FormatSettings format = format_settings(plan);
  size_t workers = worker_count(files.size());
  std::vector<FileScanner> scanners(workers, FileScanner(scan_settings()));
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
    sinks.emplace_back(*formatters[worker], ordered, backward, plan.limit != 0);
  }
  for_each_file(files.size(), workers, [&](size_t worker, size_t file) {
    if (cancelled()) {
      ordered.close();  // the workers that wait for their turn stop too
      return false;
    }
    if (!ordered.begin_file(file)) return false;
    sinks[worker].file = file;
    progress[file] = scan_file(files[file], backward, file == 0 ? start : nullptr, scanners[worker],
                               sinks[worker]);
    ordered.end_file(file);
    return true;
  });
  tell_left_out(scanners);
  uint64_t matched = ordered.lines_written();
  // An empty table shows nothing at all, not even its header.
  if (matched > 0 || format.form != OutputForm::kTable || follower) out.flush();

  size_t cut_file = 0;
  ResumePoint resume;
  if (next != nullptr && ordered.cut_at(&cut_file, &resume)) {
    *next = LogPosition{files[cut_file].month, files[cut_file].name,
                        FileProgress{resume.offset, resume.line, false}};
  }
  output_failed = ordered.failed();
  if (follower && !output_failed) {
    for (size_t file = 0; file < files.size(); ++file) {
      follower->read_up_to(files[file].month, files[file].name, progress[file]);
    }
  }
  return matched;
}

void Search::skip_written_lines() { follower->start_at_end(); }

void Search::follow(RecordSink& sink, const Follower::Deliver& deliver, int stop_fd, int idle_ms) {
  if (output_failed) return;  // the lines before could not be written: nobody reads on
  FileScanner scanner(scan_settings());
  follower->run(scanner, sink, deliver, stop_fd, idle_ms);
}

FormatSettings format_settings(const QueryPlan& plan) {
  FormatSettings format;
  format.form = plan.form;
  format.kind = plan.kind_name;
  format.access_columns = plan.access_columns;
  format.with_rules = plan.rules != nullptr;
  format.terminal = plan.terminal;
  return format;
}

}  // namespace sarvik::query
