#include "guard.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include "failure.h"

namespace quorvix::python {

namespace {

struct GuardState {
  std::mutex mutex;
  std::condition_variable freed;
  std::thread::id owner;
  int depth = 0;
};

GuardState& State() {
  static GuardState state;
  return state;
}

}  // namespace

LibraryGuard::LibraryGuard(Mode mode) {
  GuardState& s = State();
  std::unique_lock lock(s.mutex);
  const std::thread::id self = std::this_thread::get_id();
  if (s.depth > 0 && s.owner != self) {
    if (mode == Mode::kRefuse)
      throw Failure(
          "quorvix is busy in another thread (its state is process-wide; "
          "use processes to run fills in parallel)");
    s.freed.wait(lock, [&s] { return s.depth == 0; });
  }
  nested_ = s.depth > 0;
  s.owner = self;
  ++s.depth;
}

bool LibraryGuard::HeldElsewhere() {
  GuardState& s = State();
  std::lock_guard lock(s.mutex);
  return s.depth > 0 && s.owner != std::this_thread::get_id();
}

LibraryGuard::~LibraryGuard() {
  GuardState& s = State();
  std::lock_guard lock(s.mutex);
  if (--s.depth == 0) {
    s.owner = std::thread::id();
    s.freed.notify_all();
  }
}

}  // namespace quorvix::python
