// Reading the case files (format in tests/cases/README.md), shared by the
// tests that run them.
#ifndef QUORVIX_TESTS_CASES_CASE_FILE_H_
#define QUORVIX_TESTS_CASES_CASE_FILE_H_

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
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

inline std::string KindOf(const symtab& v) {
  switch (v.type) {
    case SYM_SCALAR:
      return "scalar";
    case SYM_ARRAY:
      return "array " + std::to_string(v.rows) + "x" + std::to_string(v.cols);
    case SYM_STRINGS:
      return "strings " + std::to_string(v.num_strings);
    default:
      return "undefined";
  }
}

// A return code as a "% return" directive states it.
inline std::string Describe(const symtab* v) {
  if (v == nullptr) return "null";
  auto number = [](double x) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", x);
    return std::string(buf);
  };
  std::string out = KindOf(*v);
  if (v->type == SYM_SCALAR) return out + " " + number(v->value);
  for (int i = 0; v->type == SYM_ARRAY && i < v->rows * v->cols; ++i)
    out += (i ? ", " : ": ") + number(v->data[i]);
  for (int i = 0; v->type == SYM_STRINGS && i < v->num_strings; ++i)
    out += std::string(i ? ", " : ": ") + "\"" + (v->str_list[i] ? v->str_list[i] : "") + "\"";
  return out;
}

// What filling one template case gave, with the case directory written as
// @DIR@ (each fill has a directory of its own).
struct TemplateOutcome {
  std::string output;
  std::string errors = "<null>";
  std::string return_code, return_wanted;  // set by a "% return" directive
  std::string problem;                     // a malformed case
};

// Fills a case with a fresh engine in a fresh working directory; the
// directives before a case belong to it.
inline TemplateOutcome FillTemplateCase(const Entry& e,
                                        const std::vector<const Entry*>& directives) {
  TemplateOutcome got;
  qt::TempDir dir;
  const std::string dir_text = dir.path().string();
  auto replace = [](std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
      text.replace(at, from.size(), to);
    return text;
  };
  auto at_dir = [&](const std::string& text) { return replace(text, "@DIR@", dir_text); };
  Filler filler;
  std::string fill_file, text;
  for (const Entry* d : directives) {
    const std::size_t blank = std::min(d->text.find(' '), d->text.size());
    const std::string word = d->text.substr(0, blank),
                      arg = d->text.substr(std::min(blank + 1, d->text.size()));
    const std::size_t colon = arg.find(':');
    const std::string content = arg.substr(std::min(colon + 2, arg.size()));
    const std::string where = "line " + std::to_string(d->line) + ": ";
    if (word == "file" && colon != std::string::npos && Decode(content, text)) {
      dir.Write(arg.substr(0, colon), at_dir(text));
    } else if (word == "safe_quotes") {
      filler.SafeQuotes(1);
    } else if (word == "evaluate") {
      symtab* v = filler.GetMathParser()->Evaluate(arg.c_str());
      if (v == nullptr) got.problem = where + "cannot evaluate " + arg;
      if (v != nullptr) v->Delete();
    } else if (word == "fill_file" || word == "return") {
      (word == "return" ? got.return_wanted : fill_file) = arg;
    } else {
      got.problem = where + "unknown directive '" + d->text + "'";
    }
  }
  if (!fill_file.empty() && !e.input.empty()) got.problem = "fill_file and a template";
  if (!got.problem.empty()) return got;
  const fs::path saved = fs::current_path();
  fs::current_path(dir.path());  // the case names its files by their plain names
  char* errors = nullptr;
  char* out = fill_file.empty() ? filler.Fill(at_dir(e.input).c_str(), &errors)
                                : filler.FillFile((dir.path() / fill_file).c_str(), &errors);
  fs::current_path(saved);
  if (out == nullptr) got.problem = "the fill returned no output";
  got.output = replace(out != nullptr ? out : "", dir_text, "@DIR@");
  if (errors != nullptr) got.errors = replace(errors, dir_text, "@DIR@");
  delete[] out;
  delete[] errors;
  if (!got.return_wanted.empty()) {
    symtab* code = filler.GetReturnCode();
    got.return_code = Describe(code);
    if (code != nullptr) code->Delete();
  }
  return got;
}

}  // namespace cases

#endif
