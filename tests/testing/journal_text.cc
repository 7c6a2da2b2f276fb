// Reading a seal journal in tests.
#include "testing/journal_text.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>

#include "seal/journal_end.h"
#include "testing/file_text.h"

namespace sarvik::testing {

std::string journal_records_text(const std::string& path) {
  std::string bytes = read_file(path);
  uint64_t end = 0;
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_TRUE(fd >= 0 && journal_records_end(fd, bytes.size(), &end)) << path;
  if (fd >= 0) close(fd);
  bytes.resize(static_cast<size_t>(end));
  return bytes;
}

}  // namespace sarvik::testing
