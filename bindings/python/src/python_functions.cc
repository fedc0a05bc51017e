#include "python_functions.h"

#include <cctype>
#include <map>
#include <memory>
#include <vector>

#include "convert.h"
#include "failure.h"
#include "quorvix/math_parser.h"

namespace quorvix::python {

namespace py = pybind11;

namespace {

struct PythonFunction {
  std::string name;
  py::object function;
};

// The registry keeps a pointer to each entry; a replaced entry may still be
// running, so it stays alive. Never destroyed: its Python objects must not
// be released after the interpreter has gone.
struct Registered {
  std::map<std::string, PythonFunction*> current;
  std::vector<std::unique_ptr<PythonFunction>> all;
  py::object raised;
};

Registered& Functions() {
  static auto* functions = new Registered;
  return *functions;
}

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::string Describe(const py::error_already_set& e) {
  std::string text = py::str(e.type().attr("__name__")).cast<std::string>();
  std::string value = py::str(e.value()).cast<std::string>();
  return value.empty() ? text : text + ": " + value;
}

struct RecordDeleter {
  void operator()(symtab* record) const { record->Delete(); }
};

symtab* CallPython(void* context, sym_list* args) {
  auto* entry = static_cast<PythonFunction*>(context);
  py::gil_scoped_acquire gil;
  try {
    py::tuple values(static_cast<std::size_t>(args->count));
    for (int i = 0; i < args->count; ++i)
      values[static_cast<std::size_t>(i)] = ToPython(args->Take(i));
    py::object result = entry->function(*values);
    std::unique_ptr<symtab, RecordDeleter> out(new symtab);
    FromPython(result, *out, entry->name + " result");
    return out.release();
  } catch (py::error_already_set& e) {
    Functions().raised = e.value();
    MathParser::Error((entry->name + ": " + Describe(e)).c_str());
  } catch (const std::exception& e) {
    MathParser::Error((entry->name + ": " + e.what()).c_str());
  }
  return nullptr;
}

}  // namespace

bool IsName(const std::string& name) {
  if (name.empty() || !(std::isalpha(static_cast<unsigned char>(name[0])) || name[0] == '_'))
    return false;
  for (char c : name)
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
  return true;
}

void RegisterFunction(const std::string& name, py::object function) {
  Registered& functions = Functions();
  const std::string key = Lower(name);
  auto known = functions.current.find(key);
  if (known != functions.current.end()) {
    MathParser::RemoveFunc(name.c_str());
    functions.current.erase(known);
  } else if (MathParser::FunLook(name.c_str()) != nullptr) {
    throw Failure("function '" + name + "' is already registered");
  }
  auto entry = std::make_unique<PythonFunction>(PythonFunction{name, std::move(function)});
  if (MathParser::AddContextFunc(name.c_str(), &CallPython, entry.get(), 1) != 0)
    throw Failure("function '" + name + "' is already registered");
  functions.current.emplace(key, entry.get());
  functions.all.push_back(std::move(entry));
}

void UnregisterFunction(const std::string& name) {
  Registered& functions = Functions();
  auto known = functions.current.find(Lower(name));
  if (known == functions.current.end()) throw py::key_error(name);
  MathParser::RemoveFunc(name.c_str());
  functions.current.erase(known);
}

py::object TakeRaised() {
  py::object raised = std::move(Functions().raised);
  return raised ? raised : py::none();
}

}  // namespace quorvix::python
