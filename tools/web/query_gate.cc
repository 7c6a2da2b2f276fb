// A bound on the searches that run at once, with a bounded queue of those that wait.
#include "web/query_gate.h"

namespace sarvik::web {

std::unique_ptr<QueryGate::Ticket> QueryGate::enter() {
  std::unique_lock<std::mutex> hold(mutex);
  if (closed || (running >= most_running && waiting >= most_waiting)) return nullptr;
  ++waiting;
  turn.wait(hold, [&] { return closed || running < most_running; });
  --waiting;
  if (closed) return nullptr;
  ++running;
  return std::make_unique<Ticket>(*this);
}

void QueryGate::leave() {
  std::lock_guard<std::mutex> hold(mutex);
  --running;
  turn.notify_one();
}

void QueryGate::close() {
  std::lock_guard<std::mutex> hold(mutex);
  closed = true;
  turn.notify_all();
}

}  // namespace sarvik::web
