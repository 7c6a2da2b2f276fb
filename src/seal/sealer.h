// The service's sealing of its lines: the open sealing state and a sealer for each log.
#ifndef SARVIK_SEAL_SEALER_H_
#define SARVIK_SEAL_SEALER_H_

#include <sys/types.h>

#include <memory>
#include <ostream>
#include <string>

#include "logstore/line_sealer.h"
#include "logstore/log_kinds.h"
#include "seal/chain_sealer.h"
#include "seal/seal_format.h"

namespace sarvik {

// Holds the sealing state in `state_dir` open while sealing is on: the key file mapped, and one
// ChainSealer per log with its journal. Everything is opened without following a link, and only
// when it belongs to the effective user and nobody else can reach it.
//
// When sealing is on and the state cannot be used (no key was set up, or it is damaged), lines
// are written unsealed, and why is told once per run of the service on `errors`. A state set up
// anew while the service runs is taken up at the next apply (the next reload of the settings).
// Owned by the server loop for the whole run; main thread only.
class Sealer {
 public:
  Sealer(std::string state_dir, std::ostream& errors, std::ostream& progress);
  ~Sealer();
  Sealer(const Sealer&) = delete;
  Sealer& operator=(const Sealer&) = delete;

  // After each load of the settings: `enabled` opens the state unless the one open is still in
  // place, otherwise the state is closed.
  void apply(bool enabled);
  // Whether lines are sealed.
  bool sealing() const { return key_file != nullptr; }
  // The sealer of `kind`'s lines; null while lines are not sealed. Valid until the next apply.
  LineSealer* for_log(const LogKind& kind);

 private:
  bool open_state(std::string* why);
  void close_state();
  // Whether the key file at the state's path is still the one open.
  bool state_in_place() const;

  const std::string state_dir;
  std::ostream& errors;
  std::ostream& progress;
  uint8_t* key_file = nullptr;  // the mapped key file; null while closed
  int key_fd = -1;
  dev_t key_device = 0;
  ino_t key_inode = 0;
  std::unique_ptr<ChainSealer> chains[kSealChains];
  bool told_why_unsealed = false;
};

}  // namespace sarvik

#endif  // SARVIK_SEAL_SEALER_H_
