// Where the notice code finds the appliance's scripts and its notice settings.
#include "notice/notice_paths.h"

#include "support/fixed_paths.h"

namespace sarvik {

NoticePaths appliance_notice_paths() {
  return NoticePaths{paths::kEventLogScript, paths::kBuzzerScript, paths::kMailScript,
                     paths::kNoticeSettings, paths::kNoticeSettingsLock};
}

}  // namespace sarvik
