// Building the block indexes from the command line: all at once, or behind a query.
#ifndef SARVIK_TOOLS_LOG_INDEX_RUN_H_
#define SARVIK_TOOLS_LOG_INDEX_RUN_H_

#include <vector>

#include "query/log_tree.h"
#include "query/problems.h"
#include "query/query_plan.h"

namespace sarvik::log_tool {

// `directory`: the cache of the indexes (see IndexStore::default_directory).

// sarvik-log --index: builds the indexes of the closed files of the three logs of the plan's
// volume that have none or a stale one, and removes those of files that are gone. Prints what
// it did on standard output; returns the exit status.
int build_all_indexes(const query::QueryPlan& plan, const std::string& directory,
                      query::Problems& problems);

// Builds the indexes of `files` of the plan's log in a process of its own, detached, at a low
// priority, which the caller does not wait for: the answer of the query that found them
// missing is not delayed. Call when no other thread runs. Failures are silent: the files are
// simply scanned whole until an index is built.
void build_in_background(const query::QueryPlan& plan, const std::string& directory,
                         const std::vector<query::LogFileEntry>& files);

}  // namespace sarvik::log_tool

#endif  // SARVIK_TOOLS_LOG_INDEX_RUN_H_
