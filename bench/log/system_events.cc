// What the appliance itself reports: the small system log of the corpus.
#include "system_events.h"

#include <algorithm>
#include <string>
#include <vector>

#include "protocol/request_data.h"
#include "record/record_lines.h"

namespace sarvik::corpus {

namespace {

struct Report {
  const char* source;
  const char* message;
  const char* detail;
};

const Report kReports[] = {
    {"backup", "nightly backup started", "job daily"},
    {"backup", "nightly backup finished, no errors", "job daily"},
    {"raid", "consistency check passed", "md0"},
    {"disk", "SMART self-test passed", "sda"},
    {"disk", "temperature high", "sdb 58 C"},
    {"ups", "on battery", "load 34%"},
    {"ups", "power restored", "on mains"},
    {"admin", "logged in", "admin from 192.168.0.5"},
    {"admin", "settings changed", "share finance"},
    {"quota", "share almost full", "finance 91%"},
    {"smb", "service restarted", "after settings change"},
    {"network", "link down", "eth1"},
    {"network", "link up", "eth1 1000 Mb/s"},
    {"update", "firmware available", "4.2.1"},
    {"antivirus", "signatures updated", "daily.cvd, 27102"},
};

constexpr time_t kDay = 86400;

// How far behind a client's clock or queue the record's time lies.
time_t lag(Random& random) {
  double draw = random.unit();
  if (draw < 0.90) return 0;
  if (draw < 0.98) return 1 + random.below(120);
  if (draw < 0.995) return 3600 * (1 + random.below(6));
  return kDay * (1 + random.below(40));
}

}  // namespace

uint64_t write_system_log(time_t start, time_t end, Random& random, TreeWriter* writer) {
  uint64_t lines = 0;
  constexpr size_t kKinds = sizeof kReports / sizeof kReports[0];
  for (time_t day = start; day < end; day += kDay) {
    std::vector<time_t> arrivals(6 + random.below(15));
    for (time_t& arrival : arrivals) arrival = day + random.below(kDay);
    std::sort(arrivals.begin(), arrivals.end());
    for (time_t arrival : arrivals) {
      if (arrival >= end) break;
      const Report& report = kReports[random.below(kKinds)];
      std::string time_text = std::to_string(arrival - lag(random));
      SystemRecord record = system_record(
          ReqSystemLog(time_text.c_str(), report.source, report.message, report.detail));
      writer->write_line(record.when, record.line);
      ++lines;
    }
  }
  return lines;
}

}  // namespace sarvik::corpus
