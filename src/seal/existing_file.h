// Sealing the lines of a log file that is already written, as the service would have sealed them.
#ifndef SARVIK_SEAL_EXISTING_FILE_H_
#define SARVIK_SEAL_EXISTING_FILE_H_

#include <string>

#include "logstore/line_sealer.h"

namespace sarvik {

// Tells `sealer` of every whole line of the log file `name` in the month directory `month`
// below `log_root`, one after another, as a log tells it of each line it has just written: the
// same identity, offsets and texts. A last line without its line end is left. For logs that
// another program wrote in the service's format (the benchmark's corpus, tests), to seal them
// with the service's own code; the service itself never calls it. Opens nothing through a link.
// False with the reason in `*why` when the file cannot be read.
bool seal_existing_file(LineSealer& sealer, const std::string& log_root, const std::string& month,
                        const std::string& name, std::string* why);

}  // namespace sarvik

#endif  // SARVIK_SEAL_EXISTING_FILE_H_
