// The Tcl bridge: the built-ins that run Tcl scripts and read Tcl variables
// in MathParser::tcl_interp, the "TCL" output stream of the template engine,
// and the interpreter a host without one of its own can ask for. Installed
// when the library is loaded.
#include <tcl.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "quorvix/math_parser.h"
#include "quorvix/message_service.h"
#include "template/tcl_hooks.h"
#include "util/output_stream.h"
#include "util/process_timeout.h"
#include "util/run_budget.h"

namespace quorvix {
namespace {

using builtins::Args;

constexpr char kStringExpected[] = "String expected in TCLEVAL function";

void ReplaceString(symtab& v, int i, const char* text) {
  char* copy = newstrdup(text);
  delete[] v.str_list[i];
  v.str_list[i] = copy;
}

bool IsStringKind(const symtab& v) { return v.type == SYM_STRINGS; }

// Runs `run` on every string of the one argument and puts the interpreter's
// result in its place; the completion code is not looked at, so a failed
// script leaves its error message there.
symtab* EachString(sym_list* list, int (*run)(Tcl_Interp*, const char*)) {
  Args args(list);
  if (args.size() == 0) return nullptr;
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0, IsStringKind, kStringExpected);
  if (v == nullptr) return nullptr;
  Tcl_Interp* interp = MathParser::tcl_interp;
  if (interp == nullptr) return args.Release(v);
  for (int i = 0; i < v->num_strings; ++i) {
    run(interp, v->str_list[i] != nullptr ? v->str_list[i] : "");
    // A script cut short by the fill's own time limit ends the fill.
    if (std::string why; !RunBudget::InTime(&why)) return args.Fail(why.c_str());
    ReplaceString(*v, i, Tcl_GetStringResult(interp));
  }
  return args.Release(v);
}

// A script runs no longer than the fill or evaluation that started it may,
// nor than the time-out of started programs: an endless script ends with
// Tcl's own "time limit exceeded" as its result. A limit the host set on
// its interpreter is left alone.
class TimeBound {
 public:
  explicit TimeBound(Tcl_Interp* interp) : interp_(interp) {
    double seconds = RunBudget::SecondsLeft();
    const double timeout = ProcessTimeout();
    if (timeout > 0 && (seconds < 0 || timeout < seconds)) seconds = timeout;
    if (seconds < 0 || Tcl_LimitTypeEnabled(interp, TCL_LIMIT_TIME)) return;
    Tcl_Time until;
    Tcl_GetTime(&until);
    const double whole = std::floor(std::min(seconds, 1e9));
    until.sec += static_cast<long>(whole);
    until.usec += static_cast<long>((std::min(seconds, 1e9) - whole) * 1e6);
    if (until.usec >= 1000000) {
      until.sec += 1;
      until.usec -= 1000000;
    }
    Tcl_LimitSetTime(interp, &until);
    Tcl_LimitSetGranularity(interp, TCL_LIMIT_TIME, 1);
    Tcl_LimitTypeSet(interp, TCL_LIMIT_TIME);
    set_ = true;
  }
  ~TimeBound() {
    if (set_) Tcl_LimitTypeReset(interp_, TCL_LIMIT_TIME);
  }
  TimeBound(const TimeBound&) = delete;
  TimeBound& operator=(const TimeBound&) = delete;

