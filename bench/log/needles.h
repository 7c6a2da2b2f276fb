// The needles of the benchmark's questions: planted in the corpus, counted as it is written.
#ifndef SARVIK_BENCH_LOG_NEEDLES_H_
#define SARVIK_BENCH_LOG_NEEDLES_H_

#include <time.h>

#include <cstdint>
#include <set>
#include <string>

#include "access_events.h"
#include "record/access_fields.h"
#include "vocabulary.h"

namespace sarvik::corpus {

// What the benchmark asks about, chosen from the corpus's span before any line is made:
// (a) one file worked on in the last weeks, (b) one busy person on one working day,
// (c) the last whole calendar month, (d) a name that occurs only a few times in the year,
// (e) the machine of a person of middling activity over the year, (f) the failures on one share.
struct NeedlePlan {
  std::string path_fragment;  // a substring of the planted file's path, found nowhere else
  std::string path;           // the planted file, on share "projects"
  time_t path_from;           // its lines lie in [path_from, path_until]
  time_t path_until;
  std::string user;  // as the log shows it
  time_t day_start;  // the day's local midnight, and its last second
  time_t day_end;
  time_t month_start;  // the month's first and last second
  time_t month_end;
  std::string rare_string;  // a substring of a file name planted every `rare_every` lines
  uint64_t rare_every;
  std::string host;          // the desktop of the person in the middle of the activity ranks
  std::string failed_share;  // whose failures are asked for
};

// How many written lines each question should find.
struct NeedleCounts {
  uint64_t path_lines = 0;
  uint64_t user_day_lines = 0;
  uint64_t month_lines = 0;
  std::set<std::string> month_users;
  uint64_t rare_lines = 0;
  uint64_t host_lines = 0;
  uint64_t share_failures = 0;
};

NeedlePlan plan_needles(time_t start, time_t end, uint64_t lines, const Vocabulary& vocabulary);

// Rewrites `event`, the `index`th line, made for `moment`, where it is to carry a needle.
void plant_needles(const NeedlePlan& plan, const Vocabulary& vocabulary, uint64_t index,
                   const Moment& moment, Random& random, AccessEvent* event);

// Counts the line of `fields` at `when` towards the questions it answers.
void count_needles(const NeedlePlan& plan, time_t when, const AccessFields& fields,
                   NeedleCounts* counts);

// The plan and the counts as shell assignments, one a line, for the benchmark's runner.
std::string describe_needles(const NeedlePlan& plan, const NeedleCounts& counts);

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_NEEDLES_H_
