// The handlers of the two request kinds.
#include "core/request_handlers.h"

namespace sarvik {

// Records are accepted and answered; writing them to the logs comes with the settings.
void handle_system_log(const ReqSystemLog&) {}
void handle_access_log(const ReqAccessLog&) {}

}  // namespace sarvik
