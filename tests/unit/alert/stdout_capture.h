// Standard output of the test process caught in a memory file, for the alert thread's messages.
#ifndef SARVIK_TESTS_UNIT_ALERT_STDOUT_CAPTURE_H_
#define SARVIK_TESTS_UNIT_ALERT_STDOUT_CAPTURE_H_

#include <functional>
#include <string>

namespace sarvik::testing {

// While it lives, descriptor 1 goes to a memory file; the destructor puts the old one back.
// text() may be called while another thread prints: stdio and the file take care of that.
class StdoutCapture {
 public:
  StdoutCapture();
  ~StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;

  // All that was printed since construction, stdio's buffer flushed first.
  std::string text() const;
  // What has reached the file so far, without flushing stdio's buffer first.
  std::string written() const;
  // Polls text() every millisecond, for at most 30 seconds, until it holds `part` at least
  // `count` times, calling `between` (when given) before each look. Returns whether it did.
  bool wait_for(const std::string& part, int count = 1,
                const std::function<void()>& between = nullptr) const;

 private:
  int file = -1;
  int saved = -1;
};

}  // namespace sarvik::testing

#endif  // SARVIK_TESTS_UNIT_ALERT_STDOUT_CAPTURE_H_
