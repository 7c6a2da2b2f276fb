// Opening and listing inside the log tree without following links: every local user may write
// there, and the tool may run as root.
#ifndef SARVIK_QUERY_TREE_ACCESS_H_
#define SARVIK_QUERY_TREE_ACCESS_H_

#include <string>
#include <vector>

namespace sarvik::query {

// An owned descriptor, closed on destruction; -1 when nothing is open. Movable, not copyable.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd(fd) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : fd(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd; }
  bool valid() const { return fd >= 0; }
  int release();

 private:
  int fd = -1;
};

// The directory `name` inside the open directory `dir`; a link there is refused. Invalid with
// errno set on failure.
Descriptor open_directory_at(int dir, const std::string& name);
// The regular file `name` inside `dir`, opened for reading without following a link and without
// blocking on a FIFO. Invalid on failure, with a reason in `why`.
Descriptor open_regular_at(int dir, const std::string& name, std::string* why);

// One entry of a directory, as its type shows it without following a link.
struct DirEntry {
  enum class Type { kDirectory, kRegular, kOther };
  std::string name;
  Type type;
};

// The entries of the open directory `dir` but "." and "..", in the directory's order. False
// with errno set when the directory cannot be read.
bool list_directory(int dir, std::vector<DirEntry>* entries);

}  // namespace sarvik::query

#endif  // SARVIK_QUERY_TREE_ACCESS_H_
