// A scoped temporary directory for tests.
#include "testing/temp_dir.h"

#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <stdexcept>

namespace sarvik::testing {

TempDir::TempDir() {
  char templ[] = "/tmp/sarvik-test.XXXXXX";
  if (mkdtemp(templ) == nullptr) throw std::runtime_error("mkdtemp failed");
  root = templ;
}

TempDir::~TempDir() { remove_tree(root); }

void remove_tree(const std::string& path) {
  auto remove_one = [](const char* p, const struct stat*, int, struct FTW*) -> int {
    chmod(p, 0700);  // so that a test that took away permissions cannot block the clean-up
    remove(p);
    return 0;
  };
  nftw(path.c_str(), remove_one, 16, FTW_DEPTH | FTW_PHYS);
}

}  // namespace sarvik::testing
