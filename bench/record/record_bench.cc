// The request path's pieces without the system calls: packet split, record lines, record time.
#include <benchmark/benchmark.h>

#include <string>

#include "protocol/request_data.h"
#include "record/access_fields.h"
#include "record/record_lines.h"
#include "record/record_text.h"

namespace sarvik {
namespace {

constexpr time_t kWhen = 1488630896;

ReqAccessLog BenchAccess() {
  return ReqAccessLog("Alice", "pc01", "192.0.2.7", "open", 1, 0, "docs", "r|reports/2017/q1.txt");
}

// The loop's copy of the received packet into a typed request, with the split of its entries.
void BM_SplitAccessPacket(benchmark::State& state) {
  Packet received = BenchAccess();
  for (auto _ : state) {
    ReqAccessLog request(received);
    benchmark::DoNotOptimize(request.entries.data());
  }
}
BENCHMARK(BM_SplitAccessPacket);

void BM_AccessLine(benchmark::State& state) {
  ReqAccessLog request = BenchAccess();
  for (auto _ : state) {
    std::string share = request.text_entry(kAccessShare);
    benchmark::DoNotOptimize(access_line(kWhen, access_fields(request, share)));
  }
}
BENCHMARK(BM_AccessLine);

void BM_SystemLine(benchmark::State& state) {
  ReqSystemLog request("1488630896", "bench", "e2e-load", "a system record of the benchmark");
  for (auto _ : state) {
    benchmark::DoNotOptimize(system_record(request));
  }
}
BENCHMARK(BM_SystemLine);

void BM_FormatTime(benchmark::State& state) {
  time_t when = kWhen;
  for (auto _ : state) benchmark::DoNotOptimize(format_time(when++));
}
BENCHMARK(BM_FormatTime);

}  // namespace
}  // namespace sarvik