 private:
  Tcl_Interp* interp_;
  bool set_ = false;
};

int EvalScript(Tcl_Interp* interp, const char* script) {
  const std::size_t n = std::strlen(script);
  const int length = n > static_cast<std::size_t>(std::numeric_limits<int>::max())
                         ? std::numeric_limits<int>::max()
                         : static_cast<int>(n);
  TimeBound bound(interp);
  return Tcl_EvalEx(interp, script, length, TCL_EVAL_GLOBAL);
}

int EvalFile(Tcl_Interp* interp, const char* name) {
  TimeBound bound(interp);
  return Tcl_EvalFile(interp, name);
}

symtab* TclEval(sym_list* list) { return EachString(list, EvalScript); }
symtab* TclEvalFile(sym_list* list) { return EachString(list, EvalFile); }

symtab* TclGetVar(sym_list* list) {
  Args args(list);
  if (args.size() == 0) return nullptr;
  if (!args.HasCount(1, 2)) return nullptr;
  symtab* v = args.Take(0, builtins::HasString, kStringExpected);
  if (v == nullptr) return nullptr;
  Tcl_Interp* interp = MathParser::tcl_interp;
  if (interp == nullptr) {
    v->SetStrings(nullptr, 0);
    return args.Release(v);
  }
  const char* element = args.size() == 2 ? builtins::FirstString(*args.Peek(1)) : nullptr;
  Tcl_Obj* value = Tcl_GetVar2Ex(interp, v->str_list[0], element, TCL_LEAVE_ERR_MSG);
  v->SetString(value != nullptr ? Tcl_GetStringFromObj(value, nullptr)
                                : Tcl_GetStringResult(interp));
  return args.Release(v);
}

// Scripts can start programs (exec, open |...) and write files.
constexpr unsigned kTclFlags = kStartsProcesses | kWritesFiles | kReadsFiles | kEvaluatesText;

// clang-format off
constexpr BuiltinEntry kTclBuiltins[] = {
    {"tcleval", TclEval, 1, kTclFlags, nullptr,
     "tcleval(script)", "each script run in the Tcl interpreter, replaced by its result", "tcleval(\"expr {6 * 7}\")"},
    {"tclevalfile", TclEvalFile, 1, kTclFlags, nullptr,
     "tclevalfile(file)", "each Tcl file run in the interpreter, replaced by its result", "tclevalfile(\"/dev/null\")"},
    {"tclgetvar", TclGetVar, 1, kTclFlags, nullptr,
     "tclgetvar(name [, element])", "the value of a Tcl variable (or array element) as a string", "tclgetvar(\"tcl_version\")"},
};
// clang-format on

std::span<const BuiltinEntry> TclBuiltins() { return kTclBuiltins; }

// Collects what the template writes and runs it as one script when it is
// closed, so that a command may span many template lines.
class TclStream : public ostream_fast {
 public:
  TclStream(Tcl_Interp* interp, MessageServiceBase* messages)
      : ostream_fast(static_cast<std::size_t>(-1)), interp_(interp), messages_(messages) {}
  ~TclStream() override {
    // The engine's CR LF line ends become Tcl's own.
    std::string script;
    const std::string_view text = buf_.view();
    script.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i)
      if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) script += text[i];
    if (EvalScript(interp_, script.c_str()) != TCL_OK && messages_ != nullptr) {
      const std::string message = std::string("TCL stream: ") + Tcl_GetStringResult(interp_);
      messages_->Message(message.c_str());
    }
  }

 private:
  Tcl_Interp* interp_;
  MessageServiceBase* messages_;
};

std::unique_ptr<ostream_fast> MakeTclStream(MessageServiceBase* messages) {
  if (MathParser::tcl_interp == nullptr) return nullptr;
  return std::make_unique<TclStream>(MathParser::tcl_interp, messages);
}

bool CreateInterpreter() {
  if (MathParser::tcl_interp != nullptr) return true;
  Tcl_FindExecutable(nullptr);
  Tcl_Interp* interp = Tcl_CreateInterp();
  if (interp == nullptr) return false;
  // Without an installed init script the core commands are still there,
  // which is all that templates and expressions need.
  Tcl_Init(interp);
  // A script must not end the host process.
  Tcl_Eval(interp, "rename exit {}; proc exit args {error \"exit is not available here\"}");
  Tcl_ResetResult(interp);
  MathParser::tcl_interp = interp;
  return true;
}

const bool g_tcl_installed = [] {
  AddBuiltinFamily(&TclBuiltins, "Tcl");
  TclHooks& hooks = InstalledTclHooks();
  hooks.make_stream = &MakeTclStream;
  hooks.create_interpreter = &CreateInterpreter;
  return true;
}();

}  // namespace
}  // namespace quorvix
