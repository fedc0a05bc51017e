#include "quorvix/policy.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>

extern char** environ;

namespace quorvix {
namespace {

std::string CouldNotOpen(const std::string& path) { return "could not open " + path; }

// The canonical form of `path` (links followed), or empty when it does not
// exist.
std::string Resolve(const std::string& path) {
  char buffer[PATH_MAX];
  return ::realpath(path.c_str(), buffer) != nullptr ? std::string(buffer) : std::string();
}

bool Inside(const std::string& resolved, const std::string& dir) {
  std::string base = Resolve(dir.empty() ? "." : dir);
  if (base.empty()) return false;
  if (base == "/") return true;
  return resolved.size() > base.size() && resolved.compare(0, base.size(), base) == 0 &&
         resolved[base.size()] == '/';
}

pid_t SpawnDirect(const ProcessRequest& request, std::string* why) {
  if (request.argv.empty()) {
    if (why) *why = "no program to start";
    return -1;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // The requested descriptors are duplicated onto 0 and 1 (dup2 clears
  // close-on-exec on the copy); the ones to keep get a dup2 onto themselves,
  // which clears the flag on them as well.
  if (request.stdin_fd >= 0) posix_spawn_file_actions_adddup2(&actions, request.stdin_fd, 0);
  if (request.stdout_fd >= 0) posix_spawn_file_actions_adddup2(&actions, request.stdout_fd, 1);
  for (int fd : request.keep) posix_spawn_file_actions_adddup2(&actions, fd, fd);
  std::vector<char*> argv;
  argv.reserve(request.argv.size() + 1);
  for (const std::string& a : request.argv) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  pid_t pid = -1;
  int rc = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    if (why) *why = "could not start " + request.argv[0] + ": " + std::strerror(rc);
    return -1;
  }
  return pid;
}

}  // namespace

std::string Policy::NotAllowed(const std::string& name) {
  return name + " is not allowed in restricted mode";
}

bool Policy::AllowsCall(const char* name, unsigned flags, std::string* why) const {
  // Reading files and the environment is allowed within the allow-lists,
  // which the built-ins check through OpenFile and the env list themselves.
  constexpr unsigned kNeverInRestricted = kWritesFiles | kStartsProcesses;
  if (!restricted || (flags & kNeverInRestricted) == 0) return true;
  if (why) *why = NotAllowed(name);
  return false;
}

std::FILE* Policy::OpenFile(const std::string& path, FileMode mode, std::string* why) const {
  if (mode != FileMode::kRead) {
    if (restricted) {
      if (why) *why = NotAllowed("writing " + path);
      return nullptr;
    }
    std::FILE* f = std::fopen(path.c_str(), mode == FileMode::kAppend ? "ab" : "wb");
    if (f == nullptr && why) *why = CouldNotOpen(path);
    return f;
  }
  if (restricted) {
    std::string resolved = Resolve(path);
    bool allowed = false;
    for (const std::string& dir : read_dirs)
      allowed = allowed || (!resolved.empty() && Inside(resolved, dir));
    if (!allowed) {
      if (why) *why = NotAllowed("reading " + path);
      return nullptr;
    }
  }
  // O_NONBLOCK keeps a FIFO from blocking the open; the type check then
  // turns away everything that is not a regular file.
  int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat st;
  if (fd < 0 || ::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    if (fd >= 0) ::close(fd);
    if (why) *why = CouldNotOpen(path);
    return nullptr;
  }
  int flags = ::fcntl(fd, F_GETFL);
  if (flags >= 0) ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
  std::FILE* f = ::fdopen(fd, "rb");
  if (f == nullptr) {
    ::close(fd);
    if (why) *why = CouldNotOpen(path);
  }
  return f;
}

bool Policy::ReadFile(const std::string& path, std::string& text, std::string* why) const {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(OpenFile(path, FileMode::kRead, why),
                                                    &std::fclose);
  if (f == nullptr) return false;
  text.clear();
  char chunk[1 << 16];
  std::size_t n;
  while ((n = std::fread(chunk, 1, sizeof chunk, f.get())) > 0) text.append(chunk, n);
  if (std::ferror(f.get())) {
    if (why) *why = CouldNotOpen(path);
    return false;
  }
  return true;
}

pid_t Policy::StartProcess(const ProcessRequest& request, std::string* why) const {
  if (restricted) {
    if (why)
      *why = NotAllowed(request.argv.empty() ? std::string("starting a process") : request.argv[0]);
    return -1;
  }
  return launcher ? launcher(request, why) : SpawnDirect(request, why);
}

}  // namespace quorvix
