// sarvik-log --verify: every log file against its seals, and with the key the state itself.
#include "verify/verify_run.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "logstore/log_names.h"
#include "query/query_plan.h"
#include "seal/journal_end.h"
#include "seal/seal_paths.h"
#include "seal/seal_state.h"
#include "verify/chain_check.h"
#include "verify/key_setup.h"
#include "verify/verify_report.h"

namespace sarvik::verify {

namespace {

// More workers than this gain nothing: reading memory and hashing are the limit.
constexpr size_t kMostWorkers = 4;

// One log's chain: its journal, the seals by file, and what was found.
struct ChainWork {
  int chain = 0;
  query::Descriptor journal;
  JournalIndex index;
  std::unique_ptr<query::LogTree> tree;
  std::map<std::pair<std::string, std::string>, FileToVerify> listing;  // by month and name
  std::vector<FileToVerify> files;
  std::vector<FileVerdict> verdicts;
  std::vector<Finding> state;
};

// The sealing state's key file and journals, opened for reading.
struct OpenState {
  query::Descriptor dir;
  KeyFileContent key_file;
};

bool open_state(const std::string& state_dir, OpenState* state, std::string* error) {
  std::string why;
  state->dir = query::Descriptor(open_seal_dir(state_dir, SealAccess::kRead, &why));
  struct stat status;
  query::Descriptor key(state->dir.valid()
                            ? open_seal_file(state->dir.get(), kSealKeyFile, SealAccess::kRead,
                                             /*create=*/false, &status, &why)
                            : -1);
  if (!key.valid()) {
    *error = errno == ENOENT ? "there is no sealing state in " + state_dir +
                                   " (sarvik-log --setup-keys sets one up)"
                             : "cannot read the sealing state: " + why;
    return false;
  }
  uint8_t bytes[kKeyFileBytes + 1];
  ssize_t got = pread(key.get(), bytes, sizeof bytes, 0);
  if (got < 0 || !parse_key_file(bytes, static_cast<size_t>(got), &state->key_file, &why)) {
    *error = "cannot read the sealing state's key file: " + (got < 0 ? strerror(errno) : why);
    return false;
  }
  return true;
}

// Whether the month directory `month` is one of those to verify.
bool month_wanted(const std::string& month, const query::TimeRange& range) {
  if (month.size() != kMonthDigits || stamp_digits(month, "") != month) return !range.bounded();
  return query::month_overlaps(month, range);
}

// The log files of the months wanted, each with its size now: the seals read afterwards are
// held against these bytes alone, so that what the service writes meanwhile is no finding.
void list_present(ChainWork& work, const query::TimeRange& range, uint64_t journal_size,
                  query::Problems& problems) {
  for (const std::string& month : work.tree->months(problems)) {
    if (!month_wanted(month, range)) continue;
    query::Descriptor dir = work.tree->open_month(month);
    for (const std::string& name : work.tree->files_of_month(month, problems)) {
      FileToVerify& file = work.listing[{month, name}];
      file.month = month;
      file.name = name;
      file.listed = true;
      file.journal_size = journal_size;
      struct stat status;
      if (dir.valid() && fstatat(dir.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        file.size = static_cast<uint64_t>(status.st_size);
      }
    }
  }
}

// The files to verify: the listing, and every file of the months wanted that the journal holds
// seals of, in the order of months and names.
void list_files(ChainWork& work, const query::TimeRange& range) {
  for (const auto& [sealed_name, sealed] : work.index.files()) {
    const size_t slash = sealed_name.find('/');
    if (slash == std::string::npos) continue;
    std::string month = sealed_name.substr(0, slash);
    if (!month_wanted(month, range)) continue;
    FileToVerify& file = work.listing[{month, sealed_name.substr(slash + 1)}];
    file.month = month;
    file.name = sealed_name.substr(slash + 1);
    file.sealed = &sealed;
  }
  for (auto& [place, file] : work.listing) work.files.push_back(std::move(file));
  work.verdicts.resize(work.files.size());
}

// Runs `work(worker, item)` for every item on up to kMostWorkers threads, the calling one among
// them.
template <typename Work>
void for_each_item(size_t items, const Work& work) {
  const size_t cores = std::max<size_t>(1, std::thread::hardware_concurrency());
  const size_t workers = std::max<size_t>(1, std::min({items, cores, kMostWorkers}));
  std::atomic<size_t> next{0};
  auto run = [&](size_t worker) {
    for (size_t item; (item = next++) < items;) work(worker, item);
  };
  std::vector<std::thread> threads;
  for (size_t worker = 1; worker < workers; ++worker) threads.emplace_back(run, worker);
  run(0);
  for (std::thread& thread : threads) thread.join();
}

const LogKind& kind_named(const std::string& name) {
  return name == "system" ? kSystemLog : name == "alert" ? kAlertLog : kAccessLog;
}

}  // namespace

int run_verify(const query::QueryOptions& options, const VerifyCommand& command, time_t now,
               const VerifyPlaces& places) {
  query::Problems problems(*places.problems);
  std::optional<VerificationKey> key;
  std::string error;
  if (!command.key_file.empty()) {
    VerificationKey read;
    if (!read_verification_key(command.key_file, *places.key_input, &read, &error)) {
      problems.fail("cannot read the verification key: " + error);
      return query::kTrouble;
    }
    key = read;
  }
  if (!seal_crypto_ready()) {
    problems.fail("the cryptographic library cannot be used");
    return query::kTrouble;
  }
  // The volume and the time range, as the queries read them.
  query::QueryOptions where;
  where.root = options.root;
  where.settings = options.settings;
  where.since = options.since;
  where.until = options.until;
  query::QueryPlan plan;
  OpenState state;
  if (!query::build_query_plan(where, now, /*terminal=*/false, *places.settings, &plan, &error) ||
      !open_state(places.state_dir, &state, &error)) {
    problems.fail(error);
    return query::kTrouble;
  }

  std::vector<ChainWork> chains;
  chains.reserve(kSealChains);  // the files to verify point into each chain's index
  for (int chain = 0; chain < kSealChains; ++chain) {
    const LogKind& kind = *kSealChainTable[chain].log;
    if (command.kind_given && seal_chain_of(kind_named(options.kind)) != chain) continue;
    ChainWork& work = chains.emplace_back();
    work.chain = chain;
    // The end of the journal's records first, then the files: the seals in the journal by then are
    // of lines that the files held when they were listed.
    const std::string journal = kSealChainTable[chain].journal;
    struct stat status;
    work.journal = query::Descriptor(open_seal_file(state.dir.get(), journal.c_str(),
                                                    SealAccess::kRead, false, &status, &error));
    work.tree = std::make_unique<query::LogTree>(plan.root, kind);
    if (!work.tree->open(&error)) {
      problems.fail("cannot read the log volume " + error);
      return query::kTrouble;
    }
    uint64_t records_end = 0;
    const bool readable = work.journal.valid() &&
                          journal_records_end(work.journal.get(),
                                              static_cast<uint64_t>(status.st_size), &records_end);
    if (readable) list_present(work, plan.range, records_end, problems);
    if (!readable || !work.index.read(work.journal.get())) {
      problems.fail("cannot read the sealing state: " +
                    (work.journal.valid() ? journal + ": " + strerror(errno) : error));
      return query::kTrouble;
    }
    if (!key && work.index.damaged_slots() > 0) {
      problems.warn(places.state_dir + "/" + journal + " holds " +
                    std::to_string(work.index.damaged_slots()) + " damaged slot(s), the first at " +
                    work.index.first_damage() +
                    "; the seals lost there show at the lines they sealed, and --key tells "
                    "whether the state was altered");
    }
    list_files(work, plan.range);
  }

  // With the key, the chains are proven on a thread of their own while the files are verified.
  const bool fingerprint_holds = key && key_fingerprint(*key) == state.key_file.fingerprint;
  std::vector<Finding> key_findings;
  if (key && !fingerprint_holds) {
    Finding finding{FindingKind::kState, places.state_dir, 0, 0, 0, ""};
    finding.explanation =
        "the sealing state was not set up with this verification key: it was set up anew, or "
        "the key is another's";
    key_findings.push_back(finding);
  }
  std::thread prover;
  if (fingerprint_holds) {
    prover = std::thread([&] {
      for (ChainWork& work : chains) {
        if (!check_chain(work.journal.get(), work.chain, kSealChainTable[work.chain].log->subdir,
                         *key, state.key_file.chains[work.chain], &work.state)) {
          problems.fail(std::string("cannot read the sealing state: ") + strerror(errno));
        }
      }
    });
  }
  std::vector<std::pair<size_t, size_t>> items;
  for (size_t chain = 0; chain < chains.size(); ++chain) {
    for (size_t file = 0; file < chains[chain].files.size(); ++file)
      items.emplace_back(chain, file);
  }
  std::vector<VerifyScratch> scratch(kMostWorkers);
  for_each_item(items.size(), [&](size_t worker, size_t item) {
    ChainWork& work = chains[items[item].first];
    const size_t file = items[item].second;
    work.verdicts[file] =
        verify_file(*work.tree, work.files[file], work.journal.get(), scratch[worker], problems);
  });
  if (prover.joinable()) prover.join();
  if (key) erase_secret(key->data(), key->size());

  VerifyReport report(*places.out, options.output == "json");
  uint64_t seals = 0;
  bool altered = !key_findings.empty();
  for (const ChainWork& work : chains) {
    for (const FileVerdict& verdict : work.verdicts) report.file(verdict);
    report.state(work.state);
    altered = altered || !work.state.empty();
    seals += work.index.records();
  }
  report.state(key_findings);
  report.total(!key      ? StateProof::kNotProven
               : altered ? StateProof::kAltered
                         : StateProof::kProven,
               seals);
  if (problems.failed()) return query::kTrouble;
  return report.findings() > 0 ? kFindings : kAllVerified;
}

}  // namespace sarvik::verify
