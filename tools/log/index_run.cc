// Building the block indexes from the command line: all at once, or behind a query.
#include "log/index_run.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>

#include "logstore/log_kinds.h"
#include "query/index_build.h"
#include "query/index_store.h"

namespace sarvik::log_tool {

using query::BuildReport;
using query::IndexStore;
using query::LogFileEntry;
using query::LogTree;
using query::Problems;
using query::QueryPlan;

namespace {

// The background build yields to everything else on the machine.
constexpr int kBackgroundNice = 10;
// Files under a temporary name this old are left over from a build that never finished.
constexpr time_t kLeftoverAge = 3600;

// The canonical path of the volume, which names its directory in the store; empty on failure.
std::string canonical(const std::string& path) {
  char* resolved = realpath(path.c_str(), nullptr);
  if (resolved == nullptr) return "";
  std::string text = resolved;
  free(resolved);
  return text;
}

}  // namespace

int build_all_indexes(const QueryPlan& plan, const std::string& directory, Problems& problems) {
  auto started = std::chrono::steady_clock::now();
  std::string volume = canonical(plan.root);
  if (volume.empty() || directory.empty()) {
    problems.fail(volume.empty() ? "cannot read the log volume " + plan.root
                                 : "no cache directory: HOME is not set");
    return query::kTrouble;
  }
  BuildReport total;
  uint64_t removed = 0;
  for (const LogKind& kind : {kAccessLog, kAlertLog, kSystemLog}) {
    LogTree tree(plan.root, kind);
    std::string error;
    if (!tree.open(&error)) {
      problems.fail("cannot read the log volume " + error);
      return query::kTrouble;
    }
    if (!tree.has_log_dir()) continue;
    IndexStore store(directory, geteuid());
    if (!store.open(volume, kind, /*create=*/true)) {
      problems.fail(directory + ": cannot keep indexes there (missing, or not the user's own)");
      return query::kTrouble;
    }
    // After a build behind a question, if one runs: it would write the same indexes.
    query::Descriptor lock = store.lock_builders(/*wait=*/true);
    std::vector<LogFileEntry> files = query::closed_files(tree, problems);
    BuildReport report = query::build_indexes(tree, store, files);
    removed += query::remove_other_indexes(store, files);
    // A build that was stopped midway (the machine went down) left its file; one that runs now
    // is younger than this.
    store.remove_leftovers(time(nullptr) - kLeftoverAge);
    total.built += report.built;
    total.current += report.current;
    total.failed += report.failed;
    total.log_bytes += report.log_bytes;
    total.index_bytes += report.index_bytes;
  }
  double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  std::printf(
      "sarvik-log: %llu index(es) built (%.1f MB for %.1f MB of logs), %llu current, %llu "
      "removed, in %.2f s; indexes in %s\n",
      static_cast<unsigned long long>(total.built), total.index_bytes / 1e6, total.log_bytes / 1e6,
      static_cast<unsigned long long>(total.current), static_cast<unsigned long long>(removed),
      seconds, (directory + "/" + IndexStore::volume_key(volume)).c_str());
  if (total.failed > 0) {
    problems.warn(std::to_string(total.failed) +
                  " closed file(s) could not be indexed (unreadable, or changed while read); they "
                  "are scanned whole");
  }
  std::fflush(stdout);
  return problems.failed() ? query::kTrouble : query::kMatched;
}

void build_in_background(const QueryPlan& plan, const std::string& directory,
                         const std::vector<LogFileEntry>& files) {
  std::string volume = canonical(plan.root);
  if (volume.empty() || directory.empty() || files.empty()) return;
  std::fflush(stdout);
  pid_t child = fork();
  if (child != 0) return;  // the parent goes on to its exit; a failed fork builds nothing
  // The child: a session of its own, away from the terminal and the caller's pipes, so that
  // nobody waits for it.
  setsid();
  int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (null >= 0) {
    for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
  }
  setpriority(PRIO_PROCESS, 0, kBackgroundNice);
  LogTree tree(plan.root, plan.kind);
  IndexStore store(directory, geteuid());
  std::string error;
  // While another build runs this one leaves the files to the next question: building them
  // twice at once would only slow the machine.
  query::Descriptor lock;
  if (tree.open(&error) && store.open(volume, plan.kind, /*create=*/true) &&
      (lock = store.lock_builders(/*wait=*/false)).valid()) {
    query::build_indexes(tree, store, files);
  }
  _exit(0);
}

}  // namespace sarvik::log_tool
