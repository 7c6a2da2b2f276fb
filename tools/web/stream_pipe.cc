// Text handed from the thread that writes a streamed body to the one that sends it.
#include "web/stream_pipe.h"

#include <algorithm>
#include <cstring>

namespace sarvik::web {

bool StreamPipe::write(std::string_view text) {
  std::unique_lock<std::mutex> hold(mutex);
  while (!text.empty()) {
    changed.wait(hold, [&] { return abandoned || held.size() - start < capacity; });
    if (abandoned) return false;
    if (start > 0) {  // what was read makes room at the front
      held.erase(0, start);
      start = 0;
    }
    size_t part = std::min(text.size(), capacity - held.size());
    held.append(text.substr(0, part));
    text.remove_prefix(part);
    changed.notify_all();
  }
  return true;
}

bool StreamPipe::flush() {
  std::lock_guard<std::mutex> hold(mutex);
  return !abandoned;
}

void StreamPipe::finish(bool whole) {
  std::lock_guard<std::mutex> hold(mutex);
  finished = true;
  complete = whole;
  changed.notify_all();
}

ssize_t StreamPipe::read(char* into, size_t size, std::chrono::milliseconds wait) {
  std::unique_lock<std::mutex> hold(mutex);
  changed.wait_for(hold, wait, [&] { return abandoned || finished || start < held.size(); });
  if (start < held.size() && !abandoned) {
    size_t part = std::min(size, held.size() - start);
    std::memcpy(into, held.data() + start, part);
    start += part;
    if (start == held.size()) {
      held.clear();
      start = 0;
    }
    changed.notify_all();
    return static_cast<ssize_t>(part);
  }
  if (abandoned) return kFailed;
  if (finished) return complete ? kEnd : kFailed;
  return 0;
}

void StreamPipe::abandon() {
  std::lock_guard<std::mutex> hold(mutex);
  abandoned = true;
  changed.notify_all();
}

}  // namespace sarvik::web
