// The output of files scanned side by side, written in the order of the files.
#include "query/ordered_output.h"

namespace sarvik::query {

namespace {

// The head writes its text in batches of this size.
constexpr size_t kBatch = size_t{256} * 1024;
// A file ahead of the head holds at most this much text; then its worker waits for its turn.
constexpr size_t kHeldMost = size_t{8} * 1024 * 1024;

}  // namespace

OrderedOutput::OrderedOutput(TextWriter& out, size_t files, size_t window, uint64_t limit)
    : out(out), window(window), limit(limit) {
  slots.reserve(files);
  for (size_t i = 0; i < files; ++i) slots.push_back(std::make_unique<Slot>());
}

bool OrderedOutput::begin_file(size_t index) {
  std::unique_lock<std::mutex> hold(mutex);
  turn.wait(hold, [&] { return is_closed || index < head + window; });
  return !is_closed;
}

bool OrderedOutput::line_done(size_t index, const ResumePoint& resume) {
  Slot& slot = *slots[index];
  ++slot.lines;
  if (limit != 0) {
    slot.line_ends.push_back(slot.text.size());
    slot.resumes.push_back(resume);
    // The lines of files before it can only come first: more than the limit is never wanted.
    if (slot.lines >= limit) return false;
  }
  if (slot.text.size() < kBatch) return true;
  std::unique_lock<std::mutex> hold(mutex);
  if (index != head && slot.text.size() >= kHeldMost) {
    turn.wait(hold, [&] { return is_closed || index == head; });
  }
  if (index == head) write_slot(slot);
  return !is_closed;
}

void OrderedOutput::end_file(size_t index) {
  std::lock_guard<std::mutex> hold(mutex);
  slots[index]->done = true;
  while (head < slots.size() && slots[head]->done) {
    write_slot(*slots[head]);
    slots[head].reset(new Slot{std::string(), {}, {}, 0, true});  // frees the text
    ++head;
  }
  turn.notify_all();
}

void OrderedOutput::write_slot(Slot& slot) {
  size_t length = slot.text.size();
  if (is_closed) {
    length = 0;
  } else if (limit != 0) {
    uint64_t room = limit - written;
    if (slot.line_ends.size() >= room) {
      length = slot.line_ends[room - 1];
      written += room;
      is_closed = true;
      cut = true;
      cut_file = head;
      cut_resume = slot.resumes[room - 1];
    } else {
      written += slot.line_ends.size();
    }
  } else {
    // Lines are counted as they are written only under a limit; without one, as they were
    // formatted, since the text of a batch holds only whole lines.
    written += slot.lines;
    slot.lines = 0;
  }
  if (length > 0 && !out.write(std::string_view(slot.text.data(), length))) {
    write_failed = true;
    is_closed = true;
  }
  slot.text.clear();
  slot.line_ends.clear();
  slot.resumes.clear();
  if (is_closed) turn.notify_all();
}

void OrderedOutput::close() {
  std::lock_guard<std::mutex> hold(mutex);
  is_closed = true;
  turn.notify_all();
}

bool OrderedOutput::closed() {
  std::lock_guard<std::mutex> hold(mutex);
  return is_closed;
}

uint64_t OrderedOutput::lines_written() {
  std::lock_guard<std::mutex> hold(mutex);
  return written;
}

bool OrderedOutput::failed() {
  std::lock_guard<std::mutex> hold(mutex);
  return write_failed;
}

bool OrderedOutput::cut_at(size_t* file, ResumePoint* resume) {
  std::lock_guard<std::mutex> hold(mutex);
  if (!cut) return false;
  *file = cut_file;
  *resume = cut_resume;
  return true;
}

}  // namespace sarvik::query
