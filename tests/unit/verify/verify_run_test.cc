// Tests of verifying sealed logs: logs written and sealed by the service's own code in a
// temporary directory, changed, and verified; the report, its JSON form and the exit status.
#include "verify/verify_run.h"

#include <fcntl.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "logstore/log_file.h"
#include "logstore/log_kinds.h"
#include "seal/journal_end.h"
#include "seal/key_text.h"
#include "seal/seal_setup.h"
#include "seal/sealer.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"
#include "testing/test_times.h"
#include "testing/time_zone.h"
#include "verify/file_check.h"

namespace sarvik::verify {
namespace {

using ::sarvik::testing::exists;
using ::sarvik::testing::kApril1st;
using ::sarvik::testing::kMarch4th;
using ::sarvik::testing::make_dirs;
using ::sarvik::testing::read_file;
using ::sarvik::testing::ScopedTimeZone;
using ::sarvik::testing::TempDir;
using ::sarvik::testing::write_file;

const char kMarch[] = "accesslog/201703/access_20170304123456.csv";
const char kApril[] = "accesslog/201704/access_20170401000000.csv";
const char kNotProven[] =
    "state: not proven: without the verification key (--key) the lines were checked against the "
    "sealing state, which root could have rewritten\n";

class CollectedProblems : public query::ProblemSink {
 public:
  void tell(const std::string& message, bool error) override {
    text += std::string(error ? "error: " : "warning: ") + message + "\n";
  }
  std::string text;
};

class VerifyRun : public ::testing::Test {
 protected:
  VerifyRun() : volume(tmp / "vol"), state(tmp / "state"), seal_dir(tmp / "seal") {
    make_dirs(volume);
    make_dirs(state);
    EXPECT_TRUE(seal_crypto_ready());
    bool existed = false;
    std::string why;
    EXPECT_TRUE(create_seal_state(seal_dir, key, kMarch4th, false, &existed, &why)) << why;
    sealer.apply(true);
  }

  // Writes `lines` to the access log at `when` through the service's writer, sealed.
  void write(time_t when, const std::vector<std::string>& lines, bool sealed = true) {
    LogFile log = make_log_file(kAccessLog, volume, state);
    log.sealer = sealed ? sealer.for_log(kAccessLog) : nullptr;
    for (const std::string& line : lines) ASSERT_EQ(log.write_line(when, line), 0);
  }

  std::string path(const std::string& relative) const { return volume + "/" + relative; }

  // Runs the verifier with `extra` options; the report in `out`, problems in `problems`.
  int verify(const std::vector<std::string>& extra = {}, const std::string& key_text = "") {
    query::QueryOptions options;
    options.root = volume;
    VerifyCommand command;
    command.verify = true;
    for (size_t i = 0; i < extra.size(); ++i) {
      if (extra[i] == "--json") options.output = "json";
      if (extra[i] == "--key") command.key_file = extra[++i];
      if (extra[i] == "--kind") {
        options.kind = extra[++i];
        command.kind_given = true;
      }
    }
    std::istringstream input(key_text);
    out.str("");
    problems.text.clear();
    std::unique_ptr<query::SettingsReader> settings = query::make_xml_settings_reader();
    return run_verify(options, command, kMarch4th + 86400,
                      {seal_dir, &input, &out, &problems, settings.get()});
  }

  std::string key_file() {
    write_file(tmp / "key", verification_key_text(key) + "\n");
    return tmp / "key";
  }

