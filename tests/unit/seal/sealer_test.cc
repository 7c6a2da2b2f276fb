// Tests of the service's sealer: what it writes to the journals and the key file for lines that
// real logs write, how the chain goes on, and how it fails.
#include "seal/sealer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "logstore/log_file.h"
#include "seal/existing_file.h"
#include "seal/seal_crypto.h"
#include "seal/seal_paths.h"
#include "seal/seal_setup.h"
#include "testing/file_size_limit.h"
#include "testing/file_text.h"
#include "testing/journal_text.h"
#include "testing/temp_dir.h"
#include "testing/test_times.h"
#include "testing/time_zone.h"

namespace sarvik {
namespace {

using ::sarvik::testing::exists;
using ::sarvik::testing::FileSizeLimit;
using ::sarvik::testing::kApril1st;
using ::sarvik::testing::kMarch4th;
using ::sarvik::testing::list_dir;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

constexpr char kMarchFile[] = "201703/access_20170304123456.csv";
constexpr int kAccessChain = 1;

// The records of a journal, each checked against the chain that `key` derives.
struct Journal {
  std::vector<SealRecord> records;
  bool chain_holds = true;
  ChainKey key_after{};
};

Journal read_journal(const std::string& path, const VerificationKey& key, int chain) {
  Journal journal;
  const std::string bytes = testing::journal_records_text(path);
  ChainKey chain_key = first_chain_key(key, chain);
  SealTag previous{};
  for (size_t at = 0; at < bytes.size();) {
    SealRecord record;
    size_t used = 0;
    std::string why;
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data()) + at;
    EXPECT_EQ(parse_seal(data, bytes.size() - at, &record, &used, &why), SealParse::kRecord) << why;
    if (used == 0) break;
    if (record.seq != journal.records.size()) journal.chain_holds = false;
    if (seal_tag(chain_key, previous, data, record.name.size(), &chain_key) != record.tag) {
      journal.chain_holds = false;
    }
    previous = record.tag;
    journal.records.push_back(record);
    at += used;
  }
  journal.key_after = chain_key;
  return journal;
}

class SealerTest : public ::testing::Test {
 protected:
  SealerTest() : volume(tmp / "vol"), state(tmp / "state"), seal_dir(tmp / "conf/seal") {
    make_dirs(volume);
    make_dirs(state);
    EXPECT_TRUE(seal_crypto_ready());
  }

  void set_up_keys() {
    bool existed = false;
    std::string why;
    ASSERT_TRUE(create_seal_state(seal_dir, key, kMarch4th, /*replace=*/false, &existed, &why))
        << why;
  }

  // Writes `lines` through a fresh access log object at `when`, sealed by `sealer`.
  void write(Sealer& sealer, time_t when, const std::vector<std::string>& lines) {
    LogFile log(volume, "accesslog", "access_", ".csv", state);
    log.sealer = sealer.for_log(kAccessLog);
    for (const std::string& line : lines) ASSERT_EQ(log.write_line(when, line), 0);
  }

  Journal access_journal() { return read_journal(seal_dir + "/access.seals", key, kAccessChain); }
  std::string log_path(const std::string& name) const { return volume + "/accesslog/" + name; }
  ino_t inode_of(const std::string& path) const {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_ino;
  }

  ScopedTimeZone zone{::sarvik::testing::kUtc};
  TempDir tmp;
  std::string volume;
  std::string state;
  std::string seal_dir;
  VerificationKey key = random_verification_key();
  std::ostringstream errors;
  std::ostringstream progress;
};

void expect_line(const SealRecord& record, uint32_t number, uint64_t offset,
                 const std::string& text, uint32_t unsealed_before = 0) {
  EXPECT_EQ(record.type, SealType::kLine);
  EXPECT_EQ(record.line, number);
  EXPECT_EQ(record.offset, offset);
  EXPECT_EQ(record.length, text.size());
  EXPECT_EQ(record.hash, seal_hash(text.data(), text.size())) << text;
  EXPECT_EQ(record.unsealed_before, unsealed_before);
}

TEST_F(SealerTest, EachLineIsSealedWithItsFileNumberOffsetAndHashInOneChain) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  ASSERT_TRUE(sealer.sealing()) << errors.str();
  write(sealer, kMarch4th, {"first", "second line"});
  write(sealer, kMarch4th, {"third"});
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 4u);
  const SealRecord& file = journal.records[0];
  EXPECT_EQ(file.type, SealType::kFile);
  EXPECT_EQ(file.name, kMarchFile);
  EXPECT_EQ(file.inode, inode_of(log_path(kMarchFile)));
  expect_line(journal.records[1], 1, 3, "first");
  expect_line(journal.records[2], 2, 10, "second line");
  expect_line(journal.records[3], 3, 23, "third");
  EXPECT_EQ(read_file(seal_dir + "/system.seals"), "");
  EXPECT_EQ(errors.str(), "");
}

