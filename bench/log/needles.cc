// The needles of the benchmark's questions: planted in the corpus, counted as it is written.
#include "needles.h"

#include <algorithm>

#include "logstore/log_names.h"

namespace sarvik::corpus {

namespace {

constexpr time_t kDay = 86400;
// Of the lines in its weeks, this share touches the planted file: about 2000 in a full corpus.
constexpr double kPathShare = 0.003;
// The rare name occurs this many times in a corpus of any size.
constexpr uint64_t kRareLines = 25;

// Local midnight of the day `days` after the day of `when`.
time_t midnight(time_t when, int days = 0) {
  struct tm local = {};
  localtime_r(&when, &local);
  local.tm_mday += days;
  local.tm_hour = local.tm_min = local.tm_sec = 0;
  local.tm_isdst = -1;
  return mktime(&local);
}

// Local midnight of the first of the month `months` after the month of `when`.
time_t first_of_month(time_t when, int months) {
  struct tm local = {};
  localtime_r(&when, &local);
  local.tm_mon += months;
  local.tm_mday = 1;
  local.tm_hour = local.tm_min = local.tm_sec = 0;
  local.tm_isdst = -1;
  return mktime(&local);
}

std::string date_text(time_t when, const char* format) {
  struct tm local = {};
  localtime_r(&when, &local);
  char text[32];
  strftime(text, sizeof text, format, &local);
  return text;
}

bool is_plain_word(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

std::string quoted(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

}  // namespace

NeedlePlan plan_needles(time_t start, time_t end, uint64_t lines, const Vocabulary& vocabulary) {
  NeedlePlan plan;
  plan.path_fragment = "landing_v7";
  plan.path = "website-relaunch/drafts/landing_v7, final.html";
  time_t span = end - start;
  plan.path_from = std::max(start, end - 25 * kDay);
  plan.path_until = end - std::min(kDay, span / 10);

  // A busy person, though not the busiest, whose name needs no quoting in a pattern.
  for (size_t rank = 4; rank < vocabulary.people.size(); ++rank) {
    std::string login = vocabulary.people[rank].login;
    login[0] = static_cast<char>(tolower(static_cast<unsigned char>(login[0])));
    if (!is_plain_word(login)) continue;
    plan.user = login;
    break;
  }
  // A working day some weeks back, or in the middle of a short corpus.
  time_t day = midnight(end - std::min(40 * kDay, span / 2));
  for (;;) {
    struct tm local = {};
    localtime_r(&day, &local);
    if (local.tm_wday != 0 && local.tm_wday != 6) break;
    day = midnight(day, -1);
  }
  plan.day_start = day;
  plan.day_end = midnight(day, 1) - 1;

  plan.month_start = first_of_month(end, -1);
  plan.month_end = first_of_month(end, 0) - 1;

  plan.rare_string = "severance_7731";
  plan.rare_every = std::max<uint64_t>(lines / kRareLines, 1);
  plan.host = vocabulary.people[vocabulary.people.size() / 2].host;
  plan.failed_share = "hr";
  return plan;
}

void plant_needles(const NeedlePlan& plan, const Vocabulary& vocabulary, uint64_t index,
                   const Moment& moment, Random& random, AccessEvent* event) {
  if (index % plan.rare_every == plan.rare_every / 2) {
    event->share = &share_named(vocabulary, "hr").name;
    event->operation = "open";
    event->raw_path = "r|applications/2026/" + plan.rare_string + ".pdf";
    return;
  }
  if (moment.driver != Driver::kOffice || moment.when < plan.path_from ||
      moment.when > plan.path_until || !random.chance(kPathShare)) {
    return;
  }
  // Three colleagues of the web team work on it, in office hours.
  event->person = &vocabulary.people[20 + random.below(3)];
  event->laptop = false;
  event->share = &share_named(vocabulary, "projects").name;
  double kind = random.unit();
  event->operation = kind < 0.75 ? "open" : "close";
  event->raw_path = kind < 0.6 ? "r|" : kind < 0.75 ? "w|" : "";
  event->raw_path += plan.path;
  event->status = 1;
  event->error_number = 0;
}

void count_needles(const NeedlePlan& plan, time_t when, const AccessFields& fields,
                   NeedleCounts* counts) {
  if (fields.path.find(plan.path_fragment) != std::string::npos) ++counts->path_lines;
  if (fields.path.find(plan.rare_string) != std::string::npos) ++counts->rare_lines;
  if (fields.host == plan.host) ++counts->host_lines;
  if (fields.share == plan.failed_share && fields.result.compare(0, 4, "fail") == 0) {
    ++counts->share_failures;
  }
  if (when >= plan.day_start && when <= plan.day_end && fields.user == plan.user) {
    ++counts->user_day_lines;
  }
  if (when >= plan.month_start && when <= plan.month_end) {
    ++counts->month_lines;
    counts->month_users.insert(fields.user);
  }
}

std::string describe_needles(const NeedlePlan& plan, const NeedleCounts& counts) {
  std::string text;
  auto add = [&text](const char* key, const std::string& value) {
    text += key;
    text += "=" + quoted(value) + "\n";
  };
  add("path_fragment", plan.path_fragment);
  add("path_lines", std::to_string(counts.path_lines));
  add("user", plan.user);
  add("day", date_text(plan.day_start, "%Y-%m-%d"));
  add("day_logged", date_text(plan.day_start, "%Y/%m/%d"));
  add("day_month_dir", month_dir_for(plan.day_start));
  add("user_day_lines", std::to_string(counts.user_day_lines));
  add("month_first", date_text(plan.month_start, "%Y-%m-%d"));
  add("month_last", date_text(plan.month_end, "%Y-%m-%d"));
  add("month_dir", month_dir_for(plan.month_start));
  add("month_lines", std::to_string(counts.month_lines));
  add("month_users", std::to_string(counts.month_users.size()));
  add("rare_string", plan.rare_string);
  add("rare_lines", std::to_string(counts.rare_lines));
  add("host", plan.host);
  add("host_lines", std::to_string(counts.host_lines));
  add("failed_share", plan.failed_share);
  add("share_failures", std::to_string(counts.share_failures));
  return text;
}

}  // namespace sarvik::corpus
