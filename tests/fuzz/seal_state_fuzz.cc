// Fuzz target: a sealing state as anybody who became root could write it, read as the verifier
// reads it: the key file, the journal record by record, the index of its files and the proof of
// its chain. Every record read writes back to the bytes it came from, a key file read reads the
// same again once written, the seals the index names read back, and the proof ends.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "fuzz_input.h"
#include "fuzz_target.h"
#include "seal/seal_crypto.h"
#include "seal/seal_format.h"
#include "verify/chain_check.h"
#include "verify/journal_index.h"
#include "verify/journal_reader.h"

namespace fuzz = sarvik::fuzzing;

namespace {

using namespace sarvik;
using namespace sarvik::verify;

constexpr size_t kMaxJournal = 64 * kSlotBytes;
// Keys derived across gaps per input: enough to go over a few, quick enough for many inputs.
constexpr uint64_t kMostSkipped = 4096;

int memory_file(const std::string& bytes) {
  int fd = memfd_create("journal", MFD_CLOEXEC);
  if (fd < 0 || write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    fuzz::fuzz_fail("no memory file");
  }
  return fd;
}

void check_key_file(const std::string& bytes, KeyFileContent* content) {
  std::string why;
  if (!parse_key_file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), content,
                      &why)) {
    if (why.empty()) fuzz::fuzz_fail("a key file refused without a reason");
    *content = KeyFileContent();
    return;
  }
  uint8_t again[kKeyFileBytes];
  encode_key_file(*content, again);
  KeyFileContent reread;
  if (!parse_key_file(again, sizeof again, &reread, &why)) {
    fuzz::fuzz_fail("a key file written does not read");
  }
  uint8_t twice[kKeyFileBytes];
  encode_key_file(reread, twice);
  if (memcmp(again, twice, sizeof again) != 0) fuzz::fuzz_fail("a key file reads otherwise");
}

void check_records(int fd) {
  JournalReader reader(fd);
  for (;;) {
    SealRecord record;
    const uint8_t* bytes = nullptr;
    uint64_t offset = 0;
    std::string why;
    JournalReader::Step step = reader.next(&record, &bytes, &offset, &why);
    if (step == JournalReader::Step::kEnd) return;
    if (step == JournalReader::Step::kError) fuzz::fuzz_fail("a memory file cannot be read");
    if (step == JournalReader::Step::kDamaged) {
      if (why.empty()) fuzz::fuzz_fail("damage without a reason");
      continue;
    }
    const std::string written = encode_seal(record);
    if (memcmp(written.data(), bytes, written.size()) != 0) {
      fuzz::fuzz_fail("a record written does not give its bytes back");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (!seal_crypto_ready()) fuzz::fuzz_fail("no cryptographic library");
  fuzz::FuzzInput in(data, size);
  const bool with_key_file = in.take_bool();
  const int chain = in.take_byte() % kSealChains;
  KeyFileContent key_file;
  if (with_key_file) {
    std::string bytes;
    for (size_t i = 0; i < kKeyFileBytes; ++i) bytes += static_cast<char>(in.take_byte());
    check_key_file(bytes, &key_file);
  }
  const int fd = memory_file(in.take_rest(kMaxJournal));
  check_records(fd);

  JournalIndex index;
  if (!index.read(fd)) fuzz::fuzz_fail("an index of a memory file failed");
  for (const auto& [name, file] : index.files()) {
    if (name.empty()) fuzz::fuzz_fail("a file without a name");
    for (const SealedGeneration& generation : file.generations) {
      std::vector<SealedLine> lines;
      if (!read_sealed_lines(fd, generation.spans, UINT64_MAX, &lines) ||
          lines.size() != generation.lines) {
        fuzz::fuzz_fail("the seals the index names do not read back");
      }
    }
  }
  std::vector<Finding> findings;
  const VerificationKey key{};
  if (!check_chain(fd, chain, "accesslog", key, key_file.chains[chain], &findings, kMostSkipped)) {
    fuzz::fuzz_fail("a chain of a memory file cannot be read");
  }
  for (const Finding& finding : findings) {
    if (finding.kind != FindingKind::kState || finding.explanation.empty()) {
      fuzz::fuzz_fail("a chain's finding that is not of the state");
    }
  }
  close(fd);
  return 0;
}