TEST_F(SealerTest, TheKeyFileHoldsOnlyTheCurrentKey) {
  set_up_keys();
  const std::string before = read_file(seal_dir + "/key");
  const ChainKey first = first_chain_key(key, kAccessChain);
  ASSERT_NE(before.find(std::string(first.begin(), first.end())), std::string::npos);
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"a", "b"});
  const std::string after = read_file(seal_dir + "/key");
  EXPECT_EQ(after.find(std::string(first.begin(), first.end())), std::string::npos);
  const ChainKey current = access_journal().key_after;
  EXPECT_NE(after.find(std::string(current.begin(), current.end())), std::string::npos);
  KeyFileContent content;
  std::string why;
  ASSERT_TRUE(
      parse_key_file(reinterpret_cast<const uint8_t*>(after.data()), after.size(), &content, &why));
  EXPECT_EQ(content.chains[kAccessChain].next_seq, 3u);
  EXPECT_EQ(content.chains[kAccessChain].key, current);
  EXPECT_EQ(content.chains[kAccessChain].journal_bytes, 4 * kSlotBytes);
  EXPECT_EQ(content.fingerprint, key_fingerprint(key));
}

TEST_F(SealerTest, TheChainGoesOnAcrossARestartAndANewFile) {
  set_up_keys();
  {
    Sealer sealer(seal_dir, errors, progress);
    sealer.apply(true);
    write(sealer, kMarch4th, {"before"});
  }
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"after the restart"});
  write(sealer, kApril1st, {"april"});
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 5u);
  expect_line(journal.records[1], 1, 3, "before");
  // The same file goes on without a file record of its own.
  expect_line(journal.records[2], 2, 11, "after the restart");
  EXPECT_EQ(journal.records[3].type, SealType::kFile);
  EXPECT_EQ(journal.records[3].name, "201704/access_20170401000000.csv");
  expect_line(journal.records[4], 1, 3, "april");
}

TEST_F(SealerTest, LinesOfAnotherHandAreCountedInTheNumbering) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"ours"});
  write_file(log_path(kMarchFile), read_file(log_path(kMarchFile)) + "x\r\ny\r\n", 0666);
  write(sealer, kMarch4th, {"ours again"});
  Journal journal = access_journal();
  ASSERT_EQ(journal.records.size(), 3u);
  expect_line(journal.records[2], 4, 3 + 6 + 6, "ours again");
}

TEST_F(SealerTest, AFileBegunBeforeSealingHasItsLinesCounted) {
  set_up_keys();
  {
    LogFile log(volume, "accesslog", "access_", ".csv", state);
    ASSERT_EQ(log.write_line(kMarch4th, "unsealed 1"), 0);
    ASSERT_EQ(log.write_line(kMarch4th, "unsealed 2"), 0);
  }
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"sealed"});
  Journal journal = access_journal();
  ASSERT_EQ(journal.records.size(), 2u);
  expect_line(journal.records[1], 3, 27, "sealed");
}

TEST_F(SealerTest, AFileWrittenBeforeIsSealedAsIfTheServiceHadWrittenIt) {
  set_up_keys();
  {
    LogFile log(volume, "accesslog", "access_", ".csv", state);
    ASSERT_EQ(log.write_line(kMarch4th, "first"), 0);
    ASSERT_EQ(log.write_line(kMarch4th, "second"), 0);
  }
  write_file(log_path(kMarchFile), read_file(log_path(kMarchFile)) + "half", 0666);
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  std::string why;
  ASSERT_TRUE(seal_existing_file(*sealer.for_log(kAccessLog), volume + "/accesslog", "201703",
                                 "access_20170304123456.csv", &why))
      << why;
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 3u);
  EXPECT_EQ(journal.records[0].name, kMarchFile);
  expect_line(journal.records[1], 1, 3, "first");
  expect_line(journal.records[2], 2, 10, "second");
}

