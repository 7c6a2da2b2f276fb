// What a log tells the sealing of its lines: each line it put into a file, each file it expired.
#ifndef SARVIK_LOGSTORE_LINE_SEALER_H_
#define SARVIK_LOGSTORE_LINE_SEALER_H_

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace sarvik {

// One line that a log has just written, as it stands in its file. The references live as long
// as the call.
struct WrittenLine {
  const std::string& log_root;  // the log's directory
  const std::string& month;     // the file's month directory below it
  const std::string& name;      // the file's name
  dev_t device;                 // the file written, as its open descriptor shows it
  ino_t inode;
  uint64_t offset;          // of the line's first byte in the file
  bool opened_empty;        // the log found the file empty when it opened it
  const std::string& text;  // the line, without the CR LF that follows it
};

// A file that the log's expiry deleted.
struct ExpiredFile {
  std::string month;
  std::string name;
  dev_t device;
  ino_t inode;
};

// Receives what one log writes. A LogFile calls it on the main thread after each line that
// reached its file (a line whose write failed is not told) and after each file that its expiry
// deleted. It must not fail the log: whatever goes wrong is its own to report.
class LineSealer {
 public:
  virtual void line_written(const WrittenLine& line) = 0;
  virtual void file_expired(const ExpiredFile& file) = 0;

 protected:
  ~LineSealer() = default;
};

}  // namespace sarvik

#endif  // SARVIK_LOGSTORE_LINE_SEALER_H_
