// sarvik-log --verify: every log file against its seals, and with the key the state itself.
#ifndef SARVIK_TOOLS_VERIFY_VERIFY_RUN_H_
#define SARVIK_TOOLS_VERIFY_VERIFY_RUN_H_

#include <time.h>

#include <istream>
#include <ostream>
#include <string>

#include "query/problems.h"
#include "query/query_options.h"
#include "query/settings_reader.h"
#include "verify/verify_command.h"

namespace sarvik::verify {

// The exit status of a verification: everything verified, a finding, or (query::kTrouble) an
// error.
inline constexpr int kAllVerified = 0;
inline constexpr int kFindings = 1;

// Where the verifier reads and writes: the service's own places for sarvik-log, others in tests.
struct VerifyPlaces {
  std::string state_dir;         // the sealing state
  std::istream* key_input;       // the verification key for --key -
  std::ostream* out;             // the report
  query::ProblemSink* problems;  // what goes wrong
  // Reads the settings when the volume comes from them.
  query::SettingsReader* settings;
};

// Verifies the logs of the volume that `options` name (--root, or the settings' volume), in the
// month directories that can hold lines of --since/--until, of the log --kind names or of all
// three: every file, whether it is there or only its seals are, against the seals of the state,
// and with a verification key (`command.key_file`) also every chain of the state against the
// key. Writes the report (verify_report.h) and returns the exit status: 0 all verified, 1 a
// finding, 2 an error (no state, a key that cannot be read, a file that cannot be read). `now`
// is the time that relative bounds count from. Main thread; it starts and joins its own workers.
int run_verify(const query::QueryOptions& options, const VerifyCommand& command, time_t now,
               const VerifyPlaces& places);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_VERIFY_RUN_H_
