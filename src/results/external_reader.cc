// Registered external reader programs: the program is run with the file's
// path as its one argument and its standard output is read as delimited
// text. The first registered program whose extension takes the file reads it.
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "quorvix/reader_lists.h"
#include "results/registered_match.h"
#include "results/result_tree.h"
#include "util/child_process.h"

namespace quorvix::results {
namespace {

// Closes a descriptor on every way out.
struct Fd {
  int fd = -1;
  ~Fd() {
    if (fd >= 0) ::close(fd);
  }
};

// Reads the child's output until it closes it. False with `why` set at the
// deadline or past `limit` bytes; the caller then kills the child.
bool Drain(int fd, const Deadline& deadline, std::size_t limit, const std::string& program,
           std::string& out, std::string* why) {
  for (;;) {
    pollfd p{fd, POLLIN, 0};
    const int r = ::poll(&p, 1, deadline.RemainingMs());
    if (r < 0 && errno == EINTR) continue;
    if (r == 0) {
      *why = TimedOutMessage(program, deadline.seconds());
      return false;
    }
    if (r < 0) return true;  // nothing more to read; the exit status tells
    const ssize_t n = ReadChunk(fd, out);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return true;
    if (out.size() > limit) {
      *why = "external reader " + program + " wrote more than " + std::to_string(limit) + " bytes";
      return false;
    }
  }
}

// Runs `program` on `path` and hands back what it wrote; false with `why`
// set when it could not start, timed out, or failed.
bool RunReader(const std::string& program, const std::string& path, const Policy& policy,
               std::string& out, std::string* why) {
  Pipe from_child;
  Fd nothing{::open("/dev/null", O_RDONLY | O_CLOEXEC)};
  if (!from_child.Open() || nothing.fd < 0) {
    *why = "external reader " + program + ": cannot make a pipe";
    return false;
  }
  const ProcessRequest request{{ProgramPath(program), path}, nothing.fd, from_child.write, {}};
  const Deadline deadline = Deadline::FromProcessTimeout();
  std::string started;
  const pid_t pid = policy.StartProcess(request, &started);
  if (pid < 0) {
    *why = Policy::IsRefusal(started) ? started
                                      : "external reader " + program + " could not be started" +
                                            (started.empty() ? "" : ": " + started);
    return false;
  }
  from_child.CloseWrite();
  if (!Drain(from_child.read, deadline, policy.limits.string_bytes, program, out, why)) {
    KillChild(pid);
    return false;
  }
  int status = 0;
  if (!ReapChild(pid, deadline, &status)) {
    *why = TimedOutMessage(program, deadline.seconds());
    return false;
  }
  if (WIFSIGNALED(status)) {
    *why = "external reader " + program + " ended by signal " + std::to_string(WTERMSIG(status));
    return false;
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
    *why = "external reader " + program + " failed with exit status " +
           std::to_string(WEXITSTATUS(status));
    return false;
  }
  if (out.empty()) {
    *why = "external reader " + program + " wrote nothing for " + path;
    return false;
  }
  return true;
}

bool Sniff(const std::string& path, const std::string& head) {
  return FirstTaker(path, head, VectorFileList::external_reader_ext()) >= 0;
}

std::unique_ptr<ResultTree> Open(const std::string& path, const Policy& policy, std::string* why) {
  if (policy.restricted) {
    *why = Policy::NotAllowed("external reader");
    return nullptr;
  }
  // One snapshot: the lists stay parallel even if a registration comes in.
  const std::vector<std::string> programs = VectorFileList::external_reader_path();
  const std::vector<std::string> types = VectorFileList::external_reader_type();
  std::vector<std::string> exts = VectorFileList::external_reader_ext();
  exts.resize(programs.size());
  std::string head;
  if (!ReadHead(path, policy, head, why)) return nullptr;
  const int at = FirstTaker(path, head, exts);
  if (at < 0) {
    *why = "no external reader takes " + path;
    return nullptr;
  }
  const std::string& program = programs[at];
  std::string out;
  if (!RunReader(program, path, policy, out, why)) return nullptr;
  const std::string type = static_cast<std::size_t>(at) < types.size() ? types[at] : "";
  return TreeOfOutput(out, "external reader " + program, type, "external", policy, why);
}

const bool g_registered =
    (AddReaderFormat({"external reader", kRankRegistered, &Sniff, &Open}), true);

}  // namespace
}  // namespace quorvix::results
