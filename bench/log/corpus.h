// A realistic log volume for the query benchmark: access, system and alert logs.
#ifndef SARVIK_BENCH_LOG_CORPUS_H_
#define SARVIK_BENCH_LOG_CORPUS_H_

#include <time.h>

#include <cstdint>
#include <string>

#include "needles.h"

namespace sarvik::corpus {

struct CorpusOptions {
  std::string root;           // the volume: gets accesslog/, systemlog/ and alertlog/
  uint64_t lines = 10000000;  // access lines
  int months = 12;            // the span, ending at `end`
  uint64_t seed = 1;
  time_t end = 0;  // the last moment of the span; 0 for now
};

struct CorpusSummary {
  time_t start;
  time_t end;
  NeedlePlan plan;
  NeedleCounts counts;
  uint64_t access_lines;
  uint64_t access_bytes;
  uint64_t access_files;
  uint64_t system_lines;
  uint64_t alert_lines;
};

// Writes the three logs below `options.root`, which is made when missing and must not hold any
// of them yet. Every line
// is composed by the service's own record code from the request a client would send, and laid
// out as the service lays it out. The same options and time zone give the same bytes. Throws
// std::runtime_error when the root is taken or a file cannot be written.
CorpusSummary write_corpus(const CorpusOptions& options);

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_CORPUS_H_
