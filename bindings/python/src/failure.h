// Failures of the library as the Python binding reports them: thrown as
// Failure inside the binding and raised as quorvix.Error in Python.
#ifndef QUORVIX_PYTHON_FAILURE_H
#define QUORVIX_PYTHON_FAILURE_H

#include <optional>
#include <string>
#include <string_view>

namespace quorvix::python {

struct Failure {
  explicit Failure(std::string text) : message(std::move(text)) {}

  std::string message;
  std::optional<std::string> expression;  // the expression that failed
  std::optional<std::string> file;        // the template file that failed
  std::optional<int> line;                // 1-based, in the expression or file
  std::optional<int> column;              // 1-based
  std::optional<std::string> output;      // what a failed fill wrote
  std::optional<std::string> report;      // a fill's whole error report
};

// Sets line and column from a byte offset into `text`.
void LocateOffset(std::string_view text, int offset, Failure& failure);

// Reads a fill's error report (LF line ends) into `failure`: the report, the
// message (the lines after the last caret, else the whole report), the file
// of its last "in file:" line, the column of the caret, and the first line of
// `source` equal to the line quoted above the caret. `source` is the text of
// `source_file` (null for a text filled without a file); it is searched only
// when the report names no other file.
void LocateReport(std::string_view report, std::string_view source, const char* source_file,
                  Failure& failure);

}  // namespace quorvix::python

#endif
