// Walking the entries of a directory: an input iterator that skips names, and the owning range.
#ifndef SARVIK_LOGSTORE_DIRECTORY_H_
#define SARVIK_LOGSTORE_DIRECTORY_H_

#include <dirent.h>

#include <iterator>
#include <string>
#include <vector>

namespace sarvik {

// Input iterator over the entries of an open directory stream, skipping the names in `ignore`.
// It does not own the stream; copies share it and so read one and the same sequence. An entry is
// valid until the next advance of any copy, since `readdir` may reuse its buffer. The five
// iterator types are declared here by hand: deriving from std::iterator is deprecated in C++17.
class DirEntryIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = dirent;
  using difference_type = void;
  using pointer = const dirent*;
  using reference = const dirent&;

  // The names that no caller wants to see: "." and "..", in this order.
  class DefaultIgnoreList : public std::vector<std::string> {
   public:
    DefaultIgnoreList();
    virtual ~DefaultIgnoreList();
  };

  // Stands on the first entry of `dir` that is not ignored; a null `dir` gives an end iterator.
  DirEntryIterator(DIR* dir, const std::vector<std::string>& ignore);
  DirEntryIterator(const DirEntryIterator& other) = default;
  virtual ~DirEntryIterator();

  // Copies all three fields; the result is a copy, not a reference, and that stays.
  DirEntryIterator operator=(const DirEntryIterator& other);

  DirEntryIterator& operator++();
  DirEntryIterator operator++(int);
  reference operator*() const { return *entry; }
  pointer operator->() const { return entry; }

  // Only the current entry is compared, so every iterator at the end equals end().
  bool operator==(const DirEntryIterator& other) const { return entry == other.entry; }
  bool operator!=(const DirEntryIterator& other) const { return entry != other.entry; }

 private:
  void advance();
  bool is_ignored(const char* name) const;

  DIR* dir;  // not owned; null for an end iterator
  dirent* entry;
  std::vector<std::string> ignore;
};

// The entries of the directory at `path`. Owns the open directory stream, which iterators from
// begin() use and which must outlive them. A directory that cannot be opened, or an empty `path`,
// walks as an empty one; nothing is reported. Not copyable.
class Directory {
 public:
  Directory(const std::string& path, const std::vector<std::string>& ignore);
  // The entries of the directory already open as `dir_fd`, which the object takes over (and
  // closes); -1 walks as an empty directory. Lets a caller open the directory its own way.
  Directory(int dir_fd, const std::vector<std::string>& ignore);
  ~Directory();
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  DirEntryIterator begin();
  DirEntryIterator end();
  // The descriptor of the open directory, for calls relative to it; -1 when none is open.
  int descriptor() const;

 private:
  std::string path;
  DIR* handle;  // owned; null when nothing could be opened
  std::vector<std::string> ignore;
};

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_DIRECTORY_H_
