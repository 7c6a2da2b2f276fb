// A bound on the searches that run at once, with a bounded queue of those that wait.
#ifndef SARVIK_TOOLS_WEB_QUERY_GATE_H_
#define SARVIK_TOOLS_WEB_QUERY_GATE_H_

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

namespace sarvik::web {

// Thread-safe. The gate must outlive its tickets.
class QueryGate {
 public:
  // A turn to run; it ends when the ticket is destroyed.
  class Ticket {
   public:
    explicit Ticket(QueryGate& gate) : gate(gate) {}
    ~Ticket() { gate.leave(); }
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;

   private:
    QueryGate& gate;
  };

  QueryGate(size_t most_running, size_t most_waiting)
      : most_running(most_running), most_waiting(most_waiting) {}

  // Waits for a turn. Null at once when `most_waiting` already wait, or once the gate is closed.
  std::unique_ptr<Ticket> enter();
  // Refuses every later turn and sends the waiting away (at shutdown).
  void close();

 private:
  void leave();

  const size_t most_running;
  const size_t most_waiting;
  std::mutex mutex;
  std::condition_variable turn;
  size_t running = 0;   // guarded by mutex
  size_t waiting = 0;   // guarded by mutex
  bool closed = false;  // guarded by mutex
};

}  // namespace sarvik::web

#endif  // SARVIK_TOOLS_WEB_QUERY_GATE_H_
