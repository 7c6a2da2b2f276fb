// GET /api/export and /api/follow: answers written while they are sent.
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <mutex>

#include "query/field_encoding.h"
#include "query/search.h"
#include "web/api.h"
#include "web/api_answer.h"

namespace sarvik::web {

namespace {

using Clock = std::chrono::steady_clock;

// The whole result of a query in an output form of the command line. Problems after the first
// byte cannot change the status any more: a file that could not be read cuts the body short.
class ExportBody : public BodyWriter {
 public:
  ExportBody(std::unique_ptr<QueryGate::Ticket> turn, std::unique_ptr<query::QueryPlan> plan)
      : turn(std::move(turn)),
        plan(std::move(plan)),
        problems(warnings),
        search(*this->plan, problems) {}

  bool open(std::string* error) { return search.open(/*follow=*/false, error); }

  bool run(query::TextWriter& out) override {
    search.write_lines(out);
    return !problems.failed() && !search.cancelled();
  }
  void cancel() override { search.cancel(); }

 private:
  std::unique_ptr<QueryGate::Ticket> turn;
  std::unique_ptr<query::QueryPlan> plan;
  WarningList warnings;
  query::Problems problems;
  query::Search search;
};

// The events of one follower, gathered on the following thread and sent after each round.
class EventText : public query::ProblemSink, public query::RecordSink {
 public:
  explicit EventText(const query::FormatSettings& format)
      : formatter(query::make_record_formatter(format)) {}

  bool take(const query::MatchedRecord& record) override {
    std::lock_guard<std::mutex> hold(mutex);
    line.clear();
    formatter->record(record, &line);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    pending += "data: " + line + "\n\n";
    return true;
  }

  void tell(const std::string& message, bool error) override {
    std::lock_guard<std::mutex> hold(mutex);
    pending += "event: problem\ndata: {\"message\":";
    query::append_json_string(&pending, message);
    pending += error ? ",\"error\":true}\n\n" : ",\"error\":false}\n\n";
  }

  std::string take_pending() {
    std::lock_guard<std::mutex> hold(mutex);
    std::string text;
    text.swap(pending);
    return text;
  }

 private:
  std::unique_ptr<query::RecordFormatter> formatter;
  std::mutex mutex;
  std::string pending;  // guarded by mutex
  std::string line;     // guarded by mutex: working space of take
};

// New matching lines as an event stream, one JSON object of the command line's JSON form per
// event, until the client goes or the server stops.
class FollowBody : public BodyWriter {
 public:
  FollowBody(std::unique_ptr<QueryGate::Ticket> turn, std::unique_ptr<query::QueryPlan> plan,
             int keep_alive_ms)
      : turn(std::move(turn)),
        plan(std::move(plan)),
        events(query::format_settings(*this->plan)),
        problems(events),
        search(*this->plan, problems),
        stop(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
        keep_alive_ms(keep_alive_ms) {}

  // Sets the watches and takes the log as it stands now: only lines written later are sent.
  bool open(std::string* error) {
    if (!stop.valid()) {
      *error = "cannot follow the log: no event descriptor";
      return false;
    }
    if (!search.open(/*follow=*/true, error)) return false;
    search.skip_written_lines();
    return true;
  }

  bool run(query::TextWriter& out) override {
    Clock::time_point last_sent = Clock::now();
    bool written = true;
    search.follow(
        events,
        [&] {
          std::string text = events.take_pending();
          Clock::time_point now = Clock::now();
          if (text.empty() && now - last_sent >= std::chrono::milliseconds(keep_alive_ms)) {
            text = ": keep-alive\n\n";
          }
          if (text.empty()) return true;
          last_sent = now;
          written = out.write(text) && out.flush();
          return written;
        },
        stop.get(), keep_alive_ms);
    return written;
  }

  void cancel() override {
    uint64_t one = 1;
    ssize_t n = write(stop.get(), &one, sizeof one);
    (void)n;  // failure ignored: the counter is already set, and that is enough
  }

 private:
  std::unique_ptr<QueryGate::Ticket> turn;
  std::unique_ptr<query::QueryPlan> plan;
  EventText events;
  query::Problems problems;
  query::Search search;
  query::Descriptor stop;
  int keep_alive_ms;
};

const char* extension_of(query::OutputForm form) {
  switch (form) {
    case query::OutputForm::kTsv:
      return "tsv";
    case query::OutputForm::kJson:
      return "json";
    default:
      return "csv";
  }
}

const char* content_type_of(query::OutputForm form) {
  switch (form) {
    case query::OutputForm::kTsv:
      return "text/tab-separated-values; charset=utf-8";
    case query::OutputForm::kJson:
      return "application/x-ndjson; charset=utf-8";
    default:
      return "text/csv; charset=utf-8";
  }
}

// "sarvik-access-20240304-123456.csv", of the local time now.
std::string export_file_name(const query::QueryPlan& plan) {
  time_t now = time(nullptr);
  struct tm local;
  localtime_r(&now, &local);
  char stamp[32];
  strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  return std::string("sarvik-") + plan.kind_name + "-" + stamp + "." + extension_of(plan.form);
}

}  // namespace

Response answer_export(ApiContext& context, const Request& request) {
  const Parameters& parameters = request.parameters;
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters,
                      kFilterParameters | kOutputParameter | kReverseParameter | kLimitParameter,
                      &asked, &error)) {
    return error_response(400, error);
  }
  if (asked.options.output.empty()) asked.options.output = "csv";
  auto plan = std::make_unique<query::QueryPlan>();
  Response refusal;
  if (!plan_query(context.settings, asked.options, plan.get(), &refusal)) return refusal;
  std::unique_ptr<QueryGate::Ticket> turn = context.queries.enter();
  if (!turn) return busy_response();
  Response response;
  response.content_type = content_type_of(plan->form);
  response.headers.emplace_back("Content-Disposition",
                                "attachment; filename=\"" + export_file_name(*plan) + "\"");
  auto body = std::make_unique<ExportBody>(std::move(turn), std::move(plan));
  if (!body->open(&error)) return error_response(500, error);
  response.stream = std::move(body);
  return response;
}

Response answer_follow(ApiContext& context, const Request& request) {
  const Parameters& parameters = request.parameters;
  ApiQuery asked;
  std::string error;
  if (!read_api_query(parameters, kFilterParameters, &asked, &error)) {
    return error_response(400, error);
  }
  asked.options.output = "json";
  asked.options.follow = true;
  auto plan = std::make_unique<query::QueryPlan>();
  Response refusal;
  if (!plan_query(context.settings, asked.options, plan.get(), &refusal)) return refusal;
  std::unique_ptr<QueryGate::Ticket> turn = context.followers.enter();
  if (!turn) return busy_response();
  auto body = std::make_unique<FollowBody>(std::move(turn), std::move(plan),
                                           context.settings.keep_alive_ms);
  if (!body->open(&error)) return error_response(500, error);
  Response response;
  response.content_type = "text/event-stream; charset=utf-8";
  response.stream = std::move(body);
  return response;
}

}  // namespace sarvik::web
