// Walking the entries of a directory.
#include "logstore/directory.h"

#include <unistd.h>

#include <algorithm>

namespace sarvik {

DirEntryIterator::DefaultIgnoreList::DefaultIgnoreList() {
  push_back(".");
  push_back("..");
}

DirEntryIterator::DefaultIgnoreList::~DefaultIgnoreList() = default;

DirEntryIterator::DirEntryIterator(DIR* dir, const std::vector<std::string>& ignore)
    : dir(dir), entry(nullptr), ignore(ignore) {
  advance();
}

DirEntryIterator::~DirEntryIterator() = default;

DirEntryIterator DirEntryIterator::operator=(const DirEntryIterator& other) {
  dir = other.dir;
  entry = other.entry;
  ignore = other.ignore;
  return *this;
}

DirEntryIterator& DirEntryIterator::operator++() {
  advance();
  return *this;
}

DirEntryIterator DirEntryIterator::operator++(int) {
  DirEntryIterator before(*this);
  advance();
  return before;
}

void DirEntryIterator::advance() {
  if (dir == nullptr) return;
  do {
    entry = readdir(dir);
  } while (entry != nullptr && is_ignored(entry->d_name));
}

bool DirEntryIterator::is_ignored(const char* name) const {
  return std::find(ignore.begin(), ignore.end(), name) != ignore.end();
}

Directory::Directory(const std::string& path, const std::vector<std::string>& ignore)
    : path(path), handle(nullptr), ignore(ignore) {
  // An open failure is not reported: the walk is simply empty.
  if (!path.empty()) handle = opendir(path.c_str());
}

Directory::Directory(int dir_fd, const std::vector<std::string>& ignore)
    : handle(nullptr), ignore(ignore) {
  if (dir_fd < 0) return;
  handle = fdopendir(dir_fd);
  if (handle == nullptr) close(dir_fd);  // not reported: the walk is simply empty
}

Directory::~Directory() {
  if (handle != nullptr) closedir(handle);
}

DirEntryIterator Directory::begin() { return DirEntryIterator(handle, ignore); }

DirEntryIterator Directory::end() { return DirEntryIterator(nullptr, {}); }

int Directory::descriptor() const { return handle == nullptr ? -1 : dirfd(handle); }

}  // namespace sarvik
