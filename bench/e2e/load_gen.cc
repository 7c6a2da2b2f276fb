// e2e-load: sends records to the log keeper's socket, one connection per record, and reports the
// rate, the latency and, given the server's pid, its processor time and memory per record.
#include <dirent.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "protocol/request_data.h"

namespace {

const char kUsage[] =
    "Usage: e2e-load [--records N] [--clients 1|2] [--kind access|system] [--pid PID]\n"
    "                [--socket PATH]\n"
    "Sends N records, one connection each, from 1 or 2 client processes, checks that every\n"
    "answer is 00 02 00 00, and prints one line of key=value pairs: rate, latency percentiles\n"
    "and, with --pid, the server's processor time per record, its peak resident memory and\n"
    "the memory it wrote itself (Private_Dirty of /proc/PID/smaps_rollup).\n";

// The only answer the service gives to a record it took.
constexpr uint8_t kOkAnswer[] = {0x00, 0x02, 0x00, 0x00};

struct Options {
  long records = 10000;
  int clients = 1;
  bool system = false;
  pid_t pid = 0;
  std::string socket_path = "/tmp/sarvik";
};

// The bytes of `packet` on the stream: length word and payload.
std::string wire_bytes(const sarvik::Packet& packet) {
  return std::string{static_cast<char>(packet.size >> 8), static_cast<char>(packet.size)} +
         std::string(reinterpret_cast<const char*>(packet.data), packet.size);
}

// One record as the benchmark sends it, again and again.
std::string record_bytes(bool system) {
  if (system) {
    return wire_bytes(sarvik::ReqSystemLog(std::to_string(time(nullptr)).c_str(), "bench",
                                           "e2e-load", "a system record of the benchmark"));
  }
  return wire_bytes(sarvik::ReqAccessLog("Alice", "pc01", "192.0.2.7", "open", 1, 0, "docs",
                                         "r|reports/2017/q1.txt"));
}

double now_us() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

// One exchange; true when the whole answer came and was the expected one.
bool send_one(const sockaddr_un& address, const std::string& bytes) {
  int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (fd < 0) return false;
  bool ok = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
            write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  uint8_t answer[16];
  size_t got = 0;
  while (ok && got < sizeof answer) {
    ssize_t n = read(fd, answer + got, sizeof answer - got);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    got += static_cast<size_t>(n);
  }
  close(fd);
  return ok && got == sizeof kOkAnswer && memcmp(answer, kOkAnswer, got) == 0;
}

// Sends records [first, last) and stores each latency in microseconds; returns the bad answers.
long run_client(const Options& options, long first, long last, float* latencies) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, options.socket_path.c_str(), sizeof address.sun_path - 1);
  std::string bytes = record_bytes(options.system);
  long bad = 0;
  for (long i = first; i < last; ++i) {
    double start = now_us();
    if (!send_one(address, bytes)) ++bad;
    latencies[i] = static_cast<float>(now_us() - start);
  }
  return bad;
}

// The time all threads of `pid` ran on a processor, in nanoseconds, as the scheduler counts it
// (/proc/PID/task/*/schedstat): exact, where utime and stime are sampled at clock ticks of 10 ms
// and spread a difference of a microsecond per record over several; -1 when it cannot be read.
long long cpu_ns(pid_t pid) {
  const std::string tasks = "/proc/" + std::to_string(pid) + "/task";
  DIR* dir = opendir(tasks.c_str());
  if (dir == nullptr) return -1;
  long long total = 0;
  while (const dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    std::ifstream schedstat(tasks + "/" + entry->d_name + "/schedstat");
    long long ran = 0;
    if (schedstat >> ran) total += ran;
  }
  closedir(dir);
  return total;
}

// The sum of the lines of /proc/<pid>/<file> that begin with one of `keys` ("VmHWM:"-style
// lines in kB); -1 when none is there.
long proc_kb(pid_t pid, const std::string& file, const std::vector<std::string>& keys) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/" + file);
  std::string line;
  long sum = -1;
  while (std::getline(status, line)) {
    for (const std::string& key : keys) {
      if (line.compare(0, key.size(), key) != 0) continue;
      sum = std::max(sum, 0L) + std::atol(line.c_str() + key.size());
    }
  }
  return sum;
}

bool parse(int argc, char** argv, Options* options) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (i + 1 >= argc) return false;
    std::string value = argv[++i];
    if (arg == "--records") {
      options->records = std::atol(value.c_str());
    } else if (arg == "--clients") {
      options->clients = std::atoi(value.c_str());
    } else if (arg == "--kind") {
      if (value != "access" && value != "system") return false;
      options->system = value == "system";
    } else if (arg == "--pid") {
      options->pid = std::atoi(value.c_str());
    } else if (arg == "--socket") {
      options->socket_path = value;
    } else {
      return false;
    }
  }
  return options->records > 0 && (options->clients == 1 || options->clients == 2);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!parse(argc, argv, &options)) {
    fputs(kUsage, stderr);
    return 2;
  }
  // Shared with the client processes: one latency per record, one bad count per client.
  size_t bytes = sizeof(float) * options.records + sizeof(long) * options.clients;
  void* shared = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) {
    perror("e2e-load: mmap");
    return 1;
  }
  auto* latencies = static_cast<float*>(shared);
  auto* bad = reinterpret_cast<long*>(latencies + options.records);

  long long cpu_before = options.pid > 0 ? cpu_ns(options.pid) : -1;
  double start = now_us();
  std::vector<pid_t> children;
  for (int c = 0; c < options.clients; ++c) {
    long first = options.records * c / options.clients;
    long last = options.records * (c + 1) / options.clients;
    pid_t child = fork();
    if (child == 0) {
      bad[c] = run_client(options, first, last, latencies);
      _exit(0);
    }
    if (child < 0) {
      perror("e2e-load: fork");
      return 1;
    }
    children.push_back(child);
  }
  for (pid_t child : children) waitpid(child, nullptr, 0);
  double seconds = (now_us() - start) / 1e6;
  long long cpu_after = options.pid > 0 ? cpu_ns(options.pid) : -1;

  long bad_total = 0;
  for (int c = 0; c < options.clients; ++c) bad_total += bad[c];
  std::vector<float> sorted(latencies, latencies + options.records);
  std::sort(sorted.begin(), sorted.end());
  auto percentile = [&](double p) {
    size_t index = static_cast<size_t>(p * (sorted.size() - 1) + 0.5);
    return sorted[index];
  };
  printf(
      "records=%ld clients=%d seconds=%.3f rate=%.0f p50_us=%.1f p99_us=%.1f max_us=%.1f "
      "bad=%ld",
      options.records, options.clients, seconds, options.records / seconds, percentile(0.50),
      percentile(0.99), sorted.back(), bad_total);
  if (options.pid > 0) {
    // Private memory: the pages the server wrote (heap, stacks, data and relocations of its
    // libraries). The clean private pages are left out: they are library code that no other
    // process happens to map at the moment, so they come and go with the rest of the machine.
    printf(" cpu_us=%.2f hwm_kb=%ld rss_kb=%ld private_kb=%ld",
           static_cast<double>(cpu_after - cpu_before) / 1e3 / static_cast<double>(options.records),
           proc_kb(options.pid, "status", {"VmHWM:"}), proc_kb(options.pid, "status", {"VmRSS:"}),
           proc_kb(options.pid, "smaps_rollup", {"Private_Dirty:"}));
  }
  printf("\n");
  return bad_total == 0 ? 0 : 1;
}
