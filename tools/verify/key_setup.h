// Setting up the sealing key from the command line, and reading a verification key given to it.
#ifndef SARVIK_TOOLS_VERIFY_KEY_SETUP_H_
#define SARVIK_TOOLS_VERIFY_KEY_SETUP_H_

#include <time.h>

#include <istream>
#include <ostream>
#include <string>

#include "seal/seal_crypto.h"

namespace sarvik::verify {

// sarvik-log --setup-keys: sets up the sealing state in `state_dir` with a fresh verification
// key, at `now`, replacing one that exists only with `force`. The key alone goes to `out`; what
// it is for and that it must be copied off the appliance goes to `err`. Returns the exit
// status: 0, or 2 after telling why on `err`.
int set_up_keys(const std::string& state_dir, bool force, time_t now, std::ostream& out,
                std::ostream& err);

// The verification key in the file `path`, or on `input` when `path` is "-"; false with a
// reason in `*why`.
bool read_verification_key(const std::string& path, std::istream& input, VerificationKey* key,
                           std::string* why);

}  // namespace sarvik::verify

#endif  // SARVIK_TOOLS_VERIFY_KEY_SETUP_H_
