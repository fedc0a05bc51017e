// The extension module quorvix._quorvix; the package quorvix (__init__.py)
// wraps it and is what users import.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>

#include "convert.h"
#include "failure.h"
#include "guard.h"
#include "python_functions.h"
#include "python_parser.h"
#include "quorvix/math_parser.h"
#include "quorvix/value_format.h"

namespace py = pybind11;
using quorvix::python::Failure;
using quorvix::python::LibraryGuard;
using quorvix::python::ParserOptions;
using quorvix::python::PythonParser;

namespace {

// quorvix.Error, given by the package when it loads; kept for the life of
// the process.
py::object& ErrorClass() {
  static auto* error_class = new py::object();
  return *error_class;
}

template <typename T>
py::object OrNone(const std::optional<T>& value) {
  return value ? py::cast(*value) : py::none();
}

void Raise(const Failure& failure) {
  py::object error = ErrorClass()(
      failure.message, py::arg("expression") = OrNone(failure.expression),
      py::arg("file") = OrNone(failure.file), py::arg("line") = OrNone(failure.line),
      py::arg("column") = OrNone(failure.column), py::arg("output") = OrNone(failure.output),
      py::arg("report") = OrNone(failure.report));
  py::object cause = quorvix::python::TakeRaised();
  if (!cause.is_none()) PyException_SetCause(error.ptr(), cause.release().ptr());
  PyErr_SetObject(ErrorClass().ptr(), error.ptr());
}

std::string FormatNumber(double value) {
  symtab record;
  record.SetScalar(value);
  std::string text;
  quorvix::FormatValue(record, quorvix::ValueFormat(), text);
  return text;
}

py::list Functions() {
  LibraryGuard guard;
  if (MathParser::func_list.empty()) MathParser();  // registers the built-ins
  const std::size_t count = MathParser::func_list.size();
  std::unique_ptr<funtab*[]> list(MathParser::GetSortedFunctionList());
  py::list names;
  for (std::size_t i = 0; i < count; ++i) names.append(list[i]->name ? list[i]->name : "");
  return names;
}

}  // namespace

PYBIND11_MODULE(_quorvix, m) {
  m.doc() = "The quorvix template and expression languages (extension module).";
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown) std::rethrow_exception(thrown);
    } catch (const Failure& failure) {
      Raise(failure);
    }
  });

  m.def(
      "_bind",
      [](py::object error_class, py::object scalar_class) {
        ErrorClass() = std::move(error_class);
        quorvix::python::SetScalarClass(std::move(scalar_class));
      },
      "Gives the module the package's Error and Scalar classes.");
  m.def("format_number", &FormatNumber, py::arg("value"),
        "The text of a number as a template writes it with the default format.");
  m.def("functions", &Functions, "The names of the registered functions, sorted.");

  py::class_<PythonParser>(m, "Parser")
      .def(py::init([](bool restricted, std::vector<std::string> allow_env, long long max_elements,
                       long long max_output, double time_limit) {
             if (max_elements < 0 || max_output < 0 || time_limit < 0)
               throw py::value_error("limits must not be negative");
             return std::make_unique<PythonParser>(ParserOptions{
                 restricted, std::move(allow_env), max_elements, max_output, time_limit});
           }),
           py::kw_only(), py::arg("restricted") = false,
           py::arg("allow_env") = std::vector<std::string>(), py::arg("max_elements") = 0,
           py::arg("max_output") = 0, py::arg("time_limit") = 0.0)
      .def("eval", &PythonParser::Eval, py::arg("text"), "Evaluates an expression.")
      .def(
          "fill",
          [](PythonParser& p, py::handle text, py::handle include, bool lf, py::kwargs variables) {
            return p.Fill(text, false, include, lf, variables);
          },
          py::arg("template"), py::kw_only(), py::arg("include") = py::tuple(),
          py::arg("lf") = false, "Fills a template text; keywords set variables first.")
      .def(
          "fill_file",
          [](PythonParser& p, py::handle path, py::handle include, bool lf, py::kwargs variables) {
            return p.Fill(path, true, include, lf, variables);
          },
          py::arg("path"), py::kw_only(), py::arg("include") = py::tuple(), py::arg("lf") = false,
          "Fills a template file; keywords set variables first.")
      .def(
          "register",
          [](PythonParser&, py::handle name, py::object function) {
            const std::string text = quorvix::python::TextArgument(name, "function name");
            if (!quorvix::python::IsName(text))
              throw py::value_error("function name '" + text + "' is not a valid name");
            if (!PyCallable_Check(function.ptr()))
              throw py::type_error("function '" + text + "' is not callable");
            LibraryGuard guard;
            quorvix::python::RegisterFunction(text, std::move(function));
          },
          py::arg("name"), py::arg("function"),
          "Makes a Python function callable from expressions (in every parser).")
      .def(
          "unregister",
          [](PythonParser&, py::handle name) {
            const std::string text = quorvix::python::TextArgument(name, "function name");
            LibraryGuard guard;
            quorvix::python::UnregisterFunction(text);
          },
          py::arg("name"), "Removes a function registered with register().")
      .def_property_readonly("restricted", &PythonParser::restricted)
      .def("__setitem__", &PythonParser::SetItem)
      .def("__getitem__", &PythonParser::GetItem)
      .def("__delitem__", &PythonParser::DelItem)
      .def("__contains__", &PythonParser::Contains)
      .def("keys", &PythonParser::Keys, "The names of the variables that hold a value.")
      .def("__len__", [](PythonParser& p) { return py::len(p.Keys()); })
      .def("__iter__", [](PythonParser& p) { return py::iter(p.Keys()); });
}
