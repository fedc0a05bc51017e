#include "python_parser.h"

#include <fstream>
#include <iostream>
#include <iterator>

#include "convert.h"
#include "failure.h"
#include "guard.h"
#include "python_functions.h"
#include "quorvix/filler.h"
#include "quorvix/message_service.h"
#include "quorvix/output_sink.h"
#include "quorvix/tcl_setup.h"

namespace quorvix::python {

namespace py = pybind11;

namespace {

// Messages that are not output (echo, fit reports) go to standard error, as
// from the command-line program.
class StderrMessages : public MessageServiceBase {
 public:
  std::ostream& Stream() override { return std::cerr; }
};

class StringSink : public OutputSink {
 public:
  explicit StringSink(std::string& out) : out_(out) {}
  bool Write(const char* data, std::size_t n) override {
    out_.append(data, n);
    return true;
  }

 private:
  std::string& out_;
};

// The include directories of one fill, appended to the process-wide include
// path and taken off again afterwards.
class IncludeScope {
 public:
  explicit IncludeScope(const std::vector<std::string>& dirs)
      : path_(FillerBase::IncludePath()), size_(path_.size()) {
    path_.insert(path_.end(), dirs.begin(), dirs.end());
  }
  ~IncludeScope() { path_.resize(size_); }
  IncludeScope(const IncludeScope&) = delete;
  IncludeScope& operator=(const IncludeScope&) = delete;

 private:
  std::vector<std::string>& path_;
  std::size_t size_;
};

struct ErrorTextDeleter {
  void operator()(char* text) const { delete[] text; }
};

py::str Decode(const std::string& text) {
  PyObject* decoded =
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
  if (decoded == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(decoded);
}

std::string Name(py::handle name, const char* what) {
  std::string text = TextArgument(name, what);
  if (!IsName(text))
    throw py::value_error(std::string(what) + " '" + text + "' is not a valid name");
  return text;
}

std::vector<std::string> Directories(py::handle include) {
  if (py::isinstance<py::str>(include))
    throw py::type_error("include must be a list of directories, not a str");
  std::vector<std::string> dirs;
  for (py::handle dir : py::iter(include)) dirs.push_back(TextArgument(dir, "include directory"));
  return dirs;
}

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

PythonParser::PythonParser(const ParserOptions& options) {
  LibraryGuard guard;
  parser_ = std::make_unique<MathParser>();
  Policy& policy = parser_->policy();
  policy.SetTrust(options.restricted, options.allow_env, options.max_elements, options.max_output);
  policy.limits.seconds = options.time_limit;
  static StderrMessages messages;
  policy.messages = &messages;
  // Templates may write to the "TCL" stream and call the Tcl functions.
  if (!options.restricted) CreateTclInterpreter();
}

PythonParser::~PythonParser() {
  // The GIL keeps any other thread from taking the guard anew, so the wait
  // is needed only while an evaluation elsewhere is running without it.
  if (LibraryGuard::HeldElsewhere()) {
    py::gil_scoped_release release;
    LibraryGuard guard(LibraryGuard::Mode::kWait);
    parser_.reset();
  } else {
    LibraryGuard guard(LibraryGuard::Mode::kWait);
    parser_.reset();
  }
}

py::object PythonParser::Eval(py::handle text_object) {
  const TextView text(text_object, "expression");
  LibraryGuard guard;
  TakeRaised();
  symtab* result = nullptr;
  {
    py::gil_scoped_release release;
    result = parser_->Evaluate(text.c_str());
  }
  if (result == nullptr) {
    const char* message = parser_->ErrorMessage();
    if (message == nullptr || *message == '\0') message = MathParser::ErrorText().c_str();
    Failure failure(*message != '\0' ? message : "evaluation failed");
    failure.expression = text.str();
    LocateOffset(*failure.expression, parser_->ErrorPosition(), failure);
    throw failure;
  }
  return ToPython(result);
}

py::str PythonParser::Fill(py::handle source_object, bool from_file, py::handle include, bool lf,
                           const py::kwargs& variables) {
  const std::string source = TextArgument(source_object, from_file ? "path" : "template");
  const std::vector<std::string> dirs = Directories(include);
  LibraryGuard guard;
  TakeRaised();
  for (const auto& [name, value] : variables) Store(Name(name, "variable name"), value);
  IncludeScope scope(dirs);
  Filler filler(parser_.get());
  filler.SetLfInFiles(lf);
  std::string out;
  StringSink sink(out);
  char* errors = nullptr;
  int status = 0;
  {
    py::gil_scoped_release release;
    status = from_file ? filler.FillFileTo(source.c_str(), sink, &errors)
                       : filler.FillTo(source.c_str(), sink, &errors);
  }
  std::unique_ptr<char[], ErrorTextDeleter> owned_errors(errors);
  if (status < 0) {
    Failure failure("cannot read '" + source + "'");
    failure.file = source;
    throw failure;
  }
  if (lf) out = WithLfLineEnds(out);
  if (status != 0) {
    const std::string report = WithLfLineEnds(errors != nullptr ? errors : "fill failed");
    Failure failure(report);
    LocateReport(report, from_file ? ReadText(source) : source,
                 from_file ? source.c_str() : nullptr, failure);
    failure.output = std::move(out);
    throw failure;
  }
  return Decode(out);
}

void PythonParser::Store(const std::string& name, py::handle value) {
  symtab converted;
  FromPython(value, converted, "variable " + name);
  converted.SetName(name.c_str());
  // Into the table record itself, as an assignment in an expression does.
  symtab* record = parser_->SymLook(name.c_str());
  *record = std::move(converted);
  record->shared = 1;
}

const symtab* PythonParser::Find(const std::string& name) const {
  const auto& variables = parser_->Variables();
  auto it = variables.find(name);
  return it == variables.end() || it->second->type == SYM_UNDEFINED ? nullptr : it->second;
}

void PythonParser::SetItem(py::handle name, py::handle value) {
  const std::string key = Name(name, "variable name");
  LibraryGuard guard;
  Store(key, value);
}

py::object PythonParser::GetItem(py::handle name) {
  const std::string key = TextArgument(name, "variable name");
  LibraryGuard guard;
  const symtab* record = Find(key);
  if (record == nullptr) throw py::key_error(key);
  auto* copy = new symtab(*record);
  copy->shared = 0;
  return ToPython(copy);
}

void PythonParser::DelItem(py::handle name) {
  const std::string key = TextArgument(name, "variable name");
  LibraryGuard guard;
  // A running evaluation may hold the variable's record.
  if (guard.nested()) throw Failure("variables cannot be deleted while an evaluation runs");
  if (Find(key) == nullptr) throw py::key_error(key);
  parser_->ClearVariable(key.c_str());
}

bool PythonParser::Contains(py::handle name) {
  if (!py::isinstance<py::str>(name)) return false;
  const std::string key = TextArgument(name, "variable name");
  LibraryGuard guard;
  return Find(key) != nullptr;
}

py::list PythonParser::Keys() {
  LibraryGuard guard;
  py::list keys;
  for (const auto& [name, record] : parser_->Variables())
    if (record->type != SYM_UNDEFINED) keys.append(Decode(name));
  return keys;
}

}  // namespace quorvix::python
