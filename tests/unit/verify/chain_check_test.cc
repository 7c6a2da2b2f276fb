// Tests of proving a chain with the verification key: a journal as the service's sealer made it,
// then changed as root could change it, holding only the current key.
#include "verify/chain_check.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "logstore/log_file.h"
#include "logstore/log_kinds.h"
#include "seal/seal_paths.h"
#include "seal/seal_setup.h"
#include "seal/sealer.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/test_times.h"
#include "testing/time_zone.h"

namespace sarvik::verify {
namespace {

using ::sarvik::testing::kMarch4th;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

constexpr int kAccess = 1;

class ChainCheck : public ::testing::Test {
 protected:
  ChainCheck() : seal_dir(tmp / "seal") {
    make_dirs(tmp / "vol");
    make_dirs(tmp / "state");
    EXPECT_TRUE(seal_crypto_ready());
    bool existed = false;
    std::string why;
    EXPECT_TRUE(create_seal_state(seal_dir, key, kMarch4th, false, &existed, &why)) << why;
    std::ostringstream errors, progress;
    Sealer sealer(seal_dir, errors, progress);
    sealer.apply(true);
    LogFile log = make_log_file(kAccessLog, tmp / "vol", tmp / "state");
    log.sealer = sealer.for_log(kAccessLog);
    for (const char* line : {"one", "two", "three", "four"}) log.write_line(kMarch4th, line);
  }

  std::string journal() const { return seal_dir + "/access.seals"; }

  KeyFileContent key_file() const {
    const std::string bytes = read_file(seal_dir + "/key");
    KeyFileContent content;
    std::string why;
    EXPECT_TRUE(parse_key_file(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                               &content, &why));
    return content;
  }

  std::vector<std::string> check() const {
    int fd = open(journal().c_str(), O_RDONLY);
    EXPECT_GE(fd, 0);
    std::vector<Finding> findings;
    EXPECT_TRUE(check_chain(fd, kAccess, "accesslog", key, key_file().chains[kAccess], &findings));
    close(fd);
    std::vector<std::string> texts;
    for (const Finding& finding : findings) {
      texts.push_back(finding.file + ":" + std::to_string(finding.line) + ": " +
                      finding.explanation);
    }
    return texts;
  }

  TempDir tmp;
  std::string seal_dir;
  VerificationKey key = random_verification_key();
  testing::ScopedTimeZone zone{testing::kUtc};
};

using Texts = std::vector<std::string>;
constexpr size_t kThirdLine = 4 * kSlotBytes;  // file record in slots 0 and 1, lines behind

TEST_F(ChainCheck, TheChainAsSealedHolds) { EXPECT_EQ(check(), Texts{}); }

TEST_F(ChainCheck, ASealChangedInPlaceIsFoundAtItsLine) {
  std::string bytes = read_file(journal());
  bytes[kThirdLine + 32] ^= 1;  // its hash
  write_file(journal(), bytes, 0600);
  EXPECT_EQ(check(), (Texts{"accesslog/201703/access_20170304123456.csv:3: the seal of this line "
                            "(seal 3 was altered in the state, or made with a later key)"}));
}

// What root can do later: take the current key from the key file and seal an old line anew.
TEST_F(ChainCheck, AnOldSealMadeAgainWithTheCurrentKeyIsFound) {
  std::string bytes = read_file(journal());
  auto* record = reinterpret_cast<uint8_t*>(&bytes[kThirdLine]);
  const std::string forged = "thr3e";
  const SealHash hash = seal_hash(forged.data(), forged.size());
  std::copy(hash.begin(), hash.end(), record + 32);
  SealTag previous;
  std::copy(bytes.begin() + kThirdLine - kSealTagBytes, bytes.begin() + kThirdLine,
            previous.begin());
  ChainKey current = key_file().chains[kAccess].key, next;
  const SealTag tag = seal_tag(current, previous, record, 0, &next);
  std::copy(tag.begin(), tag.end(), record + kTagOffset);
  write_file(journal(), bytes, 0600);
  EXPECT_EQ(check(), (Texts{"accesslog/201703/access_20170304123456.csv:3: the seal of this line "
                            "(seal 3 was altered in the state, or made with a later key)"}));
}

TEST_F(ChainCheck, AJournalCutAtItsEndIsFound) {
  std::string bytes = read_file(journal());
  write_file(journal(), bytes.substr(0, bytes.size() - kSlotBytes), 0600);
  EXPECT_EQ(check(), (Texts{"accesslog:0: the key file counts 5 seals, but the journal ends "
                            "before seal 4: the state was cut or rolled back"}));
}

TEST_F(ChainCheck, ASealWrittenTwiceIsFound) {
  std::string bytes = read_file(journal());
  write_file(journal(), bytes + bytes.substr(bytes.size() - kSlotBytes), 0600);
  EXPECT_EQ(check(), (Texts{"accesslog:0: seal 4 stands after seal 4: the journal was rolled "
                            "back and written anew"}));
}

TEST_F(ChainCheck, AKeyFileRolledBackOrRebuiltIsFound) {
  const std::string saved = read_file(seal_dir + "/key");
  KeyFileContent content = key_file();
  --content.chains[kAccess].next_seq;
  uint8_t bytes[kKeyFileBytes];
  encode_key_file(content, bytes);
  write_file(seal_dir + "/key", std::string(reinterpret_cast<char*>(bytes), sizeof bytes), 0600);
  EXPECT_EQ(check(), (Texts{"accesslog:0: the journal holds seals beyond the 4 that the key file "
                            "counts: the key file was rolled back"}));
  content = key_file();
  ++content.chains[kAccess].next_seq;
  content.chains[kAccess].key.fill(7);
  encode_key_file(content, bytes);
  write_file(seal_dir + "/key", std::string(reinterpret_cast<char*>(bytes), sizeof bytes), 0600);
  EXPECT_EQ(check(), (Texts{"accesslog:0: the key file's key is not the one of seal 5: the state "
                            "was rebuilt"}));
}

}  // namespace
}  // namespace sarvik::verify
