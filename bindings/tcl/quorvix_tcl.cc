// The quorvix package for Tcl: "package require quorvix" gives
//   quorvix::eval EXPR
//   quorvix::fill TEXT ?-D NAME=EXPR? ?-I DIR? ?-lf? ...
//   quorvix::fillfile PATH ?-D NAME=EXPR? ?-I DIR? ?-lf? ...
// Each interpreter has one parser of its own, so variables set by eval or by
// a template stay for the next call in that interpreter. While a command
// runs, the calling interpreter is MathParser::tcl_interp: tcleval,
// tclgetvar and the TCL stream of a template work in the script's own
// interpreter.
#include <tcl.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/output_sink.h"
#include "quorvix/symtab.h"

namespace {

constexpr char kAssocKey[] = "quorvix";

struct Package {
  MathParser parser;
};

// Owns a value the parser returned.
struct ValueDeleter {
  void operator()(symtab* v) const { v->Delete(); }
};
using Value = std::unique_ptr<symtab, ValueDeleter>;

// Owns a text the library allocated with new[].
struct TextDeleter {
  void operator()(char* p) const { delete[] p; }
};
using Text = std::unique_ptr<char, TextDeleter>;

// Makes `interp` the library's Tcl interpreter for the length of one
// command, and gives back whatever a host had set before.
class CallingInterp {
 public:
  explicit CallingInterp(Tcl_Interp* interp) : previous_(MathParser::tcl_interp) {
    MathParser::tcl_interp = interp;
  }
  ~CallingInterp() { MathParser::tcl_interp = previous_; }
  CallingInterp(const CallingInterp&) = delete;
  CallingInterp& operator=(const CallingInterp&) = delete;

 private:
  Tcl_Interp* previous_;
};

int Fail(Tcl_Interp* interp, const std::string& message) {
  Tcl_SetObjResult(interp, Tcl_NewStringObj(message.data(), static_cast<int>(message.size())));
  Tcl_SetErrorCode(interp, "QUORVIX", static_cast<const char*>(nullptr));
  return TCL_ERROR;
}

std::string ParserMessage(const MathParser& parser) {
  const char* message = parser.ErrorMessage();
  return message != nullptr && *message != '\0' ? message : "evaluation failed";
}

// Whole numbers come back as Tcl integers, others as doubles at full
// precision, so that [quorvix::eval {2*3}] is 6 and Tcl arithmetic loses
// nothing.
Tcl_Obj* NumberObj(double d) {
  if (std::isfinite(d) && d == std::trunc(d) && std::fabs(d) < 9.0e15)
    return Tcl_NewWideIntObj(static_cast<Tcl_WideInt>(d));
  return Tcl_NewDoubleObj(d);
}

// A scalar is a number, a vector a list of numbers, a matrix a list of its
// rows, one string the string itself and several strings a list.
Tcl_Obj* ValueObj(const symtab& v) {
  switch (v.type) {
    case SYM_SCALAR:
      return NumberObj(v.value);
    case SYM_ARRAY: {
      auto row = [&](int r) {
        Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
        for (int c = 0; c < v.cols; ++c)
          Tcl_ListObjAppendElement(nullptr, list,
                                   NumberObj(v.data[static_cast<std::size_t>(r) * v.cols + c]));
        return list;
      };
      if (v.rows == 1) return row(0);
      Tcl_Obj* rows = Tcl_NewListObj(0, nullptr);
      for (int r = 0; r < v.rows; ++r) Tcl_ListObjAppendElement(nullptr, rows, row(r));
      return rows;
    }
    case SYM_STRINGS: {
      auto text = [&](int i) {
        return Tcl_NewStringObj(v.str_list[i] != nullptr ? v.str_list[i] : "", -1);
      };
      if (v.num_strings == 1) return text(0);
      Tcl_Obj* list = Tcl_NewListObj(0, nullptr);
      for (int i = 0; i < v.num_strings; ++i) Tcl_ListObjAppendElement(nullptr, list, text(i));
      return list;
    }
    default:
      return Tcl_NewObj();
  }
}

int EvalCommand(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  if (objc != 2) {
    Tcl_WrongNumArgs(interp, 1, objv, "expression");
    return TCL_ERROR;
  }
  auto* package = static_cast<Package*>(data);
  CallingInterp calling(interp);
  Value value(package->parser.Evaluate(Tcl_GetString(objv[1])));
  if (!value) return Fail(interp, ParserMessage(package->parser));
  Tcl_SetObjResult(interp, ValueObj(*value));
  return TCL_OK;
}

// Collects a fill's output; with `lf` every CR LF becomes LF.
class StringSink : public quorvix::OutputSink {
 public:
  bool Write(const char* data, std::size_t n) override {
    text.append(data, n);
    return true;
  }
  std::string text;
};

struct FillOptions {
  std::vector<std::pair<std::string, std::string>> defines;
  std::vector<std::string> includes;
  bool lf = false;
};

// Reads the options after the template; false after setting the error.
bool ParseFillOptions(Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], FillOptions& o) {
  for (int i = 2; i < objc; ++i) {
    const std::string option = Tcl_GetString(objv[i]);
    if (option == "-lf") {
      o.lf = true;
      continue;
    }
    if (option != "-D" && option != "-I") {
      Fail(interp, "bad option \"" + option + "\": must be -D, -I or -lf");
      return false;
    }
    if (i + 1 >= objc) {
      Fail(interp, option + " needs a value");
      return false;
    }
    const std::string value = Tcl_GetString(objv[++i]);
    if (option == "-I") {
      o.includes.push_back(value);
      continue;
    }
    const std::size_t eq = value.find('=');
    if (eq == std::string::npos || eq == 0) {
      Fail(interp, "bad definition \"" + value + "\": expected NAME=EXPR");
      return false;
    }
    o.defines.emplace_back(value.substr(0, eq), value.substr(eq + 1));
  }
  return true;
}

