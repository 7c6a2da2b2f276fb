// What goes wrong while the logs are read.
#include "query/problems.h"

namespace sarvik::query {

void Problems::warn(const std::string& message) {
  std::lock_guard<std::mutex> hold(mutex);
  sink.tell(message, /*error=*/false);
}

void Problems::fail(const std::string& message) {
  has_failed = true;
  std::lock_guard<std::mutex> hold(mutex);
  sink.tell(message, /*error=*/true);
}

}  // namespace sarvik::query
