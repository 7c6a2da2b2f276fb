// Small file helpers for tests: whole-file reads and writes, modes, directory listings.
#ifndef SARVIK_TESTING_FILE_TEXT_H_
#define SARVIK_TESTING_FILE_TEXT_H_

#include <string>
#include <vector>

namespace sarvik::testing {

// The whole content of `path`; empty when it cannot be read.
std::string read_file(const std::string& path);
// Replaces `path` with `content`; throws std::runtime_error on failure.
void write_file(const std::string& path, const std::string& content, unsigned mode = 0644);
// Appends `content` to `path`, as a writer of a log does; throws std::runtime_error on failure.
void append_file(const std::string& path, const std::string& content);
// Creates `path` and its missing parents; throws std::runtime_error on failure.
void make_dirs(const std::string& path);
// The permission bits of `path`, or -1 when it does not exist.
int file_mode(const std::string& path);
bool exists(const std::string& path);
// The names in directory `path` other than "." and "..", sorted.
std::vector<std::string> list_dir(const std::string& path);

}  // namespace sarvik::testing

#endif  // SARVIK_TESTING_FILE_TEXT_H_
