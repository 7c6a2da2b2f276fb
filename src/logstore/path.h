// Path joining and the two existence tests of the log storage.
#ifndef SARVIK_LOGSTORE_PATH_H_
#define SARVIK_LOGSTORE_PATH_H_

#include <string>

namespace sarvik {

// `b` below `a` with exactly the one '/' that is missing between them; an absolute `b` stands
// alone. No other normalising: "//", "." and ".." inside the operands stay. An empty `a` acts as
// the root on purpose ("" and "x" give "/x"), and an empty `b` leaves a trailing '/'.
std::string join_path(const std::string& a, const std::string& b);

// join_path in place: `a` becomes the joined path; returns `a`.
std::string& append_path(std::string& a, const std::string& b);

// Whether `stat` succeeds; links are followed, so a dangling link does not exist.
bool path_exists(const std::string& path);

// Whether `stat` succeeds and names a directory; a link to a directory is one.
bool is_directory(const std::string& path);

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_PATH_H_
