// quorvix.Parser: one MathParser with its variables, evaluating expressions
// and filling templates for Python. Every call into the library holds the
// library guard (guard.h); evaluations and fills run without the GIL.
#ifndef QUORVIX_PYTHON_PARSER_H
#define QUORVIX_PYTHON_PARSER_H

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"

namespace quorvix::python {

struct ParserOptions {
  bool restricted = false;
  std::vector<std::string> allow_env;
  long long max_elements = 0;  // 0: the library's default
  long long max_output = 0;    // 0: the library's default
  double time_limit = 0.0;     // seconds; 0: none
};

class PythonParser {
 public:
  explicit PythonParser(const ParserOptions& options);
  ~PythonParser();
  PythonParser(const PythonParser&) = delete;
  PythonParser& operator=(const PythonParser&) = delete;

  pybind11::object Eval(pybind11::handle text);
  // Fills a template text, or the file at `source` when `from_file`.
  pybind11::str Fill(pybind11::handle source, bool from_file, pybind11::handle include, bool lf,
                     const pybind11::kwargs& variables);

  void SetItem(pybind11::handle name, pybind11::handle value);
  pybind11::object GetItem(pybind11::handle name);
  void DelItem(pybind11::handle name);
  bool Contains(pybind11::handle name);
  pybind11::list Keys();
  bool restricted() const { return parser_->policy().restricted; }

 private:
  // Stores `value` as the variable `name`; the caller holds the guard.
  void Store(const std::string& name, pybind11::handle value);
  const symtab* Find(const std::string& name) const;

  std::unique_ptr<MathParser> parser_;
};

}  // namespace quorvix::python

#endif
