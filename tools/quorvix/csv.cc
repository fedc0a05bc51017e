// Comma-separated values for run matrices.
#include "csv.h"

namespace quorvix::cli {

namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t'; }

}  // namespace

bool ParseCsv(const std::string& text, std::vector<CsvRow>& rows, std::string& error) {
  rows.clear();
  const std::size_t n = text.size();
  std::size_t i = 0;
  int line = 1;
  auto fail = [&](int at, const std::string& what) {
    error = "line " + std::to_string(at) + ": " + what;
    return false;
  };
  while (i < n) {
    // An empty line (or one of blanks only) holds no row.
    std::size_t j = i;
    while (j < n && IsSpace(text[j])) ++j;
    if (j == n || text[j] == '\n' || (text[j] == '\r' && j + 1 < n && text[j + 1] == '\n')) {
      i = j == n ? n : j + (text[j] == '\r' ? 2 : 1);
      ++line;
      continue;
    }
    CsvRow row;
    row.line = line;
    while (true) {
      std::string field;
      while (i < n && IsSpace(text[i])) ++i;
      if (i < n && text[i] == '"') {
        const int opened = line;
        ++i;
        while (true) {
          if (i >= n) return fail(opened, "quoted field not closed");
          if (text[i] == '"') {
            if (i + 1 < n && text[i + 1] == '"') {
              field += '"';
              i += 2;
              continue;
            }
            ++i;
            break;
          }
          if (text[i] == '\n') ++line;
          field += text[i++];
        }
        while (i < n && IsSpace(text[i])) ++i;
        if (i < n && text[i] != ',' && text[i] != '\n' && text[i] != '\r')
          return fail(line, "text after a closing quote");
      } else {
        const std::size_t start = i;
        while (i < n && text[i] != ',' && text[i] != '\n' && text[i] != '\r') {
          if (text[i] == '"') return fail(line, "quote inside an unquoted field");
          ++i;
        }
        std::size_t end = i;
        while (end > start && IsSpace(text[end - 1])) --end;
        field.assign(text, start, end - start);
      }
      row.fields.push_back(std::move(field));
      if (i < n && text[i] == ',') {
        ++i;
        continue;
      }
      if (i < n && text[i] == '\r') {
        if (i + 1 >= n || text[i + 1] != '\n')
          return fail(line, "carriage return without line feed");
        ++i;
      }
      if (i < n) {
        ++i;  // the line feed
        ++line;
      }
      break;
    }
    rows.push_back(std::move(row));
  }
  return true;
}

}  // namespace quorvix::cli
