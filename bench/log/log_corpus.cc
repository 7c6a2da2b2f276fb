// log-corpus: writes a realistic log volume for the query benchmark and prints its needles.
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include "corpus.h"

namespace {

const char kUsage[] =
    "Usage: log-corpus --root DIR [--lines N] [--months N] [--seed N] [--end EPOCH]\n"
    "Writes accesslog/, systemlog/ and alertlog/ below DIR as the log keeper lays them out:\n"
    "N access lines (10000000) over the N months (12) that end at EPOCH (now), from a seed (1).\n"
    "Prints, as shell assignments, what the benchmark should look for and how many lines each\n"
    "question finds, then the size of the corpus.\n";

// The value of a numeric option; exits with the usage on a bad one.
unsigned long long number(const char* option, const char* text) {
  char* end = nullptr;
  errno = 0;
  unsigned long long value = strtoull(text, &end, 10);
  if (errno != 0 || end == text || *end != '\0' || text[0] == '-') {
    fprintf(stderr, "log-corpus: %s wants a number, not '%s'\n%s", option, text, kUsage);
    exit(2);
  }
  return value;
}

}  // namespace

int main(int argc, char** argv) {
  sarvik::corpus::CorpusOptions options;
  for (int i = 1; i < argc; i += 2) {
    std::string option = argv[i];
    if (i + 1 >= argc) {
      fprintf(stderr, "%s", kUsage);
      return 2;
    }
    const char* value = argv[i + 1];
    if (option == "--root") {
      options.root = value;
    } else if (option == "--lines") {
      options.lines = number("--lines", value);
    } else if (option == "--months") {
      options.months = static_cast<int>(number("--months", value));
    } else if (option == "--seed") {
      options.seed = number("--seed", value);
    } else if (option == "--end") {
      options.end = static_cast<time_t>(number("--end", value));
    } else {
      fprintf(stderr, "%s", kUsage);
      return 2;
    }
  }
  if (options.root.empty() || options.months < 1 || options.months > 120 || options.lines == 0) {
    fprintf(stderr, "%s", kUsage);
    return 2;
  }
  auto started = std::chrono::steady_clock::now();
  try {
    sarvik::corpus::CorpusSummary summary = sarvik::corpus::write_corpus(options);
    std::chrono::duration<double> took = std::chrono::steady_clock::now() - started;
    printf("%s", sarvik::corpus::describe_needles(summary.plan, summary.counts).c_str());
    printf(
        "seed=%llu\nstart=%lld\nend=%lld\naccess_lines=%llu\naccess_bytes=%llu\n"
        "access_files=%llu\nsystem_lines=%llu\nalert_lines=%llu\nseconds=%.1f\n",
        static_cast<unsigned long long>(options.seed), static_cast<long long>(summary.start),
        static_cast<long long>(summary.end), static_cast<unsigned long long>(summary.access_lines),
        static_cast<unsigned long long>(summary.access_bytes),
        static_cast<unsigned long long>(summary.access_files),
        static_cast<unsigned long long>(summary.system_lines),
        static_cast<unsigned long long>(summary.alert_lines), took.count());
  } catch (const std::exception& error) {
    fprintf(stderr, "log-corpus: %s\n", error.what());
    return 1;
  }
  return 0;
}
