// The process-wide guard of the Python binding.
//
// The library's state is process-wide (the current parser, the error text,
// the function registry, the pool of value records), so only one thread may
// be inside it at a time. Evaluations and fills release the GIL while they
// run; a call from another thread meanwhile is refused with quorvix.Error
// rather than let in. The thread that holds the guard may enter again (a
// registered Python function that evaluates an expression).
#ifndef QUORVIX_PYTHON_GUARD_H
#define QUORVIX_PYTHON_GUARD_H

namespace quorvix::python {

class LibraryGuard {
 public:
  enum class Mode { kRefuse, kWait };
  // kRefuse throws Failure when another thread holds the guard; kWait
  // blocks until it is free (the caller must not hold the GIL then).
  explicit LibraryGuard(Mode mode = Mode::kRefuse);
  ~LibraryGuard();
  LibraryGuard(const LibraryGuard&) = delete;
  LibraryGuard& operator=(const LibraryGuard&) = delete;

  // True when the calling thread held the guard already (a registered
  // function calling back into the library).
  bool nested() const { return nested_; }

  // True while a thread other than the caller holds the guard.
  static bool HeldElsewhere();

 private:
  bool nested_ = false;
};

}  // namespace quorvix::python

#endif
