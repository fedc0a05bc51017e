// Reading and checking a run matrix.
#include "run_matrix.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include "csv.h"

namespace quorvix::cli {

namespace {

constexpr const char* kRunColumn = "run";

std::string Joined(const std::vector<std::string>& names) {
  std::string out;
  for (const std::string& n : names) out += (out.empty() ? "" : ", ") + n;
  return out.empty() ? "none" : out;
}

// The output path of one run; false with `error` for a placeholder that
// names no column.
bool Expand(const std::string& pattern, const std::vector<std::string>& columns, const Run& run,
            std::string& out, std::string& error) {
  out.clear();
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const std::size_t close = pattern[i] == '{' ? pattern.find('}', i) : std::string::npos;
    if (close == std::string::npos) {
      out += pattern[i];
      continue;
    }
    const std::string key = pattern.substr(i + 1, close - i - 1);
    if (key == kRunColumn) {
      out += run.id;
    } else {
      std::size_t c = 0;
      while (c < columns.size() && columns[c] != key) ++c;
      if (c == columns.size()) {
        error = "the output pattern names '{" + key + "}', which is neither {run} nor a column";
        return false;
      }
      out += run.values[c];
    }
    i = close;
  }
  return true;
}

}  // namespace

bool ParseNumber(const std::string& text, double& value) {
  const char* s = text.c_str();
  char* end = nullptr;
  value = std::strtod(s, &end);
  if (end == s) return false;
  while (*end == ' ' || *end == '\t') ++end;
  return *end == '\0';
}

bool ReadRunMatrix(const MatrixRequest& request, RunMatrix& matrix, std::string& error) {
  const std::string& file = request.csv_path;
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  if (!in || (text << in.rdbuf(), in.bad())) {
    error = "cannot read '" + file + "'";
    return false;
  }
  std::vector<CsvRow> rows;
  if (!ParseCsv(text.str(), rows, error)) {
    error = file + " " + error;
    return false;
  }
  if (rows.empty()) {
    error = file + ": no header";
    return false;
  }
  auto at_line = [&](int line, const std::string& what) {
    error = file + " line " + std::to_string(line) + ": " + what;
    return false;
  };

  // The header: every declared parameter once, nothing else but "run".
  const CsvRow& header = rows[0];
  int run_column = -1;
  std::map<std::string, int> seen;
  std::vector<int> value_columns;
  matrix.columns.clear();
  for (std::size_t c = 0; c < header.fields.size(); ++c) {
    const std::string& name = header.fields[c];
    if (!seen.emplace(name, static_cast<int>(c)).second)
      return at_line(header.line, "column '" + name + "' appears twice");
    if (name == kRunColumn) {
      run_column = static_cast<int>(c);
      continue;
    }
    bool declared = false;
    for (const std::string& d : request.declared) declared = declared || d == name;
    if (!declared)
      return at_line(header.line, "unknown parameter '" + name + "' (the template declares: " +
                                      Joined(request.declared) + ")");
    matrix.columns.push_back(name);
    value_columns.push_back(static_cast<int>(c));
  }
  for (const std::string& d : request.declared)
    if (!seen.contains(d)) return at_line(header.line, "no column for parameter '" + d + "'");

  const int count = static_cast<int>(rows.size()) - 1;
  if (request.first > count) {
    error = "--rows " + std::to_string(request.first) + ":" + std::to_string(request.last) +
            ": the run matrix has " + std::to_string(count) + " rows";
    return false;
  }
  const int last = request.last == 0 || request.last > count ? count : request.last;

  matrix.runs.clear();
  std::map<std::string, int> ids, outputs;
  for (int r = request.first; r <= last; ++r) {
    const CsvRow& row = rows[static_cast<std::size_t>(r)];
    if (row.fields.size() != header.fields.size())
      return at_line(row.line, std::to_string(row.fields.size()) + " fields, the header has " +
                                   std::to_string(header.fields.size()));
    Run run;
    run.line = row.line;
    run.id = run_column >= 0 ? row.fields[static_cast<std::size_t>(run_column)] : std::to_string(r);
    if (run.id.empty()) return at_line(row.line, "empty run id");
    if (auto [it, fresh] = ids.emplace(run.id, row.line); !fresh)
      return at_line(row.line, "run '" + run.id + "' repeats line " + std::to_string(it->second));
    for (std::size_t k = 0; k < value_columns.size(); ++k) {
      const std::string& v = row.fields[static_cast<std::size_t>(value_columns[k])];
      double number = 0.0;
      if (request.numeric.contains(matrix.columns[k]) && !ParseNumber(v, number))
        return at_line(row.line, matrix.columns[k] + ": '" + v + "' is not a number");
      run.values.push_back(v);
    }
    std::string why;
    if (!Expand(request.pattern, matrix.columns, run, run.output, why)) {
      error = why;
      return false;
    }
    if (auto [it, fresh] = outputs.emplace(run.output, row.line); !fresh)
      return at_line(row.line,
                     "writes '" + run.output + "' as line " + std::to_string(it->second) + " does");
    matrix.runs.push_back(std::move(run));
  }
  return true;
}

}  // namespace quorvix::cli
