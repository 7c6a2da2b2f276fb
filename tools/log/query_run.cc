// Running a query of sarvik-log from its options to its exit status.
#include "log/query_run.h"

#include <errno.h>
#include <signal.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "log/standard_error.h"
#include "query/search.h"

namespace sarvik::log_tool {

using query::build_query_plan;
using query::Descriptor;
using query::FdWriter;
using query::format_settings;
using query::kMatched;
using query::kNoneMatched;
using query::kTrouble;
using query::make_record_formatter;
using query::MatchedRecord;
using query::OutputForm;
using query::Problems;
using query::QueryOptions;
using query::QueryPlan;
using query::RecordFormatter;
using query::RecordSink;
using query::Search;
using query::Summary;
using query::TableWriter;
using query::TextWriter;

namespace {

// The width of a histogram when standard output is no terminal.
constexpr size_t kDefaultWidth = 80;

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

size_t terminal_width() {
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kDefaultWidth;
}

// Ctrl-C ends following normally from the moment the first lines may come out, so SIGINT and
// SIGTERM are taken over before any output: the threads that read the log inherit the blocked
// mask. The descriptor becomes readable when one arrives.
Descriptor take_stop_signals(std::string* error) {
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  Descriptor signals(signalfd(-1, &stop, SFD_CLOEXEC));
  if (!signals.valid()) *error = std::string("cannot follow the log: ") + strerror(errno);
  return signals;
}

int exit_status(const Problems& problems, uint64_t matched) {
  return problems.failed() ? kTrouble : matched > 0 ? kMatched : kNoneMatched;
}

}  // namespace

int run_query(const QueryOptions& options, time_t now) {
  StandardError standard_error;
  Problems problems(standard_error);
  QueryPlan plan;
  std::string error;
  if (!build_query_plan(options, now, isatty(STDOUT_FILENO) == 1, &plan, &error)) {
    problems.fail(error);
    return kTrouble;
  }
  Descriptor stop;
  if (plan.follow) {
    stop = take_stop_signals(&error);
    if (!stop.valid()) {
      problems.fail(error);
      return kTrouble;
    }
  }
  Search search(plan, problems);
  if (!search.open(plan.follow, &error)) {
    problems.fail(error);
    return kTrouble;
  }
  FdWriter standard_output(STDOUT_FILENO);
  if (plan.summary) {
    Summary summary(plan.summary_request);
    search.summarize(&summary);
    summary.print(plan.form, plan.terminal, terminal_width(), standard_output);
    return exit_status(problems, summary.lines());
  }

  TableWriter table(standard_output);
  TextWriter& out =
      plan.form == OutputForm::kTable ? static_cast<TextWriter&>(table) : standard_output;
  uint64_t matched = search.write_lines(out);
  if (plan.follow) {
    std::unique_ptr<RecordFormatter> formatter = make_record_formatter(format_settings(plan));
    std::string pending;
    TextSink sink(*formatter, pending);
    search.follow(
        sink,
        [&] {
          bool written = out.write(pending) && out.flush();
          pending.clear();
          return written;
        },
        stop.get(), /*idle_ms=*/-1);
    matched += sink.lines;
  }
  return exit_status(problems, matched);
}

}  // namespace sarvik::log_tool
