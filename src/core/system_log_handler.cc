// System records: from a request to a line of the system log.
#include "core/system_log_handler.h"

#include <list>
#include <utility>

#include "logstore/log_kinds.h"
#include "record/record_lines.h"
#include "settings/settings_keys.h"
#include "support/fixed_paths.h"

namespace sarvik {

void handle_system_log(const ReqSystemLog& request, ConfigXml& config, Sealer& sealer) {
  // Lives for the whole process and only in memory: a restart loses what waits here.
  static std::list<SystemRecord> pending_system_records;

  if (!config.GetRootEnable(keys::kEventLogConf, keys::kEnable)) return;
  SystemRecord record = system_record(request);
  LogFile log = make_log_file(kSystemLog, config.get_share_path(), paths::kStateDir);
  log.auto_delete = config.GetAutoDelete(kSystemLogExpiry);
  log.sealer = sealer.for_log(kSystemLog);

  pending_system_records.push_back(std::move(record));
  bool all_written = true;
  for (const SystemRecord& waiting : pending_system_records) {
    if (log.write_line(waiting.when, waiting.line) != 0) all_written = false;
  }
  // All or nothing on purpose: no bookkeeping of single records.
  if (all_written) pending_system_records.clear();
}

}  // namespace sarvik
