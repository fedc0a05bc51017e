// The run matrix of a design study: a CSV whose header names the design
// parameters (plus an optional "run" column), one run a row, checked
// against the template's declarations before anything is filled.
#ifndef QUORVIX_TOOLS_RUN_MATRIX_H
#define QUORVIX_TOOLS_RUN_MATRIX_H

#include <set>
#include <string>
#include <vector>

namespace quorvix::cli {

struct Run {
  std::string id;                   // the "run" column, else the row number from 1
  int line = 0;                     // in the CSV
  std::vector<std::string> values;  // one per parameter column
  std::string output;               // the pattern filled in for this run
};

struct RunMatrix {
  std::vector<std::string> columns;  // the parameter columns, in CSV order
  std::vector<Run> runs;             // the selected rows
};

struct MatrixRequest {
  std::string csv_path;
  std::vector<std::string> declared;  // the template's parameters
  std::set<std::string> numeric;      // those whose values must be numbers
  std::string pattern;                // of the output paths: {run}, {NAME}
  int first = 1, last = 0;            // rows from 1, inclusive; last 0: all
};

// Reads and checks the matrix; false with `error` (the whole message) when
// the file, its header, a value or the pattern is wrong.
bool ReadRunMatrix(const MatrixRequest& request, RunMatrix& matrix, std::string& error);

// A cell that is a whole number in C syntax, blanks around it allowed.
bool ParseNumber(const std::string& text, double& value);

}  // namespace quorvix::cli

#endif  // QUORVIX_TOOLS_RUN_MATRIX_H
