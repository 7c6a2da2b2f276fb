// Setting up the sealing state: a fresh directory with its key file and empty journals.
#ifndef SARVIK_SEAL_SEAL_SETUP_H_
#define SARVIK_SEAL_SEAL_SETUP_H_

#include <time.h>

#include <string>

#include "seal/seal_crypto.h"

namespace sarvik {

// Makes the sealing state `dir` for `key`, set up at `created`: a directory of mode 0700 with
// the key file, each log's chain at its first key, and the three journals, empty, all of mode
// 0600. Missing parents are made with mode 0755. The state is written and synced in a directory
// beside it first, so that it takes the place whole. An existing state is refused (false with
// `*existed` true) unless `replace`: the new one then takes its place in one rename and the old
// one is deleted. False with the reason in `*why` on failure. Needs root where the service's
// state lies; any thread, no other process may set up the same state at the same time.
bool create_seal_state(const std::string& dir, const VerificationKey& key, time_t created,
                       bool replace, bool* existed, std::string* why);

}  // namespace sarvik

#endif  // SARVIK_SEAL_SEAL_SETUP_H_
