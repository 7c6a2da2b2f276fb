// Test helper: log trees with lines of every kind that the index must get right, the queries
// over them run with and without the block index, and the index built for them.
#ifndef SARVIK_TESTS_UNIT_QUERY_INDEX_FIXTURE_H_
#define SARVIK_TESTS_UNIT_QUERY_INDEX_FIXTURE_H_

#include <unistd.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "collecting_writer.h"
#include "logstore/log_kinds.h"
#include "query/index_build.h"
#include "query/search.h"
#include "scan_collector.h"
#include "testing/temp_dir.h"
#include "testing/time_zone.h"

namespace sarvik::query::testing {

// What one query gave: its output, its messages and the index's part in it.
struct Answer {
  std::string text;
  std::vector<std::string> messages;
  IndexUse use;
  std::vector<LogFileEntry> to_index;
  std::vector<std::optional<LogPosition>> cuts;  // where each page ended, when paged
};

// A volume with an access log and a cache directory for its indexes, in a temporary directory.
class IndexFixture : public ::testing::Test {
 protected:
  std::string volume() const { return dir / "volume"; }
  std::string cache() const { return dir / "cache"; }
  std::string log_file(const std::string& month, const std::string& name) const {
    return volume() + "/accesslog/" + month + "/" + name;
  }

  // Writes `files` files of random lines over three months below the volume, the last one
  // current; returns their paths relative to the access log, oldest first.
  std::vector<std::string> write_random_tree(std::mt19937& random, size_t files);
  // The same for the system log: texts with commas now and then, times out of order.
  void write_random_system_tree(std::mt19937& random, size_t files);

  // The plan of `options` over the volume, output as JSON (numbered lines) unless given.
  QueryPlan plan_for(QueryOptions options) const;

  // Runs the plan, with the index of the cache trusted for `owner` when `indexed`, page by
  // page when it has a limit and `paged`.
  Answer ask(const QueryPlan& plan, bool indexed, bool paged = false,
             uid_t owner = geteuid()) const;

  // Builds the indexes of every closed file of the log; returns how many were built.
  uint64_t build_all(const LogKind& kind = kAccessLog);

  ::sarvik::testing::ScopedTimeZone zone{::sarvik::testing::kUtc};
  ::sarvik::testing::TempDir dir;
};

}  // namespace sarvik::query::testing

#endif  // SARVIK_TESTS_UNIT_QUERY_INDEX_FIXTURE_H_