SealHash digest_of(const std::string& bytes) {
  SealDigest digest;
  digest.add(bytes.data(), bytes.size());
  return digest.finish();
}

// `count` lines "line 0", "line 1", ... written through one access log object.
std::vector<std::string> numbered_lines(int from, int count) {
  std::vector<std::string> lines;
  for (int i = from; i < from + count; ++i) lines.push_back("line " + std::to_string(i));
  return lines;
}

TEST_F(SealerTest, EveryBlockOfLinesSealedOneAfterAnotherGetsADigest) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, numbered_lines(0, kDigestLines + 3));
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 1 + kDigestLines + 1 + 3);
  const SealRecord& digest = journal.records[1 + kDigestLines];
  EXPECT_EQ(digest.type, SealType::kDigest);
  EXPECT_EQ(digest.line, kDigestLines);
  EXPECT_EQ(digest.offset, 3u);
  const std::string file = read_file(log_path(kMarchFile));
  const SealRecord& last = journal.records[kDigestLines];
  EXPECT_EQ(digest.end, last.offset + last.length + 2);
  EXPECT_EQ(digest.hash, digest_of(file.substr(3, digest.end - 3)));
  expect_line(journal.records.back(), kDigestLines + 3, journal.records.back().offset,
              "line " + std::to_string(kDigestLines + 2));
}

TEST_F(SealerTest, ALineOfAnotherHandBeginsTheBlockAnew) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, numbered_lines(0, 500));
  write_file(log_path(kMarchFile), read_file(log_path(kMarchFile)) + "theirs\r\n", 0666);
  write(sealer, kMarch4th, numbered_lines(500, kDigestLines));
  Journal journal = access_journal();
  ASSERT_EQ(journal.records.size(), 1 + 500 + kDigestLines + 1);
  const SealRecord& digest = journal.records.back();
  EXPECT_EQ(digest.type, SealType::kDigest);
  EXPECT_EQ(digest.offset, journal.records[501].offset);
  const std::string file = read_file(log_path(kMarchFile));
  EXPECT_EQ(digest.end, file.size());
  EXPECT_EQ(digest.hash, digest_of(file.substr(digest.offset, digest.end - digest.offset)));
}

TEST_F(SealerTest, ABlockIsNotCarriedOverARestart) {
  set_up_keys();
  {
    Sealer sealer(seal_dir, errors, progress);
    sealer.apply(true);
    write(sealer, kMarch4th, numbered_lines(0, kDigestLines - 1));
  }
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, numbered_lines(kDigestLines - 1, 2));
  for (const SealRecord& record : access_journal().records) {
    EXPECT_NE(record.type, SealType::kDigest);
  }
}

TEST_F(SealerTest, ARecordWithALineEndInsideIsSealedAsTheLinesAReaderSees) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"one\r\ntwo\nstill two\r\n", "next"});
  Journal journal = access_journal();
  ASSERT_EQ(journal.records.size(), 5u);
  expect_line(journal.records[1], 1, 3, "one");
  expect_line(journal.records[2], 2, 8, "two\nstill two");
  expect_line(journal.records[3], 3, 23, "");
  expect_line(journal.records[4], 4, 25, "next");
}

TEST_F(SealerTest, ExpiryOfAFileIsSealed) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"old"});
  const ino_t old_inode = inode_of(log_path(kMarchFile));
  {
    LogFile log(volume, "accesslog", "access_", ".csv", state);
    log.sealer = sealer.for_log(kAccessLog);
    log.auto_delete = AutoDelete{true, 30, 100};
    ASSERT_EQ(log.write_line(kMarch4th + 400 * 86400, "new"), 0);
  }
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 5u);
  EXPECT_EQ(journal.records[2].type, SealType::kExpired);
  EXPECT_EQ(journal.records[2].name, kMarchFile);
  EXPECT_EQ(journal.records[2].inode, old_inode);
  EXPECT_EQ(journal.records[3].type, SealType::kFile);
}

TEST_F(SealerTest, WithoutAStateLinesAreUnsealedAndWhyIsToldOnce) {
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  EXPECT_FALSE(sealer.sealing());
  EXPECT_EQ(sealer.for_log(kAccessLog), nullptr);
  sealer.apply(true);
  EXPECT_EQ(errors.str(), "Error: sealing is on, but there is no sealing key in " + seal_dir +
                              ": lines are written unsealed (sarvik-log --setup-keys makes one)\n");
  EXPECT_FALSE(exists(seal_dir));
  // A state set up while the service runs is taken up at the next reload.
  set_up_keys();
  sealer.apply(true);
  EXPECT_TRUE(sealer.sealing());
}

