// seal-corpus: seals a log volume that another program wrote (the benchmark's corpus) with the
// service's own sealer, as if the service had written every line: each log's files in the order
// of their months and names, every line of each.
//   seal-corpus --root DIR --state DIR --key-out FILE
// Sets up a fresh sealing state in --state (which must not exist) and writes the verification
// key to --key-out; prints the lines sealed and the time taken.
#include <dirent.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "logstore/log_kinds.h"
#include "seal/existing_file.h"
#include "seal/key_text.h"
#include "seal/seal_paths.h"
#include "seal/seal_setup.h"
#include "seal/sealer.h"

namespace {

using namespace sarvik;

// The names in `dir` that `keep` accepts, sorted.
template <typename Keep>
std::vector<std::string> sorted_names(const std::string& dir, const Keep& keep) {
  std::vector<std::string> names;
  if (DIR* stream = opendir(dir.c_str())) {
    while (dirent* entry = readdir(stream)) {
      if (keep(std::string(entry->d_name))) names.emplace_back(entry->d_name);
    }
    closedir(stream);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

int main(int argc, char** argv) {
  std::string root, state, key_out;
  for (int i = 1; i + 1 < argc; i += 2) {
    std::string option = argv[i];
    if (option == "--root") root = argv[i + 1];
    if (option == "--state") state = argv[i + 1];
    if (option == "--key-out") key_out = argv[i + 1];
  }
  if (root.empty() || state.empty() || key_out.empty() || !seal_crypto_ready()) {
    std::cerr << "usage: seal-corpus --root DIR --state DIR --key-out FILE\n";
    return 2;
  }
  const VerificationKey key = random_verification_key();
  bool existed = false;
  std::string why;
  if (!create_seal_state(state, key, time(nullptr), /*replace=*/false, &existed, &why)) {
    std::cerr << "seal-corpus: " << why << "\n";
    return 2;
  }
  std::ofstream(key_out) << verification_key_text(key) << "\n";
  std::ostringstream errors, progress;
  Sealer sealer(state, errors, progress);
  sealer.apply(true);
  const auto start = std::chrono::steady_clock::now();
  uint64_t files = 0;
  for (const SealChain& chain : kSealChainTable) {
    const LogKind& kind = *chain.log;
    const std::string log_root = root + "/" + kind.subdir;
    const auto is_month = [](const std::string& name) {
      return name.size() == 6 && name.find_first_not_of("0123456789") == std::string::npos;
    };
    for (const std::string& month : sorted_names(log_root, is_month)) {
      const auto is_log = [&](const std::string& name) {
        return name.rfind(kind.prefix, 0) == 0 && name.size() > strlen(kind.suffix) &&
               name.compare(name.size() - strlen(kind.suffix), std::string::npos, kind.suffix) == 0;
      };
      for (const std::string& name : sorted_names(log_root + "/" + month, is_log)) {
        if (!seal_existing_file(*sealer.for_log(kind), log_root, month, name, &why)) {
          std::cerr << "seal-corpus: " << why << "\n";
          return 2;
        }
        ++files;
      }
    }
  }
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  if (!errors.str().empty()) {
    std::cerr << "seal-corpus: " << errors.str();
    return 2;
  }
  std::cout << "sealed_files=" << files << " seconds=" << seconds << "\n";
  return 0;
}
