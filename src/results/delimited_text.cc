// A small parser of numeric columns for the registered readers: comment
// lines ('#'), an optional header row, then rows of numbers separated by
// commas, tabs or blanks. Each column becomes one request of the data type
// "data" with one component of the same name.
#include "results/delimited_text.h"

#include <cstdlib>
#include <vector>

#include "quorvix/math_parser.h"

namespace quorvix::results {
namespace {

std::vector<std::string_view> Split(std::string_view line, char sep) {
  std::vector<std::string_view> fields;
  auto trim = [](std::string_view f) {
    while (!f.empty() && (f.front() == ' ' || f.front() == '\t')) f.remove_prefix(1);
    while (!f.empty() && (f.back() == ' ' || f.back() == '\t')) f.remove_suffix(1);
    return f;
  };
  if (sep == ' ') {
    std::size_t i = 0;
    while (i < line.size()) {
      while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
      const std::size_t start = i;
      while (i < line.size() && line[i] != ' ' && line[i] != '\t') ++i;
      if (i > start) fields.push_back(line.substr(start, i - start));
    }
    return fields;
  }
  for (;;) {
    const std::size_t end = line.find(sep);
    fields.push_back(trim(line.substr(0, end)));
    if (end == std::string_view::npos) return fields;
    line.remove_prefix(end + 1);
  }
}

bool Number(std::string_view field, double& x) {
  if (field.empty() || field.size() > 64) return false;
  char buffer[65];
  field.copy(buffer, field.size());
  buffer[field.size()] = '\0';
  char* end = nullptr;
  x = std::strtod(buffer, &end);
  return end == buffer + field.size();
}

}  // namespace

std::unique_ptr<ResultTree> ParseDelimitedText(std::string_view text, const std::string& name,
                                               std::string* why) {
  std::vector<std::string> headers;
  std::vector<std::vector<double>> columns;
  char sep = 0;
  long long line_number = 0;
  long long cells = 0;
  const MathParser* parser = MathParser::current_parser;
  const long long max_cells =
      parser != nullptr ? parser->policy().limits.elements : Limits{}.elements;
  bool first = true;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    ++line_number;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.find_first_not_of(" \t") == std::string_view::npos || line.front() == '#') continue;
    if (sep == 0)
      sep = line.find(',') != std::string_view::npos    ? ','
            : line.find('\t') != std::string_view::npos ? '\t'
                                                        : ' ';
    const std::vector<std::string_view> fields = Split(line, sep);
    std::vector<double> row(fields.size());
    bool numeric = true;
    for (std::size_t i = 0; i < fields.size() && numeric; ++i) numeric = Number(fields[i], row[i]);
    if (first) {
      first = false;
      columns.resize(fields.size());
      if (!numeric) {
        for (std::string_view f : fields) headers.emplace_back(f);
        continue;
      }
      for (std::size_t i = 0; i < fields.size(); ++i)
        headers.push_back("column" + std::to_string(i + 1));
    }
    if (fields.size() != columns.size()) {
      *why = name + ": line " + std::to_string(line_number) + " has " +
             std::to_string(fields.size()) + " fields, expected " + std::to_string(columns.size());
      return nullptr;
    }
    if (!numeric) {
      *why = name + ": non-numeric cell in line " + std::to_string(line_number);
      return nullptr;
    }
    cells += static_cast<long long>(row.size());
    if (cells > max_cells) {
      *why = name + ": more than " + std::to_string(max_cells) + " values";
      return nullptr;
    }
    for (std::size_t i = 0; i < row.size(); ++i) columns[i].push_back(row[i]);
  }
  if (headers.empty()) {
    *why = name + ": no data";
    return nullptr;
  }
  auto tree = std::make_unique<ResultTree>();
  tree->format = "text";
  DataType& type = tree->subcases.emplace_back().types.emplace_back();
  type.name = "data";
  for (std::size_t i = 0; i < headers.size(); ++i) {
    Request& request = type.requests.emplace_back();
    request.name = headers[i];
    Component& component = request.components.emplace_back();
    component.name = headers[i];
    component.length = static_cast<long long>(columns[i].size());
    component.values = std::move(columns[i]);
  }
  return tree;
}

}  // namespace quorvix::results