  ScopedTimeZone zone{::sarvik::testing::kUtc};
  TempDir tmp;
  std::string volume;
  std::string state;
  std::string seal_dir;
  VerificationKey key = random_verification_key();
  std::ostringstream errors;
  std::ostringstream progress;
  Sealer sealer{seal_dir, errors, progress};
  std::ostringstream out;
  CollectedProblems problems;
};

TEST_F(VerifyRun, LogsAsSealedVerifyWithoutAFinding) {
  write(kMarch4th, {"one", "two"});
  write(kMarch4th, {"three"});
  write(kApril1st, {"april"});
  EXPECT_EQ(verify(), kAllVerified);
  EXPECT_EQ(out.str(), std::string(kMarch) + ": ok, 3 lines verified\n" + kApril +
                           ": ok, 1 line verified\n"
                           "total: 2 files, 4 lines verified, 0 findings\n" +
                           kNotProven);
  EXPECT_EQ(problems.text, "");
}

TEST_F(VerifyRun, TheKeyProvesTheState) {
  write(kMarch4th, {"one", "two"});
  EXPECT_EQ(verify({"--key", key_file()}), kAllVerified);
  EXPECT_NE(out.str().find("\nstate: proven with the verification key, 3 seals in all\n"),
            std::string::npos)
      << out.str();
  // The key on standard input, as the administrator pastes it.
  EXPECT_EQ(verify({"--key", "-"}, "  " + verification_key_text(key) + "\n"), kAllVerified);
}

TEST_F(VerifyRun, AChangedLineIsFoundAndTheRestVerified) {
  write(kMarch4th, {"one", "two", "three"});
  write_file(path(kMarch),
             "\xEF\xBB\xBF"
             "one\r\ntwO\r\nthree\r\n",
             0666);
  EXPECT_EQ(verify(), kFindings);
  EXPECT_EQ(out.str(), std::string(kMarch) +
                           ":2: modified: the line differs from the one sealed there (sealed line "
                           "2)\n" +
                           kMarch + ": 2 lines verified, 1 finding\n" +
                           "total: 1 file, 2 lines verified, 1 finding\n" + kNotProven);
}

// Lines "line 0" to "line N-1", enough to fill blocks with digests.
std::vector<std::string> many_lines(int count) {
  std::vector<std::string> lines;
  for (int i = 0; i < count; ++i) lines.push_back("line " + std::to_string(i));
  return lines;
}

// The place of line `number` (from 1) in `file`.
size_t place_of_line(const std::string& file, int number) {
  size_t at = 3;
  for (int line = 1; line < number; ++line) at = file.find("\r\n", at) + 2;
  return at;
}

TEST_F(VerifyRun, BlocksWithDigestsVerifyAndAChangeInOneIsFoundAtItsLine) {
  write(kMarch4th, many_lines(2 * kDigestLines + 100));
  EXPECT_EQ(verify(), kAllVerified);
  EXPECT_EQ(
      out.str().substr(0, out.str().find('\n')),
      std::string(kMarch) + ": ok, " + std::to_string(2 * kDigestLines + 100) + " lines verified");
  const std::string original = read_file(path(kMarch));
  for (int line :
       {1, 700, 2 * static_cast<int>(kDigestLines), 2 * static_cast<int>(kDigestLines) + 50}) {
    std::string changed = original;
    changed[place_of_line(original, line) + 1] = 'X';
    write_file(path(kMarch), changed, 0666);
    EXPECT_EQ(verify(), kFindings) << line;
    EXPECT_NE(out.str().find(std::string(kMarch) + ":" + std::to_string(line) +
                             ": modified: the line differs from the one sealed there (sealed "
                             "line " +
                             std::to_string(line) + ")\n"),
              std::string::npos)
        << line << out.str();
    EXPECT_EQ(out.str().find(": deleted:"), std::string::npos) << out.str();
  }
  // A line cut out of a block, and the file cut inside one.
  std::string cut = original;
  const size_t at = place_of_line(original, 900);
  cut.erase(at, place_of_line(original, 901) - at);
  write_file(path(kMarch), cut, 0666);
  EXPECT_EQ(verify(), kFindings);
  EXPECT_NE(out.str().find(std::string(kMarch) + ":900: deleted: 1 sealed line is missing here "
                                                 "(sealed line 900)\n"),
            std::string::npos)
      << out.str();
  write_file(path(kMarch), original.substr(0, place_of_line(original, 1500)), 0666);
  EXPECT_EQ(verify(), kFindings);
  EXPECT_NE(out.str().find(std::string(kMarch) + ":1500: truncated: the file ends after line "
                                                 "1499"),
            std::string::npos)
      << out.str();
}

// The service goes on writing while a file is verified: what it writes after the file and its
// journal were measured is not looked at, while a file cut short before is.
TEST_F(VerifyRun, LinesWrittenAfterTheListingAreNotLookedAt) {
  write(kMarch4th, many_lines(kDigestLines + 10));
  const int journal = open((seal_dir + "/access.seals").c_str(), O_RDONLY);
  ASSERT_GE(journal, 0);
  // The journal's records end before the zero bytes that the sealer keeps ahead of them.
  uint64_t journal_size = 0;
  ASSERT_TRUE(
      journal_records_end(journal, read_file(seal_dir + "/access.seals").size(), &journal_size));
  EXPECT_EQ(journal_size % kSlotBytes, 0u);
  const uint64_t file_size = read_file(path(kMarch)).size();
  write(kMarch4th, many_lines(kDigestLines + 10));  // a block and more, after the listing
  query::LogTree tree(volume, kAccessLog);
  std::string error;
  ASSERT_TRUE(tree.open(&error)) << error;
  JournalIndex index;
  ASSERT_TRUE(index.read(journal));
  FileToVerify file;
  file.month = "201703";
  file.name = "access_20170304123456.csv";
  file.sealed = &index.files().begin()->second;
  file.listed = true;
  file.size = file_size;
  file.journal_size = journal_size;
  VerifyScratch scratch;
  query::Problems listed_problems(problems);
  FileVerdict verdict = verify_file(tree, file, journal, scratch, listed_problems);
  EXPECT_EQ(verdict.verified, kDigestLines + 10);
  EXPECT_TRUE(verdict.findings.empty());
  // The same file cut before it was listed: its seals of before show it.
  file.size = file_size - 10;
  verdict = verify_file(tree, file, journal, scratch, listed_problems);
  ASSERT_EQ(verdict.findings.size(), 1u);
  EXPECT_EQ(verdict.findings[0].kind, FindingKind::kTruncated);
  close(journal);
}

TEST_F(VerifyRun, ALineStillBeingWrittenIsNoFinding) {
  write(kMarch4th, {"one"});
  write_file(path(kMarch), read_file(path(kMarch)) + "half a li", 0666);
  EXPECT_EQ(verify(), kAllVerified) << out.str();
}

TEST_F(VerifyRun, AFileGoneIsMissingUnlessTheServiceExpiredIt) {
  write(kMarch4th, {"old"});
  write(kApril1st, {"new"});
  ASSERT_EQ(unlink(path(kApril).c_str()), 0);
  EXPECT_EQ(verify(), kFindings);
  EXPECT_NE(out.str().find(std::string(kApril) + ": missing: the file is gone (sealed line 1)\n"),
            std::string::npos)
      << out.str();
  // Expiry deletes the March file and seals that it did.
  LogFile log = make_log_file(kAccessLog, volume, state);
  log.sealer = sealer.for_log(kAccessLog);
  log.auto_delete = AutoDelete{true, 30, 100};
  ASSERT_EQ(log.write_line(kApril1st + 60 * 86400, "later"), 0);
  EXPECT_FALSE(exists(path(kMarch)));
  EXPECT_EQ(verify(), kFindings);
  EXPECT_NE(out.str().find(std::string(kMarch) + ": expired: deleted by the service's expiry\n"),
            std::string::npos)
      << out.str();
  EXPECT_EQ(out.str().find(std::string(kMarch) + ": missing"), std::string::npos) << out.str();
}

TEST_F(VerifyRun, AFileWrittenWhileSealingWasOffIsUnsealed) {
  write(kMarch4th, {"a", "b"}, /*sealed=*/false);
  EXPECT_EQ(verify(), kFindings);
  EXPECT_NE(out.str().find(std::string(kMarch) +
                           ":1: unsealed: lines 1 to 2 are not sealed: written before sealing "
                           "began, while it failed, or after the last seal\n"),
            std::string::npos)
      << out.str();
}

TEST_F(VerifyRun, JsonGivesAnObjectPerFindingSummaryAndTotal) {
  write(kMarch4th, {"one", "two", "three"});
  write_file(path(kMarch),
             "\xEF\xBB\xBF"
             "one\r\nthree\r\n",
             0666);
  EXPECT_EQ(verify({"--json"}), kFindings);
  std::vector<nlohmann::json> objects;
  std::istringstream lines(out.str());
  for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(objects.size(), 3u) << out.str();
  EXPECT_EQ(objects[0]["file"], kMarch);
  EXPECT_EQ(objects[0]["line"], 2);
  EXPECT_EQ(objects[0]["kind"], "deleted");
  EXPECT_EQ(objects[0]["sealed_line"], 2);
  EXPECT_EQ(objects[1]["result"], "findings");
  EXPECT_EQ(objects[1]["verified"], 2);
  EXPECT_EQ(objects[2]["findings"], 1);
  EXPECT_EQ(objects[2]["state"], "not proven");
}

TEST_F(VerifyRun, WithTheKeyAStateCutBackIsFoundAndWithoutItNot) {
  write(kMarch4th, {"one", "two"});
  const std::string journal = seal_dir + "/access.seals";
  const std::string bytes = read_file(journal);
  write(kMarch4th, {"three"});
  // The last seal goes, and the line with it: the rest agrees.
  write_file(journal, bytes, 0600);
  write_file(path(kMarch),
             "\xEF\xBB\xBF"
             "one\r\ntwo\r\n",
             0666);
  EXPECT_EQ(verify(), kAllVerified) << out.str();
  EXPECT_EQ(verify({"--key", key_file()}), kFindings);
  EXPECT_NE(out.str().find("accesslog: state: the key file counts 4 seals, but the journal ends "
                           "before seal 3: the state was cut or rolled back\n"),
            std::string::npos)
      << out.str();
  EXPECT_NE(out.str().find("state: altered, see the findings of kind state\n"), std::string::npos);
}

TEST_F(VerifyRun, AnotherKeyIsTold) {
  write(kMarch4th, {"one"});
  key = random_verification_key();
  EXPECT_EQ(verify({"--key", key_file()}), kFindings);
  EXPECT_NE(out.str().find(seal_dir + ": state: the sealing state was not set up with this "
                                      "verification key"),
            std::string::npos)
      << out.str();
}

TEST_F(VerifyRun, OnlyTheLogNamedIsVerified) {
  write(kMarch4th, {"one"});
  EXPECT_EQ(verify({"--kind", "system"}), kAllVerified);
  EXPECT_EQ(out.str(), std::string("total: 0 files, 0 lines verified, 0 findings\n") + kNotProven);
}

TEST_F(VerifyRun, WithoutAStateOrAKeyItIsAnError) {
  testing::remove_tree(seal_dir);
  EXPECT_EQ(verify(), query::kTrouble);
  EXPECT_EQ(problems.text, "error: there is no sealing state in " + seal_dir +
                               " (sarvik-log --setup-keys sets one up)\n");
  EXPECT_EQ(verify({"--key", tmp / "nowhere"}), query::kTrouble);
  EXPECT_EQ(problems.text, "error: cannot read the verification key: " + (tmp / "nowhere") +
                               ": No such file or directory\n");
  EXPECT_EQ(verify({"--key", "-"}, "not a key"), query::kTrouble);
  EXPECT_EQ(problems.text,
            "error: cannot read the verification key: standard input holds no "
            "verification key (64 hexadecimal digits)\n");
}

}  // namespace
}  // namespace sarvik::verify
