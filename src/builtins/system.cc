// Environment, process and evaluation built-ins: getenv, system and eval.
// (fill lives with the template engine, which it runs.)
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/private_run.h"
#include "quorvix/app_info.h"
#include "quorvix/math_parser.h"
#include "util/child_process.h"
#include "util/run_budget.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::HasString;

symtab* StringResult(Args& args, const std::string& text) {
  symtab* v = args.Take(0);
  v->SetString(text.c_str());
  return args.Release(v);
}

// ---- getenv ---------------------------------------------------------------

// The first source that knows the name: the process environment, then the
// application information. The user and system variables of other
// platforms' utility libraries have no counterpart here, and the
// operating system's environment block is the process environment itself,
// so the chain has these two steps.
std::string LookUpEnvironment(const std::string& name) {
  if (const char* v = std::getenv(name.c_str())) return v;
  const VQApplicationInfo* info = MathParser::GetAppInfo();
  if (info == nullptr) return {};
  if (name == "ORVANT_HOME") return info->GetOrvantHome();
  if (name == "VERSION" || name == "ORVANT_PROD_VER") {
    const std::string version = info->GetApplicationVersion();
    char* end = nullptr;
    const double number = std::strtod(version.c_str(), &end);
    if (end == version.c_str()) return version;  // not a number: as it stands
    char text[64];
    std::snprintf(text, sizeof text, "%2.1f", number);
    return text;
  }
  return info->GetSpecifiedPath(name);
}

symtab* GetEnv(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  if (!args.Check(0, HasString, "String expected in GETENV function")) return nullptr;
  const std::string name = args.Peek(0)->str_list[0];
  std::string why;
  if (MathParser::current_parser != nullptr &&
      !MathParser::current_parser->policy().AllowsEnvironment(name, &why))
    return args.Fail(why.c_str());
  return StringResult(args, LookUpEnvironment(name));
}

// ---- system ---------------------------------------------------------------

std::string TemporaryDirectory() {
  for (const char* name : {"TEMP", "TMPDIR"})
    if (const char* dir = std::getenv(name); dir != nullptr && dir[0] != '\0') return dir;
  return "/tmp";
}

// A temporary file that is closed and removed on every way out.
class TemporaryFile {
 public:
  TemporaryFile() {
    path_ = TemporaryDirectory() + "/quorvix-system-XXXXXX";
    fd_ = ::mkostemp(path_.data(), O_CLOEXEC);
  }
  ~TemporaryFile() {
    if (fd_ < 0) return;
    ::close(fd_);
    ::unlink(path_.c_str());
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  int fd() const { return fd_; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  int fd_ = -1;
};

// The whole file behind `fd`, read from its start; false (reported) past
// the string limit.
bool ReadBack(int fd, std::string& text) {
  if (::lseek(fd, 0, SEEK_SET) < 0) return true;
  char chunk[1 << 14];
  ssize_t n;
  while ((n = ::read(fd, chunk, sizeof chunk)) != 0) {
    if (n < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (!CheckedStringBytes(text.size() + static_cast<std::size_t>(n))) return false;
    text.append(chunk, static_cast<std::size_t>(n));
  }
  return true;
}

// The command runs in the shell with its standard output in a temporary
// file, which becomes the result with its line ends as written.
symtab* System(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, 2)) return nullptr;
  if (!args.Check(0, HasString, "The SYSTEM function takes a string parameter")) return nullptr;
  MathParser* parser = MathParser::current_parser;
  static const Policy kDefault;
  const Policy& policy = parser != nullptr ? parser->policy() : kDefault;
  TemporaryFile out;
  if (out.fd() < 0)
    return args.Fail(("system: cannot create a temporary file in " + TemporaryDirectory()).c_str());
  std::fflush(nullptr);  // what we buffered must not reach the child's copy of stdout
  ProcessRequest request{{"/bin/sh", "-c", args.Peek(0)->str_list[0]}, -1, out.fd(), {}};
  std::string why;
  const Deadline deadline = Deadline::FromProcessTimeout();
  const pid_t pid = policy.StartProcess(request, &why);
  if (pid < 0)
    return args.Fail(
        ("system: " + (why.empty() ? std::string("the process launcher failed") : why)).c_str());
  if (!ReapChild(pid, deadline))
    return args.Fail(TimedOutMessage(args.Peek(0)->str_list[0], deadline.seconds()).c_str());
  std::string text;
  if (!ReadBack(out.fd(), text)) return nullptr;
  return StringResult(args, text);
}

// ---- eval -----------------------------------------------------------------

// Evaluates the text in a private parser that sees the caller's get
// functions and a copy of its variables; assignments stay in the copy.
symtab* Eval(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  if (!args.Check(0, HasString, "String expected in EVAL function")) return nullptr;
  MathParser* caller = MathParser::current_parser;
  RunBudget::Nesting depth;
  const Limits& limits = CurrentLimits();
  if (depth.too_deep(limits.fills))
    return args.Fail(
        ("eval nested too deeply (limit " + std::to_string(limits.fills) + ")").c_str());
  MathParser inner;
  builtins::ShareCallerState(caller, inner);
  symtab* result = nullptr;
  {
    builtins::QuietErrors quiet;
    result = inner.Evaluate(args.Peek(0)->str_list[0]);
  }
  if (result != nullptr) return result;
  const char* message = inner.ErrorMessage();
  MathParser::ClearError();
  // Limits and refusals end the caller too: runaway recursion must stop
  // and the host's trust must not turn into a silent undefined value.
  if (message != nullptr && (IsLimitMessage(message) || Policy::IsRefusal(message)))
    return args.Fail(message);
  return new symtab;
}

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kSystemBuiltins[] = {
    {"eval",   Eval,   1, kEvaluatesText,    nullptr,
     "eval(text)", "the value of the expression text; an undefined value when it fails", "eval(\"1 + 2\")"},
    {"getenv", GetEnv, 1, kReadsEnvironment, nullptr,
     "getenv(name)", "the environment variable or application setting name; empty when unknown", "getenv(\"HOME\")"},
    {"system", System, 1, kStartsProcesses,  nullptr,
     "system(command)", "the standard output of the shell command", "system(\"echo hello\")"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> SystemBuiltins() { return kSystemBuiltins; }

}  // namespace quorvix
