// The problems of a query told on standard error.
#include "log/standard_error.h"

#include <unistd.h>

#include "query/display_text.h"

namespace sarvik::log_tool {

void StandardError::tell(const std::string& message, bool /*error*/) {
  std::string text = "sarvik-log: " + query::display_text(message) + "\n";
  size_t written = 0;
  while (written < text.size()) {
    ssize_t n = write(STDERR_FILENO, text.data() + written, text.size() - written);
    if (n <= 0) return;  // failure ignored: there is nowhere else to tell it
    written += static_cast<size_t>(n);
  }
}

}  // namespace sarvik::log_tool
