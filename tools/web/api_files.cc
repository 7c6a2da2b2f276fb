// GET /api/files: the volume's log files, oldest first, with their line counts and times.
#include <errno.h>
#include <string.h>

#include <algorithm>
#include <tuple>

#include "logstore/log_kinds.h"
#include "logstore/log_names.h"
#include "query/field_encoding.h"
#include "query/local_offset.h"
#include "query/log_tree.h"
#include "query/settings_source.h"
#include "web/api.h"
#include "web/api_answer.h"

namespace sarvik::web {

namespace {

struct NamedKind {
  const char* name;
  const LogKind* kind;
};

constexpr NamedKind kKinds[] = {
    {"system", &kSystemLog}, {"access", &kAccessLog}, {"alert", &kAlertLog}};

struct ListedFile {
  std::string stamp;  // the date digits of its name: files of all logs sort by them
  std::string month;
  std::string name;
  const NamedKind* kind;
};

void append_time(std::string* out, const std::optional<CivilTime>& time,
                 query::LocalOffset* offset) {
  if (!time) {
    *out += "null";
    return;
  }
  *out += '"';
  query::append_iso_time(out, *time, offset->seconds_east(*time));
  *out += '"';
}

}  // namespace

Response answer_files(ApiContext& context, const Request& request) {
  const Parameters& parameters = request.parameters;
  ApiQuery asked;
  std::string error;
  asked.options.kind.clear();
  if (!read_api_query(parameters, kKindParameter, &asked, &error)) {
    return error_response(400, error);
  }
  std::string root = context.settings.root;
  if (root.empty()) {
    ConfigXml config;
    if (!query::load_settings(context.settings.settings, &config, &error) ||
        !query::settings_volume(config, context.settings.settings, &root, &error)) {
      return error_response(500, error);
    }
  }
  std::unique_ptr<QueryGate::Ticket> turn = context.queries.enter();
  if (!turn) return busy_response();

  WarningList warnings;
  query::Problems problems(warnings);
  std::vector<std::unique_ptr<query::LogTree>> trees;
  std::vector<ListedFile> listed;
  for (const NamedKind& kind : kKinds) {
    if (!asked.options.kind.empty() && asked.options.kind != kind.name) continue;
    trees.push_back(std::make_unique<query::LogTree>(root, *kind.kind));
    query::LogTree& tree = *trees.back();
    if (!tree.open(&error)) return error_response(500, "cannot read the log volume " + error);
    for (const std::string& month : tree.months(problems)) {
      for (const std::string& name : tree.files_of_month(month, problems)) {
        listed.push_back(ListedFile{stamp_digits(name, kind.kind->prefix), month, name, &kind});
      }
    }
  }
  std::sort(listed.begin(), listed.end(), [](const ListedFile& a, const ListedFile& b) {
    return std::tie(a.month, a.stamp, a.name) < std::tie(b.month, b.stamp, b.name);
  });

  std::string body = "{\"files\":[";
  query::LocalOffset offset;
  bool first = true;
  std::lock_guard<std::mutex> hold(context.file_facts.lock());
  for (const ListedFile& file : listed) {
    const query::LogTree* tree = nullptr;
    for (const auto& candidate : trees) {
      if (candidate->log_kind().subdir == file.kind->kind->subdir) tree = candidate.get();
    }
    std::string relative = tree->relative_path(file.month, file.name);
    std::string why;
    query::Descriptor fd = tree->open_file(file.month, file.name, &why);
    FileFacts facts;
    if (!fd.valid()) {
      if (errno != ENOENT) problems.fail(relative + ": " + why);
      continue;  // expired since the listing
    }
    if (!context.file_facts.facts_of(relative, fd.get(), &facts)) {
      problems.fail(relative + ": " + strerror(errno));
      continue;
    }
    body += first ? "{\"file\":" : ",{\"file\":";
    first = false;
    query::append_json_string(&body, relative);
    body += ",\"kind\":\"" + std::string(file.kind->name) +
            "\",\"bytes\":" + std::to_string(facts.bytes) +
            ",\"lines\":" + std::to_string(facts.lines) + ",\"first\":";
    append_time(&body, facts.first, &offset);
    body += ",\"last\":";
    append_time(&body, facts.last, &offset);
    body += '}';
  }
  if (asked.options.kind.empty()) context.file_facts.forget_unseen();
  body += "],";
  append_warnings(&body, warnings.messages());
  body += '}';
  return json_response(200, std::move(body));
}

}  // namespace sarvik::web
