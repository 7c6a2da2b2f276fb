// What a query asks of a block index: which blocks of a file can hold a line that matters.
#ifndef SARVIK_QUERY_INDEX_QUESTION_H_
#define SARVIK_QUERY_INDEX_QUESTION_H_

#include <optional>
#include <string>
#include <vector>

#include "query/file_scanner.h"
#include "query/index_format.h"
#include "query/literal_finder.h"
#include "query/log_tree.h"
#include "query/record_filter.h"
#include "query/time_range.h"

namespace sarvik::query {

// The blocks of a file that a scan must read so that it hands on, counts and stops at exactly
// what a scan of the whole file would. A block is left out only when no line of it could
// matter: the signature lacks a text that every match holds, no value of a filtered column in
// it passes, or all its times lie outside the range. A block that holds a line without a
// readable time, or with columns in doubt, is read whenever the scan would count such a line;
// a block with a time beyond where the scan stops the file is read, so that it stops there.
// Immutable after construction; any thread may choose with it.
class IndexQuestion {
 public:
  IndexQuestion(const RecordFilter& filter, const TimeRange& range, bool access_columns);

  // Whether an index can leave out any block of the file `entry` for this query.
  bool narrows(const LogFileEntry& entry) const;

  // The blocks of the indexed file to read, in file order. False when the index turned out to
  // be damaged: then nothing can be left out.
  bool choose(IndexView& index, const LogFileEntry& entry, std::vector<ChosenBlock>* blocks) const;

  // What a block that no line in doubt and no line beyond the range's end shares is searched
  // for instead of reading each line: the longest text that every matching line holds.
  const LiteralFinder* narrow_finder() const { return narrow ? &*narrow : nullptr; }

 private:
  // Sets `groups` to the groups whose signature holds the required texts.
  void groups_with_texts(const IndexView& index, std::vector<uint64_t>* groups) const;
  // Clears in `blocks` the blocks that hold no combination of the field group `group` whose
  // every filtered column passes. False when the index is damaged.
  bool blocks_with_values(const IndexView& index, size_t group,
                          std::vector<uint64_t>* blocks) const;

  const RecordFilter& filter;
  const TimeRange& range;
  // Per required text, its alternatives, each as the trigrams it holds.
  std::vector<std::vector<std::vector<uint32_t>>> texts;
  std::vector<AccessField> fields;  // the columns a filter tests
  bool group_filtered[kFieldGroups] = {false, false};
  std::optional<LiteralFinder> narrow;
};

// The record time text of a packed time.
std::string unpacked_time(PackedTime time);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_INDEX_QUESTION_H_
