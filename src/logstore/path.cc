// Path joining and the two existence tests of the log storage.
#include "logstore/path.h"

#include <sys/stat.h>

namespace sarvik {

std::string join_path(const std::string& a, const std::string& b) {
  std::string joined;
  joined.reserve(a.size() + 1 + b.size());  // one allocation for the whole path
  joined = a;
  return append_path(joined, b);
}

std::string& append_path(std::string& a, const std::string& b) {
  if (!b.empty() && b.front() == '/') return a = b;
  if (a.empty() || a.back() != '/') a += '/';
  return a += b;
}

bool path_exists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

bool is_directory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

}  // namespace sarvik
