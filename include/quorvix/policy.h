// The host's decisions about trust and resources, one object per parser.
//
// Every MathParser holds a Policy; the private parsers and fillers that
// evaluation and filling create share the policy of the parser they came
// from, so a host sets it once. The library consults it at a few chokepoints
// only: the registry call checks a built-in's flags, every file the library
// opens goes through OpenFile or ReadFile, every process it starts goes
// through StartProcess, and the engine's budgets read the limits.
#ifndef QUORVIX_POLICY_H
#define QUORVIX_POLICY_H

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

class MessageServiceBase;

namespace quorvix {

// What a built-in touches beyond its arguments. A built-in's table row
// declares these; restricted mode refuses the ones a host cannot trust.
enum CallFlag : unsigned {
  kReadsFiles = 1u << 0,
  kWritesFiles = 1u << 1,
  kStartsProcesses = 1u << 2,
  kReadsEnvironment = 1u << 3,
  kEvaluatesText = 1u << 4,
  // Writes files only when its arguments ask for it (a file mode): each
  // write is refused through OpenFile, not the call as a whole.
  kMayWriteFiles = 1u << 5,
  // Adds to the directories files are looked up and read in.
  kWidensSearchPath = 1u << 6,
  // Stores into the variables its arguments were read from (sort, freeze):
  // such a built-in receives each plain variable argument with its name.
  kWritesVariables = 1u << 7,
};

// Limits that end an evaluation or a fill with a message naming the limit.
struct Limits {
  // Loop passes, includes, macro expansions and user-function calls of one
  // fill, counted together.
  long long work = 100'000'000;
  // Wall-clock seconds one outermost fill or evaluation may run; 0: none.
  double seconds = 0.0;
  // Stack bytes that evaluation and nested fills may use, measured from the
  // outermost call on the calling thread; 0: no budget. The default leaves
  // room to spare on a 1 MB thread stack.
  std::size_t stack_bytes = 768 * 1024;
  // Elements in one numeric value or strings in one list.
  long long elements = 100'000'000;
  // Bytes in one string value.
  std::size_t string_bytes = 256u << 20;
  // Bytes of text one macro expansion may produce.
  std::size_t expansion_bytes = 64u << 20;
  // Nodes in one derivative tree.
  std::size_t derivative_nodes = 1'000'000;
  // Nesting of template sources (includes, macros, loops) in one fill.
  int sources = 1000;
  // Nesting of fills (user-function calls, fill and eval inside a fill).
  int fills = 64;
  // Bytes one fill may write to its output; 0: no limit.
  std::size_t output_bytes = 0;
};

enum class FileMode { kRead, kWrite, kAppend };

// A process to start: argv[0] is looked up along PATH. A descriptor of -1
// leaves the child's descriptor as ours; `keep` lists further descriptors
// the child inherits (every other descriptor of ours is close-on-exec).
struct ProcessRequest {
  std::vector<std::string> argv;
  int stdin_fd = -1;
  int stdout_fd = -1;
  std::vector<int> keep;
};

// Starts the process and returns its id, or -1 with `why` set.
using ProcessLauncher = std::function<pid_t(const ProcessRequest& request, std::string* why)>;

class Policy {
 public:
  // Restricted mode: no process, no writing, reading only inside the
  // allowed directories, getenv only for the allowed names. The allowed
  // directories are `read_dirs`, the process-wide search path and the
  // directory of the template file being filled.
  bool restricted = false;
  std::vector<std::string> read_dirs;
  std::vector<std::string> allowed_env;
  Limits limits;
  // Where messages go; null: the parser's active message service.
  MessageServiceBase* messages = nullptr;
  // Starts processes; empty: posix_spawnp.
  ProcessLauncher launcher;

  // The bounds restricted mode sets where the host names none.
  static constexpr long long kRestrictedElements = 10'000'000;
  static constexpr std::size_t kRestrictedOutputBytes = 100'000'000;

  // Takes a host's trust options (the command line's, a binding's):
  // restricted mode, the names getenv may answer there, and the bounds on
  // elements and output bytes. A positive bound is taken as given; 0 keeps
  // the library's default outside restricted mode and sets the restricted
  // bound inside it, so that a restricted host never runs unbounded. The
  // time limit is left to the host: the command line starts it only after
  // its definitions.
  void SetTrust(bool restricted, std::vector<std::string> allowed_env, long long max_elements,
                long long max_output);

  // The message of a refusal: "<name> is not allowed in restricted mode".
  static std::string NotAllowed(const std::string& name);
  // True when `message` is such a refusal. Private evaluations that turn
  // errors into values pass refusals on instead.
  static bool IsRefusal(const std::string& message);

  // True when a built-in with these flags may run; otherwise `why` gets the
  // refusal.
  bool AllowsCall(const char* name, unsigned flags, std::string* why) const;

  // Opens `path`. Reading takes regular files only (a FIFO, a device or a
  // directory would block or read as nothing); writing is refused in
  // restricted mode and reading there is limited to `read_dirs`. Null with
  // `why` set ("could not open <path>" or the refusal) on failure.
  std::FILE* OpenFile(const std::string& path, FileMode mode, std::string* why) const;
  // As above with a C library mode ("r", "rb", "w+", "a", ...): a mode is
  // reading only when it starts with 'r' and has no '+'. A malformed mode
  // fails to open. `refused` (when given) tells a refusal from a failure.
  std::FILE* OpenFile(const std::string& path, const char* fopen_mode, std::string* why,
                      bool* refused) const;
  // True when `path` may be looked at (its existence asked) here: always
  // outside restricted mode; inside it when the path, or for a missing file
  // its directory, resolves inside the allowed directories. Otherwise `why`
  // gets the refusal.
  bool MayInspect(const std::string& path, std::string* why) const;
  // Reads a whole file through OpenFile. False with `why` set on failure.
  bool ReadFile(const std::string& path, std::string& text, std::string* why) const;

  // True when getenv may answer `name`: always outside restricted mode, and
  // inside it for the names on `allowed_env`. Otherwise `why` gets the
  // refusal.
  bool AllowsEnvironment(const std::string& name, std::string* why) const;

  // Starts a process through the launcher; refused in restricted mode.
  pid_t StartProcess(const ProcessRequest& request, std::string* why) const;
};

}  // namespace quorvix

#endif  // QUORVIX_POLICY_H
