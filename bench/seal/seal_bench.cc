// What sealing one line costs the service: the sealer alone, and its parts, on a tmpfs.
#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "logstore/line_sealer.h"
#include "logstore/log_kinds.h"
#include "seal/seal_crypto.h"
#include "seal/seal_setup.h"
#include "seal/sealer.h"
#include "shm_dir.h"

namespace sarvik {
namespace {

// A line of the length of the benchmark corpus's lines (94 bytes on average).
const std::string kLine =
    "2026/03/04 12:34:56,alice,pc01,192.168.0.10,open_read,ok,finance,reports/2026/q1-budget.xlsx";

// The sealer of the access log as the service runs it, told of one line after another of one
// file: a record written to the journal and the chain's head rewritten in the mapped key file.
void BM_SealLine(benchmark::State& state) {
  if (!seal_crypto_ready()) state.SkipWithError("no libsodium");
  ShmDir dir;
  bool existed = false;
  std::string why;
  if (!create_seal_state(dir.path() + "/seal", random_verification_key(), 0, false, &existed,
                         &why)) {
    state.SkipWithError(why.c_str());
    return;
  }
  std::ostringstream errors, progress;
  Sealer sealer(dir.path() + "/seal", errors, progress);
  sealer.apply(true);
  LineSealer* access = sealer.for_log(kAccessLog);
  const std::string root = dir.path() + "/accesslog", month = "202603";
  std::string name = "access_20260304123456.csv";
  uint64_t offset = 3;
  uint64_t lines = 0;
  for (auto _ : state) {
    access->line_written(WrittenLine{root, month, name, 0x801, 4242, offset, lines == 0, kLine});
    offset += kLine.size() + 2;
    // A new file after as many lines as a log file takes, as the service rotates.
    if (++lines == 65535) {
      state.PauseTiming();
      lines = 0;
      offset = 3;
      name[8] ^= 1;  // another stamp
      state.ResumeTiming();
    }
  }
  if (!errors.str().empty()) state.SkipWithError(errors.str().c_str());
}
BENCHMARK(BM_SealLine);

void BM_LineHash(benchmark::State& state) {
  if (!seal_crypto_ready()) state.SkipWithError("no libsodium");
  for (auto _ : state) benchmark::DoNotOptimize(seal_hash(kLine.data(), kLine.size()));
}
BENCHMARK(BM_LineHash);

// The chain's step of one record: the ChaCha20 block and the Poly1305 tag.
void BM_ChainStep(benchmark::State& state) {
  if (!seal_crypto_ready()) state.SkipWithError("no libsodium");
  ChainKey key = first_chain_key(random_verification_key(), 1);
  uint8_t record[kSlotBytes] = {1};
  SealTag tag{};
  for (auto _ : state) {
    tag = seal_tag(key, tag, record, 0, &key);
    benchmark::DoNotOptimize(tag);
  }
}
BENCHMARK(BM_ChainStep);

}  // namespace
}  // namespace sarvik
