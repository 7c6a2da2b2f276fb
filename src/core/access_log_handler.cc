// Access records: from a request to a line of the access log.
#include "core/access_log_handler.h"

#include <ctime>
#include <string>

#include "alert/evaluate_alerts.h"
#include "logstore/log_kinds.h"
#include "record/access_fields.h"
#include "record/record_lines.h"
#include "settings/settings_keys.h"
#include "support/fixed_paths.h"

namespace sarvik {

void handle_access_log(const ReqAccessLog& request, ConfigXml& config, AlertThread& alerts,
                       Sealer& sealer) {
  if (!config.GetRootEnable(keys::kAccessLogConf, keys::kEnable)) return;
  time_t now = time(nullptr);
  std::string share = request.text_entry(kAccessShare);
  if (!is_logged_share(share, config)) return;

  AccessFields fields = access_fields(request, share);
  std::string line = access_line(now, fields);
  LogFile log = make_log_file(kAccessLog, config.get_share_path(), paths::kStateDir);
  log.auto_delete = config.GetAutoDelete(kAccessLogExpiry);
  log.sealer = sealer.for_log(kAccessLog);
  // Result ignored: unlike a system record, an access record that cannot be written is dropped.
  log.write_line(now, line);
  evaluate_alerts(now, fields, line, config, alerts, paths::kStateDir, sealer.for_log(kAlertLog));
}

}  // namespace sarvik
