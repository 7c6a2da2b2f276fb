// System records: from a request to a line of the system log.
#include "core/system_log_handler.h"

#include <ctime>
#include <list>
#include <string>
#include <utility>

#include "core/record_text.h"
#include "logstore/log_kinds.h"
#include "settings/settings_keys.h"
#include "support/fixed_paths.h"

namespace sarvik {

namespace {

// Entries of a system request, by index.
enum SystemEntry : size_t { kSystemTime = 1, kSystemText1 = 2, kSystemText2 = 3, kSystemText3 = 4 };

// A finished line on its way to the file, with the time it belongs to.
struct PendingRecord {
  time_t when;
  std::string line;
};

// Expiry settings of the system log.
constexpr int kSystemAutoDelete = 0;

}  // namespace

std::string system_line(time_t when, const ReqSystemLog& request) {
  return join_fields({format_time(when), request.text_entry(kSystemText1),
                      request.text_entry(kSystemText2), request.text_entry(kSystemText3)});
}

void handle_system_log(const ReqSystemLog& request, ConfigXml& config) {
  // Lives for the whole process and only in memory: a restart loses what waits here.
  static std::list<PendingRecord> pending_system_records;

  if (!config.GetRootEnable(keys::kEventLogConf, keys::kEnable)) return;
  time_t when = parse_time(request.text_entry(kSystemTime).c_str());
  std::string line = system_line(when, request);
  LogFile log = make_log_file(kSystemLog, config.get_share_path(), paths::kStateDir);
  log.auto_delete = config.GetAutoDelete(kSystemAutoDelete);

  pending_system_records.push_back(PendingRecord{when, std::move(line)});
  bool all_written = true;
  for (const PendingRecord& record : pending_system_records) {
    if (log.write_line(record.when, record.line) != 0) all_written = false;
  }
  // All or nothing on purpose: no bookkeeping of single records.
  if (all_written) pending_system_records.clear();
}

}  // namespace sarvik
