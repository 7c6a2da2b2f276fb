// A scoped temporary directory for tests.
#ifndef SARVIK_TESTING_TEMP_DIR_H_
#define SARVIK_TESTING_TEMP_DIR_H_

#include <string>

namespace sarvik::testing {

// Creates a fresh directory under /tmp and removes it with everything below it when the object
// goes, also when an assertion failed. Not copyable.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return root; }
  // The path of `name` inside the directory.
  std::string operator/(const std::string& name) const { return root + "/" + name; }

 private:
  std::string root;
};

// Removes `path` and everything below it; a missing path is no error.
void remove_tree(const std::string& path);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_TEMP_DIR_H_