// The include path is process-wide: the -I directories of one fill are
// taken off again when it ends. Directories a template's "path" statement
// added come after them and stay, as they do for any fill.
class IncludeScope {
 public:
  explicit IncludeScope(const std::vector<std::string>& dirs)
      : first_(FillerBase::IncludePath().size()), count_(dirs.size()) {
    auto& path = FillerBase::IncludePath();
    path.insert(path.end(), dirs.begin(), dirs.end());
  }
  ~IncludeScope() {
    auto& path = FillerBase::IncludePath();
    if (path.size() >= first_ + count_)
      path.erase(path.begin() + static_cast<long>(first_),
                 path.begin() + static_cast<long>(first_ + count_));
  }
  IncludeScope(const IncludeScope&) = delete;
  IncludeScope& operator=(const IncludeScope&) = delete;

 private:
  std::size_t first_, count_;
};

int FillWith(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[], bool from_file) {
  if (objc < 2) {
    Tcl_WrongNumArgs(interp, 1, objv, from_file ? "path ?options?" : "template ?options?");
    return TCL_ERROR;
  }
  FillOptions options;
  if (!ParseFillOptions(interp, objc, objv, options)) return TCL_ERROR;
  auto* package = static_cast<Package*>(data);
  MathParser& parser = package->parser;
  CallingInterp calling(interp);
  for (const auto& [name, expr] : options.defines) {
    Value value(parser.Evaluate(expr.c_str()));
    if (!value) return Fail(interp, "-D " + name + ": " + ParserMessage(parser));
    value->SetName(name.c_str());
    parser.AddVariable(value.get());
  }
  IncludeScope include(options.includes);
  Filler filler(&parser);
  filler.SetLfInFiles(options.lf);
  StringSink sink;
  char* errors = nullptr;
  // A copy: a script the template runs may change the argument's object.
  const std::string source = Tcl_GetString(objv[1]);
  const int status = from_file ? filler.FillFileTo(source.c_str(), sink, &errors)
                               : filler.FillTo(source.c_str(), sink, &errors);
  Text error_text(errors);
  if (status < 0) return Fail(interp, "cannot read template \"" + source + "\"");
  if (status > 0) {
    // The engine's report has CR LF line ends like its output; a Tcl
    // message has LF.
    std::string message = quorvix::WithLfLineEnds(error_text ? error_text.get() : "fill failed");
    while (!message.empty() && (message.back() == '\n' || message.back() == '\r'))
      message.pop_back();
    return Fail(interp, message);
  }
  const std::string text = options.lf ? quorvix::WithLfLineEnds(sink.text) : std::move(sink.text);
  if (text.size() > static_cast<std::size_t>(INT_MAX))
    return Fail(interp, "fill output too long for a Tcl string");
  Tcl_SetObjResult(interp, Tcl_NewStringObj(text.data(), static_cast<int>(text.size())));
  return TCL_OK;
}

int FillCommand(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  return FillWith(data, interp, objc, objv, false);
}

int FillFileCommand(ClientData data, Tcl_Interp* interp, int objc, Tcl_Obj* const objv[]) {
  return FillWith(data, interp, objc, objv, true);
}

void DeletePackage(ClientData data, Tcl_Interp*) { delete static_cast<Package*>(data); }

}  // namespace

extern "C" int Quorvix_Init(Tcl_Interp* interp) {
  if (Tcl_InitStubs(interp, "8.6", 0) == nullptr) return TCL_ERROR;
  // The parser lives as long as the interpreter; the commands share it.
  auto* package = static_cast<Package*>(Tcl_GetAssocData(interp, kAssocKey, nullptr));
  if (package == nullptr) {
    package = new Package;
    Tcl_SetAssocData(interp, kAssocKey, DeletePackage, package);
  }
  Tcl_CreateObjCommand(interp, "::quorvix::eval", EvalCommand, package, nullptr);
  Tcl_CreateObjCommand(interp, "::quorvix::fill", FillCommand, package, nullptr);
  Tcl_CreateObjCommand(interp, "::quorvix::fillfile", FillFileCommand, package, nullptr);
  return Tcl_PkgProvide(interp, "quorvix", QUORVIX_VERSION_TEXT);
}
