// Reading the case files (format in tests/cases/README.md), shared by the
// tests that run them.
#ifndef QUORVIX_TESTS_CASES_CASE_FILE_H_
#define QUORVIX_TESTS_CASES_CASE_FILE_H_

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/support.h"

namespace cases {

namespace fs = std::filesystem;

// One case or directive, with its continuation lines joined.
struct Entry {
  int line = 0;
  bool directive = false;
  std::string text;  // as written, for directives
  std::string input, out, err;
  bool has_out = false, has_err = false;
};

// Decodes \n, \r, \t, \s (a blank), \\ and \# (a # that starts a line);
// false on any other escape.
inline bool Decode(const std::string& in, std::string& out) {
  static const char kFrom[] = "nrts\\#", kTo[] = "\n\r\t \\#";
  out.clear();
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '\\') {
      out += in[i];
      continue;
    }
    const char* at = ++i < in.size() ? std::strchr(kFrom, in[i]) : nullptr;
    if (at == nullptr || *at == '\0') return false;
    out += kTo[at - kFrom];
  }
  return true;
}

// Splits "INPUT => OUT !! ERR" (either part may be missing). The text is
// padded so that a marker may share its blanks: "x => !! e" has an empty
// output. A "=>" after "!!" belongs to the error text.
inline bool Split(Entry& e) {
  const std::string t = " " + e.text + " ";
  const std::size_t end = t.size() - 1, none = std::string::npos;
  std::size_t out_at = t.find(" => "), err_at = t.find(" !! ");
  if (out_at != none && err_at < out_at) out_at = none;
  if (out_at != none) err_at = t.find(" !! ", out_at + 3);
  auto piece = [&](std::size_t from, std::size_t to, std::string& decoded) {
    return Decode(from >= to ? std::string() : t.substr(from, to - from), decoded);
  };
  e.has_out = out_at != none;
  e.has_err = err_at != none;
  return piece(1, std::min({out_at, err_at, end}), e.input) &&
         (!e.has_out || piece(out_at + 4, std::min(err_at, end), e.out)) &&
         (!e.has_err || piece(err_at + 4, end, e.err));
}

// Reads the entries of a case file; problems with the file go to `problems`.
inline std::vector<Entry> ReadEntries(const fs::path& file, std::vector<std::string>& problems) {
  std::vector<Entry> entries;
  std::istringstream in(qt::ReadFile(file.string()));
  std::string line;
  auto problem = [&](int number, const char* what) {
    problems.push_back(file.filename().string() + ":" + std::to_string(number) + ": " + what);
  };
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.empty() || line[0] == '#') continue;
    if (std::strchr(" \t\r", line.back())) problem(number, "line ends in a blank (write \\s)");
    if (line[0] != ' ') {
      Entry e;
      e.line = number;
      e.directive = line[0] == '%';
      e.text = e.directive ? line.substr(std::min<std::size_t>(2, line.size())) : line;
      entries.push_back(e);
    } else if (entries.empty()) {
      problem(number, "continuation without a line before it");
    } else {  // a marker may start a continuation: it keeps a blank before it
      std::string piece = line.substr(line.find_first_not_of(' '));
      if (piece.rfind("=>", 0) == 0 || piece.rfind("!!", 0) == 0) piece = " " + piece;
      entries.back().text += piece;
    }
  }
  for (Entry& e : entries)
    if (!e.directive && !Split(e)) problem(e.line, "unknown escape");
  return entries;
}

// The case files of one kind ("expressions" or "templates"), sorted.
inline std::vector<fs::path> CaseFiles(const char* kind) {
  std::vector<fs::path> files;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(fs::path(QUORVIX_CASES_DIR) / kind, ec))
    if (entry.path().extension() == ".txt") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace cases

#endif
