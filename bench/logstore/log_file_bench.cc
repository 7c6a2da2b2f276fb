// Speed of LogFile::write_line on a tmpfs, and the share of its time spent in the kernel.
#include <benchmark/benchmark.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "logstore/log_file.h"
#include "logstore/path.h"
#include "shm_dir.h"

namespace sarvik {
namespace {

constexpr time_t kStart = 1488630896;  // 2017-03-04 12:34:56 UTC
constexpr char kLine[] =
    "2017/03/04 12:34:56,alice,pc01,192.168.0.10,write,success,share,/docs/report.txt";

double seconds(const timeval& t) { return t.tv_sec + t.tv_usec / 1e6; }

// Reports lines per second and the kernel's share of the process's processor time.
class CpuSplit {
 public:
  CpuSplit() { getrusage(RUSAGE_SELF, &before); }
  void report(benchmark::State& state) {
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    double user = seconds(after.ru_utime) - seconds(before.ru_utime);
    double sys = seconds(after.ru_stime) - seconds(before.ru_stime);
    state.counters["lines/s"] = benchmark::Counter(state.iterations(), benchmark::Counter::kIsRate);
    state.counters["sys_share"] = user + sys > 0 ? sys / (user + sys) : 0;
  }

 private:
  rusage before;
};

// One object takes every line: the file stays open, each line costs a flush and a state rewrite.
void BM_WriteLineOneObject(benchmark::State& state) {
  ShmDir dir;
  LogFile log(dir.path(), "systemlog", "system_", ".csv", dir.path());
  time_t when = kStart;
  CpuSplit split;
  for (auto _ : state) benchmark::DoNotOptimize(log.write_line(when++, kLine));
  split.report(state);
}
BENCHMARK(BM_WriteLineOneObject);

// As the service runs: a new object per line, so every line also reads the state file and opens
// and closes the log file.
void BM_WriteLineObjectPerLine(benchmark::State& state) {
  ShmDir dir;
  time_t when = kStart;
  CpuSplit split;
  for (auto _ : state) {
    LogFile log(dir.path(), "systemlog", "system_", ".csv", dir.path());
    benchmark::DoNotOptimize(log.write_line(when++, kLine));
  }
  split.report(state);
}
BENCHMARK(BM_WriteLineObjectPerLine);

// A new object per line with the free-space gate always open: every line also walks a log root of
// 24 month directories, none old enough to be entered.
void BM_WriteLineObjectPerLineWithExpiryWalk(benchmark::State& state) {
  ShmDir dir;
  std::string root = join_path(dir.path(), "systemlog");
  mkdir(root.c_str(), 0777);
  for (int month = 0; month < 24; ++month) {
    std::string name = std::to_string(2015 + month / 12) + (month % 12 < 9 ? "0" : "") +
                       std::to_string(month % 12 + 1);
    mkdir(join_path(root, name).c_str(), 0777);
  }
  time_t when = kStart;
  CpuSplit split;
  for (auto _ : state) {
    LogFile log(dir.path(), "systemlog", "system_", ".csv", dir.path());
    log.auto_delete = AutoDelete{true, 36500, 100};
    benchmark::DoNotOptimize(log.write_line(when++, kLine));
  }
  split.report(state);
}
BENCHMARK(BM_WriteLineObjectPerLineWithExpiryWalk);

}  // namespace
}  // namespace sarvik
