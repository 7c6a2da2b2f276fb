// Test helpers for log trees: a scratch directory in memory, and a tree read whole.
#ifndef SARVIK_BENCH_LOG_TREE_TEXT_H_
#define SARVIK_BENCH_LOG_TREE_TEXT_H_

#include <map>
#include <string>

namespace sarvik::corpus {

// A fresh directory on the memory file system /dev/shm, removed with everything below it when
// the object goes, also after a failed assertion. The service's writer rewrites its state file
// after every line, which a disk file system may turn into a wait for the disk each time: tens
// of thousands of lines need memory. Not copyable.
class MemoryDir {
 public:
  MemoryDir();
  ~MemoryDir();
  MemoryDir(const MemoryDir&) = delete;
  MemoryDir& operator=(const MemoryDir&) = delete;

  // The path of `name` inside the directory.
  std::string operator/(const std::string& name) const { return root + "/" + name; }

 private:
  std::string root;
};

struct TreeEntry {
  bool directory;
  int mode;             // permission bits
  std::string content;  // of a file
};

// Everything below `root` by its path relative to it ("accesslog/201703/access_....csv"). The
// map's order puts a log's files in month and then stamp order, which is the order of its lines.
std::map<std::string, TreeEntry> read_tree(const std::string& root);

}  // namespace sarvik::corpus

#endif  // SARVIK_BENCH_LOG_TREE_TEXT_H_