TEST_F(SealerTest, SealingOffOpensNothing) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(false);
  EXPECT_FALSE(sealer.sealing());
  EXPECT_EQ(sealer.for_log(kAccessLog), nullptr);
  sealer.apply(true);
  EXPECT_TRUE(sealer.sealing());
  sealer.apply(false);
  EXPECT_EQ(sealer.for_log(kAlertLog), nullptr);
}

TEST_F(SealerTest, AStateOthersCanWriteIsNotUsed) {
  set_up_keys();
  ASSERT_EQ(chmod(seal_dir.c_str(), 0777), 0);
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  EXPECT_FALSE(sealer.sealing());
  EXPECT_EQ(errors.str(),
            "Error: sealing is on, but the sealing state cannot be used: " + seal_dir +
                ": open to others than its owner: lines are written unsealed\n");
}

TEST_F(SealerTest, ADamagedKeyFileIsNotUsed) {
  set_up_keys();
  write_file(seal_dir + "/key", std::string(kKeyFileBytes, 'x'), 0600);
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  EXPECT_FALSE(sealer.sealing());
  EXPECT_NE(errors.str().find("not a sealing key file"), std::string::npos) << errors.str();
}

TEST_F(SealerTest, AStateSetUpAnewIsTakenUpAtTheNextApply) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"old key"});
  key = random_verification_key();
  bool existed = false;
  std::string why;
  ASSERT_TRUE(create_seal_state(seal_dir, key, kApril1st, /*replace=*/true, &existed, &why));
  EXPECT_TRUE(existed);
  sealer.apply(true);
  write(sealer, kMarch4th, {"new key"});
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 2u);
  expect_line(journal.records[1], 2, 12, "new key");
}

TEST_F(SealerTest, ALineWhoseSealCannotBeWrittenStaysUnsealedAndIsCounted) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  {
    // No room for the journal to grow, as on a full volume.
    FileSizeLimit limit(3 * kSlotBytes);
    write(sealer, kMarch4th, {"not sealed", "nor this"});
  }
  EXPECT_EQ(read_file(log_path(kMarchFile)),
            "\xEF\xBB\xBF"
            "not sealed\r\nnor this\r\n");
  EXPECT_EQ(errors.str(), "Error: cannot seal the lines of the access log in " + seal_dir +
                              "/access.seals: File too large; they are written unsealed until a "
                              "seal can be written again\n");
  write(sealer, kMarch4th, {"sealed again"});
  EXPECT_EQ(progress.str(),
            "seal: the lines of the access log are sealed again; 2 were written "
            "unsealed\n");
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 2u);
  expect_line(journal.records[1], 3, 25, "sealed again", /*unsealed_before=*/2);
}

// The journal is written through a window of the file allocated ahead: the room runs out when
// the next window cannot be allocated, not before, and nothing faults.
TEST_F(SealerTest, TheJournalsRoomRunsOutAtTheNextWindow) {
  set_up_keys();
  Sealer sealer(seal_dir, errors, progress);
  sealer.apply(true);
  write(sealer, kMarch4th, {"first"});  // three slots, in a window of 64 KiB
  {
    FileSizeLimit limit(64 << 10);
    for (int line = 0; line < 1100; ++line) write(sealer, kMarch4th, {"x"});
  }
  write(sealer, kMarch4th, {"last"});
  // The window held 1024 slots: three and 1021 lines sealed; the other 79 lines were not.
  EXPECT_NE(errors.str().find("File too large"), std::string::npos) << errors.str();
  EXPECT_EQ(progress.str(),
            "seal: the lines of the access log are sealed again; 79 were written unsealed\n");
  Journal journal = access_journal();
  EXPECT_TRUE(journal.chain_holds);
  ASSERT_EQ(journal.records.size(), 1024u);
  expect_line(journal.records[1022], 1022, 3 + 7 + 1020 * 3, "x");
  expect_line(journal.records[1023], 1102, 3 + 7 + 1100 * 3, "last", /*unsealed_before=*/79);
}

}  // namespace
}  // namespace sarvik
