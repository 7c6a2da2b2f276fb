// The service's side of sealing end to end: off it leaves everything as without it; on without a
// key it says so once per start; on with a key it seals every line of the three logs; and a seal
// that cannot be written costs no record.
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "harness/alert_rules.h"
#include "harness/fault_fixture.h"
#include "harness/records.h"
#include "seal/seal_crypto.h"
#include "seal/seal_format.h"
#include "seal/seal_paths.h"
#include "seal/seal_setup.h"
#include "support/fixed_paths.h"
#include "testing/file_text.h"
#include "testing/fresh_volumes.h"
#include "testing/journal_text.h"
#include "testing/text_count.h"

namespace sarvik::testing {
namespace {

const std::string kSealDir = paths::kSealDir;
const std::string kNoKey =
    "Error: sealing is on, but there is no sealing key in /mnt/data/conf/sarvik/seal: lines are "
    "written unsealed (sarvik-log --setup-keys makes one)\n";

// The records of a journal, read as they stand.
std::vector<SealRecord> journal_records(const std::string& journal) {
  const std::string bytes = journal_records_text(kSealDir + "/" + journal);
  std::vector<SealRecord> records;
  for (size_t at = 0; at < bytes.size();) {
    SealRecord record;
    size_t used = 0;
    std::string why;
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data()) + at;
    if (parse_seal(data, bytes.size() - at, &record, &used, &why) != SealParse::kRecord) {
      ADD_FAILURE() << journal << ": " << why;
      break;
    }
    records.push_back(record);
    at += used;
  }
  return records;
}

// The hashes of the line records of a journal.
std::vector<SealHash> sealed_hashes(const std::string& journal) {
  std::vector<SealHash> hashes;
  for (const SealRecord& record : journal_records(journal)) {
    if (record.type == SealType::kLine) hashes.push_back(record.hash);
  }
  return hashes;
}

std::vector<SealHash> hashes_of(const std::vector<std::string>& lines) {
  std::vector<SealHash> hashes;
  for (const std::string& line : lines) hashes.push_back(seal_hash(line.data(), line.size()));
  return hashes;
}

// Every file of the state and its bytes.
std::vector<std::string> state_bytes() {
  std::vector<std::string> files;
  for (const std::string& name : list_dir(kSealDir)) {
    files.push_back(name + ":" + read_file(kSealDir + "/" + name));
  }
  return files;
}

class SealService : public FaultTest {
 protected:
  void SetUp() override {
    FaultTest::SetUp();
    ASSERT_TRUE(seal_crypto_ready());
  }

  // The default settings with an alert rule on share "docs" and `hardening`.
  static void with_hardening(const std::string& hardening) {
    Settings settings;
    settings.alerts = alert_rule("docs-reads", "<sharename>docs</sharename>");
    settings.hardening = hardening;
    write_settings(settings);
  }

  static void set_up_keys() {
    bool existed = false;
    std::string why;
    ASSERT_TRUE(create_seal_state(kSealDir, random_verification_key(), time(nullptr),
                                  /*replace=*/false, &existed, &why))
        << why;
  }

