// A pool of child processes, one per job.
#include "run_pool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace quorvix::cli {

namespace {

struct Child {
  pid_t pid;
  int fd;
  std::size_t index;
};

std::string Describe(int status) {
  if (WIFSIGNALED(status)) {
    const int sig = WTERMSIG(status);
    return "run ended by signal " + std::to_string(sig) + " (" + strsignal(sig) + ")\n";
  }
  return {};
}

}  // namespace

bool WriteAll(int fd, const std::string& text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<std::size_t>(n);
  }
  return true;
}

void RunInChildren(std::size_t count, int parallel, const std::function<int(std::size_t, int)>& job,
                   const std::function<void(std::size_t, const JobResult&)>& done) {
  std::vector<JobResult> results(count);
  std::vector<char> finished(count, 0);
  std::vector<Child> active;
  std::size_t next = 0, reported = 0;
  auto finish = [&](std::size_t index) {
    finished[index] = 1;
    for (; reported < count && finished[reported]; ++reported) {
      done(reported, results[reported]);
      std::fflush(nullptr);  // before the next fork copies the buffer
    }
  };
  // Whatever this process still holds in its stdio buffers would be
  // written again by every child.
  std::fflush(nullptr);
  auto start = [&](std::size_t index) {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) {
      results[index].text = std::string("cannot start the run: ") + std::strerror(errno) + "\n";
      finish(index);
      return;
    }
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::close(fds[0]);
      int status = 1;
      try {
        status = job(index, fds[1]);
      } catch (...) {
        WriteAll(fds[1], "Out of memory\n");
      }
      std::fflush(nullptr);
      ::_exit(status);
    }
    ::close(fds[1]);
    if (pid < 0) {
      ::close(fds[0]);
      results[index].text = std::string("cannot start the run: ") + std::strerror(errno) + "\n";
      finish(index);
      return;
    }
    active.push_back({pid, fds[0], index});
  };

  std::vector<pollfd> polled;
  char chunk[1 << 14];
  while (next < count || !active.empty()) {
    while (static_cast<int>(active.size()) < parallel && next < count) start(next++);
    if (active.empty()) continue;
    polled.clear();
    for (const Child& c : active) polled.push_back({c.fd, POLLIN, 0});
    if (::poll(polled.data(), polled.size(), -1) < 0) {
      if (errno == EINTR) continue;
      // Without poll, reading each pipe in turn (blocking) still ends.
      for (pollfd& p : polled) p.revents = POLLIN;
    }
    // Walk backwards so that finished children can be removed in place.
    for (std::size_t k = polled.size(); k-- > 0;) {
      if (polled[k].revents == 0) continue;
      Child& c = active[k];
      const ssize_t n = ::read(c.fd, chunk, sizeof chunk);
      if (n > 0) {
        results[c.index].text.append(chunk, static_cast<std::size_t>(n));
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      ::close(c.fd);
      int status = 0;
      while (::waitpid(c.pid, &status, 0) < 0 && errno == EINTR) {
      }
      results[c.index].ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
      results[c.index].text += Describe(status);
      const std::size_t index = c.index;
      active.erase(active.begin() + static_cast<std::ptrdiff_t>(k));
      finish(index);
    }
  }
}

}  // namespace quorvix::cli
