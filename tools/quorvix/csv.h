// A small reader of comma-separated values for run matrices: quoted fields
// (with "" for a quote, commas and line ends inside), LF or CR LF line ends,
// blanks around unquoted fields dropped, empty lines skipped.
#ifndef QUORVIX_TOOLS_CSV_H
#define QUORVIX_TOOLS_CSV_H

#include <string>
#include <vector>

namespace quorvix::cli {

struct CsvRow {
  int line = 0;  // of the row's first character, from 1
  std::vector<std::string> fields;
};

// Splits `text` into rows; false with `error` ("line N: ...") when it is
// malformed.
bool ParseCsv(const std::string& text, std::vector<CsvRow>& rows, std::string& error);

}  // namespace quorvix::cli

#endif  // QUORVIX_TOOLS_CSV_H
