// Plumbing for the programs the library starts and talks to: a deadline
// from the process-wide time-out, reaping with that deadline, and pipe
// transfers that neither block past it nor let SIGPIPE kill the host.
#ifndef QUORVIX_UTIL_CHILD_PROCESS_H
#define QUORVIX_UTIL_CHILD_PROCESS_H

#include <signal.h>
#include <sys/types.h>

#include <chrono>
#include <string>

namespace quorvix {

// A point in time a started program must have finished by; none when the
// time-out is 0.
class Deadline {
 public:
  // From now on, `seconds` long; 0 or less: none.
  explicit Deadline(double seconds);
  // The deadline of ProcessTimeout(), starting now.
  static Deadline FromProcessTimeout();

  bool none() const { return seconds_ <= 0; }
  double seconds() const { return seconds_; }
  bool Passed() const;
  // Milliseconds left for poll(): -1 without a deadline, 0 once passed.
  int RemainingMs() const;

 private:
  double seconds_;
  std::chrono::steady_clock::time_point end_;
};

// "<program> timed out after N s".
std::string TimedOutMessage(const std::string& program, double seconds);

// The path to start for a registered program: a bare name of a file in the
// working directory means that file; any other bare name is looked up
// along PATH when started.
std::string ProgramPath(const std::string& program);

// Waits for the child and reaps it. Past the deadline the child is killed
// (SIGKILL) and reaped all the same, and the result is false. `status`
// (when given) gets the wait status. A pid that is not our child (a host's
// launcher that ran the command itself) returns true at once.
bool ReapChild(pid_t pid, const Deadline& deadline, int* status = nullptr);

// Kills the child and reaps it.
void KillChild(pid_t pid);

// Blocks SIGPIPE in the calling thread for its lifetime, so that a write to
// a pipe whose reader has gone fails with EPIPE instead of killing the
// process. A SIGPIPE raised meanwhile is consumed before the old mask comes
// back; one already pending before is left alone. The process-wide
// disposition is never touched.
class SigpipeBlock {
 public:
  SigpipeBlock();
  ~SigpipeBlock();
  SigpipeBlock(const SigpipeBlock&) = delete;
  SigpipeBlock& operator=(const SigpipeBlock&) = delete;

 private:
  sigset_t old_;
  bool was_pending_ = false;
};

// Appends what one read() of `fd` gives, up to 64 KiB, to `out` (read
// straight into the string: no large array on a stack that deep
// evaluations share). The read's result: bytes read, 0 at the end, -1 on
// an error with errno set (EINTR included, for the caller to retry).
ssize_t ReadChunk(int fd, std::string& out);

// Both ends of a pipe, close-on-exec, closed by the destructor.
struct Pipe {
  int read = -1;
  int write = -1;
  // False when the pipe could not be made.
  bool Open();
  void CloseRead();
  void CloseWrite();
  ~Pipe();
};

}  // namespace quorvix

#endif  // QUORVIX_UTIL_CHILD_PROCESS_H
