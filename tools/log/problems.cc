// What goes wrong while the logs are read.
#include "problems.h"

#include <unistd.h>

#include "display_text.h"

namespace sarvik::log_query {

void Problems::warn(const std::string& message) { print(message); }

void Problems::fail(const std::string& message) {
  has_failed = true;
  print(message);
}

void Problems::print(const std::string& message) {
  std::string text = "sarvik-log: " + display_text(message) + "\n";
  std::lock_guard<std::mutex> hold(mutex);
  size_t written = 0;
  while (written < text.size()) {
    ssize_t n = write(STDERR_FILENO, text.data() + written, text.size() - written);
    if (n <= 0) return;  // failure ignored: there is nowhere else to tell it
    written += static_cast<size_t>(n);
  }
}

}  // namespace sarvik::log_query
