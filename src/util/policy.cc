#include "quorvix/policy.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "util/paths.h"
#include "util/search_path.h"

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
  if (base.empty() || resolved.empty()) return false;
  if (base == "/") return true;
  return resolved.size() > base.size() && resolved.compare(0, base.size(), base) == 0 &&
         resolved[base.size()] == '/';
}

// True when the resolved path lies in one of the directories restricted mode
// reads from.
bool InAllowedDirectory(const std::string& resolved, const std::vector<std::string>& read_dirs) {
  for (const std::vector<std::string>* dirs :
       {&read_dirs, static_cast<const std::vector<std::string>*>(&SearchPath()),
        &TemplateDirectories()})
    for (const std::string& dir : *dirs)
      if (Inside(resolved, dir)) return true;
  return false;
}

// The file an open descriptor reads, links resolved; the kernel knows it
// even when the path was swapped after the open.
std::string ResolveDescriptor(int fd, const std::string& path) {
  char link[64], buffer[PATH_MAX];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  ssize_t n = ::readlink(link, buffer, sizeof buffer - 1);
  if (n <= 0) return Resolve(path);
  return std::string(buffer, static_cast<std::size_t>(n));
}

// A C library mode: 'r', 'w' or 'a', then any of "+btxe". Reading only when
// it starts with 'r' and has no '+'.
bool ParseMode(const char* mode, bool* reading) {
  if (mode == nullptr || std::strchr("rwa", mode[0]) == nullptr || mode[0] == '\0') return false;
  for (const char* p = mode + 1; *p != '\0'; ++p)
    if (std::strchr("+btxe", *p) == nullptr) return false;
  *reading = mode[0] == 'r' && std::strchr(mode, '+') == nullptr;
  return true;
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

bool Policy::IsRefusal(const std::string& message) {
  static const std::string kTail = NotAllowed("");
  return message.size() > kTail.size() &&
         message.compare(message.size() - kTail.size(), kTail.size(), kTail) == 0;
}

void Policy::SetTrust(bool restricted_mode, std::vector<std::string> env_names,
                      long long max_elements, long long max_output) {
  restricted = restricted_mode;
  allowed_env = std::move(env_names);
  if (max_elements > 0 || restricted)
    limits.elements = max_elements > 0 ? max_elements : kRestrictedElements;
  if (max_output > 0 || restricted)
    limits.output_bytes =
        max_output > 0 ? static_cast<std::size_t>(max_output) : kRestrictedOutputBytes;
}

bool Policy::AllowsCall(const char* name, unsigned flags, std::string* why) const {
  // Reading files and the environment is allowed within the allow-lists,
  // which the built-ins check through OpenFile and the env list themselves.
  constexpr unsigned kNeverInRestricted = kWritesFiles | kStartsProcesses | kWidensSearchPath;
  if (!restricted || (flags & kNeverInRestricted) == 0) return true;
  if (why) *why = NotAllowed(name);
  return false;
}

std::FILE* Policy::OpenFile(const std::string& path, FileMode mode, std::string* why) const {
  static constexpr const char* kModes[] = {"rb", "wb", "ab"};
  return OpenFile(path, kModes[static_cast<int>(mode)], why, nullptr);
}

std::FILE* Policy::OpenFile(const std::string& path, const char* fopen_mode, std::string* why,
                            bool* refused) const {
  if (refused) *refused = false;
  auto refuse = [&](const char* action) -> std::FILE* {
    if (why) *why = NotAllowed(action + path);
    if (refused) *refused = true;
    return nullptr;
  };
  bool reading = false;
  if (!ParseMode(fopen_mode, &reading)) {
    if (why) *why = CouldNotOpen(path);
    return nullptr;
  }
  if (!reading) {
    if (restricted) return refuse("writing ");
    // Opened without blocking, like reading: a FIFO nobody reads must not
    // hang the fill.
    const bool update = std::strchr(fopen_mode, '+') != nullptr;
    int flags = (update ? O_RDWR : O_WRONLY) | O_NONBLOCK | O_CLOEXEC;
    if (fopen_mode[0] != 'r') flags |= O_CREAT | (fopen_mode[0] == 'w' ? O_TRUNC : O_APPEND);
    if (std::strchr(fopen_mode, 'x') != nullptr) flags |= O_EXCL;
    int fd = ::open(path.c_str(), flags, 0666);
    std::FILE* f = nullptr;
    if (fd >= 0) {
      int fl = ::fcntl(fd, F_GETFL);
      if (fl >= 0) ::fcntl(fd, F_SETFL, fl & ~O_NONBLOCK);
      f = ::fdopen(fd, fopen_mode);
      if (f == nullptr) ::close(fd);
    }
    if (f == nullptr && why) *why = CouldNotOpen(path);
    return f;
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
  // The check looks at the file actually opened, so a link changed between
  // a check and the open cannot lead outside.
  if (restricted && !InAllowedDirectory(ResolveDescriptor(fd, path), read_dirs)) {
    ::close(fd);
    return refuse("reading ");
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

bool Policy::MayInspect(const std::string& path, std::string* why) const {
  if (!restricted) return true;
  // A missing file is judged by its nearest existing directory; the missing
  // part holds no links to follow.
  std::string prefix = RelativeToAbs(path, ""), rest;
  std::string resolved = Resolve(prefix);
  while (resolved.empty() && prefix.size() > 1) {
    const std::size_t slash = prefix.find_last_of('/');
    rest = prefix.substr(slash) + rest;
    prefix = slash == 0 ? "/" : prefix.substr(0, slash);
    resolved = Resolve(prefix);
  }
  if (InAllowedDirectory(resolved + rest, read_dirs)) return true;
  if (why) *why = NotAllowed("reading " + path);
  return false;
}

bool Policy::AllowsEnvironment(const std::string& name, std::string* why) const {
  if (!restricted || std::find(allowed_env.begin(), allowed_env.end(), name) != allowed_env.end())
    return true;
  if (why) *why = NotAllowed("getenv of " + name);
  return false;
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
