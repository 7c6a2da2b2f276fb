// Replays saved fuzz inputs through a target without libFuzzer: every file named on the command
// line, and every file inside a named directory, in name order. An empty corpus fails, so a
// replay that ran nothing cannot pass.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_target.h"

// A target that needs no set-up does not define it.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) __attribute__((weak));

namespace {

std::vector<std::string> input_files(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return {};
  if (!S_ISDIR(info.st_mode)) return {path};
  std::vector<std::string> files;
  if (DIR* dir = opendir(path.c_str())) {
    while (dirent* entry = readdir(dir)) {
      std::string name = entry->d_name;
      if (name != "." && name != "..") files.push_back(path + "/" + name);
    }
    closedir(dir);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  size_t replayed = 0;
  for (int i = 1; i < argc; ++i) {
    for (const std::string& file : input_files(argv[i])) {
      std::ifstream in(file, std::ios::binary);
      std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      // An allocation of exactly the input's size (never null, as libFuzzer's), so that ASan
      // sees a read one byte too far.
      std::unique_ptr<uint8_t[]> input(new uint8_t[bytes.size()]);
      std::copy(bytes.begin(), bytes.end(), input.get());
      LLVMFuzzerTestOneInput(input.get(), bytes.size());
      ++replayed;
    }
  }
  std::printf("replayed %zu inputs\n", replayed);
  return replayed == 0 ? 1 : 0;
}
