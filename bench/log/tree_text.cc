// Test helpers for log trees: a scratch directory in memory, and a tree read whole.
#include "tree_text.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <stdexcept>

#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik::corpus {

namespace {

void read_below(const std::string& root, const std::string& relative,
                std::map<std::string, TreeEntry>* tree) {
  for (const std::string& name : testing::list_dir(root + "/" + relative)) {
    std::string path = relative.empty() ? name : relative + "/" + name;
    std::string full = root + "/" + path;
    struct stat status;
    if (lstat(full.c_str(), &status) != 0) continue;
    bool directory = S_ISDIR(status.st_mode);
    (*tree)[path] = TreeEntry{directory, static_cast<int>(status.st_mode & 07777),
                              directory ? "" : testing::read_file(full)};
    if (directory) read_below(root, path, tree);
  }
}

}  // namespace

MemoryDir::MemoryDir() {
  char name[] = "/dev/shm/sarvik-test.XXXXXX";
  if (mkdtemp(name) == nullptr) throw std::runtime_error("cannot make a directory in /dev/shm");
  root = name;
}

MemoryDir::~MemoryDir() { testing::remove_tree(root); }

std::map<std::string, TreeEntry> read_tree(const std::string& root) {
  std::map<std::string, TreeEntry> tree;
  read_below(root, "", &tree);
  return tree;
}

}  // namespace sarvik::corpus
