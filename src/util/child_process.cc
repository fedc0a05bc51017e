#include "util/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "util/process_timeout.h"

namespace quorvix {

Deadline::Deadline(double seconds) : seconds_(seconds) {
  if (seconds_ > 0)
    end_ = std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(
               std::chrono::duration<double>(std::min(seconds_, 1e9)));
}

Deadline Deadline::FromProcessTimeout() { return Deadline(ProcessTimeout()); }

bool Deadline::Passed() const { return !none() && std::chrono::steady_clock::now() >= end_; }

int Deadline::RemainingMs() const {
  if (none()) return -1;
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp<long long>(left.count(), 0, 1 << 30));
}

std::string TimedOutMessage(const std::string& program, double seconds) {
  char number[32];
  std::snprintf(number, sizeof number, "%g", seconds);
  return program + " timed out after " + number + " s";
}

std::string ProgramPath(const std::string& program) {
  if (program.find('/') == std::string::npos && ::access(program.c_str(), F_OK) == 0)
    return "./" + program;
  return program;
}

namespace {

// 0 when reaped, ECHILD when it is not ours, EAGAIN while it still runs.
int TryReap(pid_t pid, int options, int* status) {
  int local = 0;
  for (;;) {
    const pid_t r = ::waitpid(pid, status != nullptr ? status : &local, options);
    if (r == pid) return 0;
    if (r == 0) return EAGAIN;
    if (errno != EINTR) return ECHILD;
  }
}

// A descriptor that becomes readable when the child ends, where the kernel
// has them; -1 otherwise.
int OpenPidFd(pid_t pid) {
#ifdef SYS_pidfd_open
  return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
#else
  (void)pid;
  return -1;
#endif
}

}  // namespace

void KillChild(pid_t pid) {
  ::kill(pid, SIGKILL);
  TryReap(pid, 0, nullptr);
}

bool ReapChild(pid_t pid, const Deadline& deadline, int* status) {
  if (deadline.none()) {
    TryReap(pid, 0, status);
    return true;
  }
  if (TryReap(pid, WNOHANG, status) != EAGAIN) return true;
  const int pidfd = OpenPidFd(pid);
  // Without a pid descriptor the wait polls, backing off to 10 ms.
  long sleep_ns = 100'000;
  while (!deadline.Passed()) {
    if (pidfd >= 0) {
      pollfd p{pidfd, POLLIN, 0};
      ::poll(&p, 1, deadline.RemainingMs());
    } else {
      timespec t{0, sleep_ns};
      ::nanosleep(&t, nullptr);
      sleep_ns = std::min(sleep_ns * 2, 10'000'000L);
    }
    if (TryReap(pid, WNOHANG, status) != EAGAIN) {
      if (pidfd >= 0) ::close(pidfd);
      return true;
    }
  }
  if (pidfd >= 0) ::close(pidfd);
  KillChild(pid);
  return false;
}

ssize_t ReadChunk(int fd, std::string& out) {
  constexpr std::size_t kChunk = 1 << 16;
  const std::size_t had = out.size();
  out.resize(had + kChunk);
  const ssize_t n = ::read(fd, out.data() + had, kChunk);
  out.resize(had + static_cast<std::size_t>(n > 0 ? n : 0));
  return n;
}

SigpipeBlock::SigpipeBlock() {
  sigset_t pipe_only;
  sigemptyset(&pipe_only);
  sigaddset(&pipe_only, SIGPIPE);
  sigset_t pending;
  sigemptyset(&pending);
  ::sigpending(&pending);
  was_pending_ = sigismember(&pending, SIGPIPE) == 1;
  ::pthread_sigmask(SIG_BLOCK, &pipe_only, &old_);
}

SigpipeBlock::~SigpipeBlock() {
  sigset_t pipe_only;
  sigemptyset(&pipe_only);
  sigaddset(&pipe_only, SIGPIPE);
  if (!was_pending_) {
    const timespec zero{0, 0};
    while (::sigtimedwait(&pipe_only, nullptr, &zero) < 0 && errno == EINTR) {
    }
  }
  ::pthread_sigmask(SIG_SETMASK, &old_, nullptr);
}

bool Pipe::Open() {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) return false;
  read = fds[0];
  write = fds[1];
  return true;
}

void Pipe::CloseRead() {
  if (read >= 0) ::close(read);
  read = -1;
}

void Pipe::CloseWrite() {
  if (write >= 0) ::close(write);
  write = -1;
}

Pipe::~Pipe() {
  CloseRead();
  CloseWrite();
}

}  // namespace quorvix
