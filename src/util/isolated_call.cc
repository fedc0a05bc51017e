#include "util/isolated_call.h"

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "util/child_process.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUORVIX_UNDER_ASAN 1
#endif
#endif

// Set by a fuzzing driver so that a sanitizer report runs its handler; a
// weak reference, null when no sanitizer runtime is linked.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace quorvix {

namespace {

// Writes all of `bytes`; false when the reader went away.
bool WriteAll(int fd, const char* bytes, std::size_t n) {
  while (n > 0) {
    const ssize_t wrote = ::write(fd, bytes, n);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    bytes += wrote;
    n -= static_cast<std::size_t>(wrote);
  }
  return true;
}

// Reads to the end of the pipe or the deadline; false past the deadline.
bool ReadAll(int fd, const Deadline& deadline, std::string& out) {
  for (;;) {
    if (!deadline.none()) {
      pollfd p{fd, POLLIN, 0};
      const int ready = ::poll(&p, 1, deadline.RemainingMs());
      if (ready < 0 && errno == EINTR) continue;
      if (ready <= 0) return false;
    }
    const ssize_t got = ReadChunk(fd, out);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return true;
  }
}

// Bounds the child's address space to what it has plus kChildMemory, so a
// library that believes a damaged file's sizes fails an allocation instead
// of taking the machine's memory. Sanitizer builds reserve terabytes of
// address space up front and are left alone.
void LimitMemory() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(QUORVIX_UNDER_ASAN)
  constexpr rlim_t kChildMemory = rlim_t{4} << 30;
  std::FILE* statm = std::fopen("/proc/self/statm", "r");
  unsigned long pages = 0;
  const bool known = statm != nullptr && std::fscanf(statm, "%lu", &pages) == 1;
  if (statm != nullptr) std::fclose(statm);
  const long page = sysconf(_SC_PAGESIZE);
  if (!known || page <= 0) return;
  const rlim_t want = static_cast<rlim_t>(pages) * static_cast<rlim_t>(page) + kChildMemory;
  rlimit limit{};
  // A limit the host set that is already tighter stays.
  if (getrlimit(RLIMIT_AS, &limit) != 0 ||
      (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur <= want))
    return;
  limit.rlim_cur = limit.rlim_max != RLIM_INFINITY && limit.rlim_max < want ? limit.rlim_max : want;
  setrlimit(RLIMIT_AS, &limit);
#endif
}

}  // namespace

IsolatedResult RunIsolated(const std::function<std::string()>& work, std::string& out,
                           double seconds) {
  out.clear();
  Pipe pipe;
  if (!pipe.Open()) return IsolatedResult::kNoChild;
  const pid_t pid = ::fork();
  if (pid < 0) return IsolatedResult::kNoChild;
  if (pid == 0) {
    pipe.CloseRead();
    // A crash here is an answer, not the host's crash: the host's crash
    // handlers (a reporter, a fuzzer's) must not act on it.
    for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) ::signal(sig, SIG_DFL);
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(nullptr);
    LimitMemory();
    const std::string result = work();
    // The length comes last, so that a child cut off mid-write is told from
    // one that finished.
    const std::uint64_t length = result.size();
    const bool ok = WriteAll(pipe.write, result.data(), result.size()) &&
                    WriteAll(pipe.write, reinterpret_cast<const char*>(&length), sizeof length);
    ::_exit(ok ? 0 : 1);
  }
  pipe.CloseWrite();
  const Deadline deadline(seconds);
  std::string bytes;
  const bool in_time = ReadAll(pipe.read, deadline, bytes);
  if (!in_time) KillChild(pid);
  int status = 0;
  const bool reaped = in_time && ReapChild(pid, deadline, &status);
  std::uint64_t length = 0;
  if (!reaped || !WIFEXITED(status) || WEXITSTATUS(status) != 0 || bytes.size() < sizeof length)
    return IsolatedResult::kDied;
  const std::size_t body = bytes.size() - sizeof length;
  std::copy_n(bytes.data() + body, sizeof length, reinterpret_cast<char*>(&length));
  if (length != body) return IsolatedResult::kDied;
  bytes.resize(body);
  out = std::move(bytes);
  return IsolatedResult::kDone;
}

}  // namespace quorvix
