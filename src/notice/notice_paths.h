// Where the notice code finds the appliance's scripts and its notice settings.
#ifndef SARVIK_NOTICE_NOTICE_PATHS_H_
#define SARVIK_NOTICE_NOTICE_PATHS_H_

#include <string>

namespace sarvik {

// The three notification scripts and the notice settings with their lock file. A plain value,
// copied freely; any thread may read a copy.
struct NoticePaths {
  std::string eventlog_script;
  std::string buzzer_script;
  std::string mail_script;
  std::string settings;
  std::string settings_lock;
};

// The appliance's own places (support/fixed_paths.h), which the service uses.
NoticePaths appliance_notice_paths();

}  // namespace sarvik

#endif  // SARVIK_NOTICE_NOTICE_PATHS_H_