  // A system record, and an access record that the rule writes to the alert log too.
  static void send_records() {
    EXPECT_EQ(exchange(system_record("1700000000", "disk", "sda", "ok")), kOkAnswer);
    EXPECT_EQ(exchange(access_record("alice", "pc1", "192.0.2.7", "open", 1, 0, "docs",
                                     "r|reports/q3.xlsx")),
              kOkAnswer);
  }
};

const char kSealOn[] = "<hardening><seal enable=\"true\"/></hardening>";

TEST_F(SealService, WithoutTheSwitchNoStateIsMadeAndNothingIsSaid) {
  for (const char* hardening : {"", "<hardening><seal enable=\"TRUE\"/></hardening>"}) {
    with_hardening(hardening);
    start();
    send_records();
    EXPECT_FALSE(exists(kSealDir)) << hardening;
    EXPECT_EQ(service->stderr_text(), "") << hardening;
    service.reset();
    started_descriptors = -1;
  }
  EXPECT_EQ(log_lines("accesslog", kLogVolume).size(), 2u);
  EXPECT_EQ(log_lines("alertlog", kLogVolume).size(), 2u);
}

TEST_F(SealService, SealingOffLeavesAStateThatIsThereUntouched) {
  set_up_keys();
  const std::vector<std::string> before = state_bytes();
  ASSERT_EQ(before.size(), 4u);
  with_hardening("<hardening><seal enable=\"false\"/></hardening>");
  start();
  send_records();
  EXPECT_EQ(state_bytes(), before);
  EXPECT_EQ(service->stderr_text(), "");
}

TEST_F(SealService, WithoutAKeyLinesAreWrittenAndWhyIsToldOncePerStart) {
  with_hardening(kSealOn);
  start();
  send_records();
  service->send_signal(SIGHUP);
  send_records();
  EXPECT_TRUE(service->wait_for_stdout("Reload config"));
  EXPECT_TRUE(service->wait_for_stderr(kNoKey));
  EXPECT_EQ(service->stderr_text(), kNoKey);
  EXPECT_EQ(log_lines("accesslog", kLogVolume).size(), 2u);
  EXPECT_EQ(log_lines("systemlog", kLogVolume).size(), 2u);
  EXPECT_FALSE(exists(kSealDir));
  service.reset();
  started_descriptors = -1;
  start();
  send_records();
  EXPECT_TRUE(service->wait_for_stderr(kNoKey));
  EXPECT_EQ(service->stderr_text(), kNoKey);
}

TEST_F(SealService, EveryLineOfTheThreeLogsIsSealed) {
  set_up_keys();
  with_hardening(kSealOn);
  start();
  send_records();
  send_records();
  EXPECT_EQ(service->stderr_text(), "");
  for (const char* log : {"systemlog", "accesslog", "alertlog"}) {
    const std::string journal = std::string(log, strlen(log) - 3) + ".seals";
    EXPECT_EQ(sealed_hashes(journal), hashes_of(log_lines(log, kLogVolume))) << log;
    std::vector<SealRecord> records = journal_records(journal);
    ASSERT_FALSE(records.empty()) << log;
    EXPECT_EQ(records[0].type, SealType::kFile) << log;
  }
}

TEST_F(SealService, ARecordWhoseSealCannotBeWrittenIsStillLoggedAndAnswered) {
  // The state on a volume of its own, 16 KiB, filled up but for the key file.
  set_up_keys();
  ASSERT_EQ(rename(kSealDir.c_str(), (kSealDir + ".set-up").c_str()), 0);
  make_dirs(kSealDir);
  std::string why;
  ASSERT_TRUE(mount_tmpfs(kSealDir, 16, &why)) << why;
  ASSERT_EQ(chmod(kSealDir.c_str(), 0700), 0);
  for (const std::string& name : list_dir(kSealDir + ".set-up")) {
    write_file(kSealDir + "/" + name, read_file(kSealDir + ".set-up/" + name), 0600);
  }
  int filler = open((kSealDir + "/filler").c_str(), O_WRONLY | O_CREAT, 0600);
  ASSERT_GE(filler, 0);
  const std::string block(4096, 'f');
  while (write(filler, block.data(), block.size()) > 0) {
  }
  EXPECT_EQ(errno, ENOSPC);
  close(filler);

  with_hardening(kSealOn);
  start();
  EXPECT_EQ(exchange(marked_access_record("unsealed")), kOkAnswer);
  EXPECT_EQ(marks_in("accesslog", "unsealed"), std::vector<std::string>{"unsealed"});
  // The record fires the rule: the alert log's line is written unsealed too, and each log tells
  // its own failure once.
  for (const char* log : {"access", "alert"}) {
    EXPECT_TRUE(service->wait_for_stderr(
        std::string("Error: cannot seal the lines of the ") + log +
        " log in /mnt/data/conf/sarvik/seal/" + log +
        ".seals: No space left on device; they are written unsealed until a seal can be written "
        "again\n"));
  }
  EXPECT_TRUE(journal_records("access.seals").empty());

  ASSERT_EQ(unlink((kSealDir + "/filler").c_str()), 0);
  EXPECT_EQ(exchange(marked_access_record("sealed")), kOkAnswer);
  for (const char* log : {"access", "alert"}) {
    EXPECT_TRUE(service->wait_for_stdout(std::string("seal: the lines of the ") + log +
                                         " log are sealed again; 1 were written unsealed\n"));
    std::vector<SealRecord> records = journal_records(std::string(log) + ".seals");
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].line, 2u);
    EXPECT_EQ(records[1].unsealed_before, 1u);
  }
  EXPECT_EQ(count_of(service->stderr_text(), "Error:"), 2);
}

}  // namespace
}  // namespace sarvik::testing
