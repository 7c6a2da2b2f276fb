// Summaries instead of lines: a count, counts by fields, or a histogram over time.
#ifndef SARVIK_QUERY_SUMMARY_H_
#define SARVIK_QUERY_SUMMARY_H_

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "query/count_table.h"
#include "query/file_scanner.h"
#include "query/record_format.h"
#include "query/text_writer.h"

namespace sarvik::query {

// A field that --stats counts by. Day and hour come from the line's time: "2024-03-04" and
// "2024-03-04 13:00".
enum class StatsField {
  kUser,
  kHost,
  kIp,
  kOp,
  kResult,
  kShare,
  kDay,
  kHour,
  kText1,
  kText2,
  kText3
};

// Reads the comma-separated names of --stats; false with a reason for a name that is unknown
// or that the line kind does not have.
bool parse_stats_fields(const std::string& text, bool access_columns,
                        std::vector<StatsField>* fields, std::string* error);

struct SummaryRequest {
  enum class Kind { kCount, kStats, kHistogram };
  Kind kind = Kind::kCount;
  std::vector<StatsField> fields;  // of kStats
  uint64_t top = 0;                // kStats: the largest counts only; 0: all
  bool hourly = false;             // kHistogram: a bar per hour, else per day
};

// How many leading columns of an access line the request reads, and whether it reads the time.
size_t access_columns_counted(const SummaryRequest& request);
bool counts_by_time(const SummaryRequest& request);

// Counts the lines it is given. Each worker has its own; they are merged at the end. The request
// must outlive it.
class Summary : public RecordSink {
 public:
  explicit Summary(const SummaryRequest& request) : request(request) {}

  bool take(const MatchedRecord& record) override;
  void merge(const Summary& other);

  uint64_t lines() const { return counted; }
  // Lines that had no readable time and so stand in no bar of a histogram.
  uint64_t lines_without_time() const { return timeless; }

  // Writes the summary: for the table a terminal drawing `width` columns wide, else rows of
  // CSV, TSV or JSON objects.
  bool print(OutputForm form, bool terminal, size_t width, TextWriter& out) const;

 private:
  bool print_stats(OutputForm form, bool terminal, TextWriter& out) const;
  bool print_histogram(OutputForm form, bool terminal, size_t width, TextWriter& out) const;

  const SummaryRequest& request;
  uint64_t counted = 0;
  uint64_t timeless = 0;
  CountTable by_fields;
  std::unordered_map<int64_t, uint64_t> buckets;  // bucket start in civil seconds to lines
  std::string key;                                // working space of take
  std::string label;                              // working space of take
};

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_SUMMARY_H_
