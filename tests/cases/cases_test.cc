// Runs the case files of tests/cases/expressions and tests/cases/templates,
// one test per file (ExpressionCases.<file>, TemplateCases.<file>). The
// format is described in tests/cases/README.md.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

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
bool Decode(const std::string& in, std::string& out) {
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
bool Split(Entry& e) {
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
std::vector<Entry> ReadEntries(const fs::path& file, std::vector<std::string>& problems) {
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

std::string KindOf(const symtab& v) {
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
std::string Describe(const symtab* v) {
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

// Shows line ends, so that a failure prints readably.
std::string Visible(std::string text) {
  for (std::size_t at = 0; (at = text.find_first_of("\r\n", at)) != std::string::npos; at += 3)
    text.replace(at, 1, text[at] == '\r' ? "\\r" : "\\n\n");
  return text;
}

class CaseFileTest : public testing::Test {
 public:
  CaseFileTest(fs::path file, bool templates) : file_(std::move(file)), templates_(templates) {}

  void TestBody() override {
    std::vector<std::string> problems;
    const std::vector<Entry> entries = ReadEntries(file_, problems);
    for (const std::string& p : problems) ADD_FAILURE() << "case file: " << p;
    ASSERT_TRUE(problems.empty() && !entries.empty()) << file_;
    std::vector<const Entry*> directives;
    qt::ErrorCapture errors;
    MathParser parser;
    for (const Entry& e : entries) {
      if (e.directive && templates_) {
        directives.push_back(&e);
      } else if (e.directive) {
        EXPECT_TRUE(e.text == "escapes off" || e.text == "escapes on") << Where(e) << e.text;
        parser.AllowEscapeCharactersInStrings(e.text == "escapes on");
      } else if (templates_) {
        RunTemplate(e, directives);
        directives.clear();
      } else {
        RunExpression(e, parser, errors);
      }
    }
    EXPECT_TRUE(directives.empty()) << "directive without a case";
  }

 private:
  std::string Where(const Entry& e) const {
    return file_.filename().string() + ":" + std::to_string(e.line) + ": ";
  }

  // "=> ~ a, b, ...": the value's numbers, each within a relative 1e-5 of
  // the listed one (absolute 1e-12 near zero), NaN matching NaN.
  static void ExpectClose(const symtab& v, const std::string& list, const std::string& shown) {
    std::vector<double> want;
    for (const char* p = list.c_str(); *p != '\0';) {
      char* end = nullptr;
      want.push_back(std::strtod(p, &end));
      if (end == p) {
        ADD_FAILURE() << shown << "\n  not a number list: " << list;
        return;
      }
      p = end + std::strspn(end, ", ");
    }
    const bool scalar = v.type == SYM_SCALAR;
    const std::size_t n = scalar ? 1 : v.type == SYM_ARRAY ? std::size_t(v.rows) * v.cols : 0;
    ASSERT_EQ(n, want.size()) << shown << "\n  (count)";
    for (std::size_t i = 0; i < n; ++i) {
      const double got = scalar ? v.value : v.data[i];
      if (std::isnan(want[i]) && std::isnan(got)) continue;
      EXPECT_LE(std::fabs(got - want[i]), std::max(1e-12, 1e-5 * std::fabs(want[i])))
          << shown << "\n  element " << i << ": " << got << ", expected " << want[i];
    }
  }

  // All cases of a file share one parser, in order.
  void RunExpression(const Entry& e, MathParser& parser, qt::ErrorCapture& errors) {
    static const std::regex kKind(R"((.*?) ?:: (scalar|array \d+x\d+|strings \d+))");
    static const std::regex kPos(R"((.*) @ (\d+))");
    const std::string shown = Where(e) + e.input;
    EXPECT_FALSE(e.has_out && e.has_err) << shown << "\n  both => and !!";
    errors.Clear();
    symtab* value = parser.Evaluate(e.input.c_str());
    const std::string got = value ? qt::Text(*value) : "";
    std::smatch m;
    if (!e.has_err) {
      EXPECT_NE(value, nullptr) << shown << "\n  failed with: " << errors.first;
      EXPECT_EQ(errors.count, 0) << shown << "\n  a value, and the report: " << errors.first;
    }
    if (e.has_out && value != nullptr && e.out.rfind("~ ", 0) == 0) {
      ExpectClose(*value, e.out.substr(2), shown);
    } else if (e.has_out && value != nullptr) {
      const bool kind = std::regex_match(e.out, m, kKind);
      EXPECT_EQ(got, kind ? m.str(1) : e.out) << shown;
      if (kind) {
        EXPECT_EQ(KindOf(*value), m.str(2)) << shown << "\n  (kind)";
      }
    }
    if (e.has_err) {
      const bool pos = std::regex_match(e.err, m, kPos);
      EXPECT_EQ(value, nullptr) << shown << "\n  not an error but: " << got;
      EXPECT_EQ(errors.first, pos ? m.str(1) : e.err) << shown;
      EXPECT_EQ(errors.count, 1) << shown << "\n  the error function must be called once";
      if (pos) {
        EXPECT_EQ(parser.ErrorPosition(), std::stoi(m.str(2))) << shown << " (position)";
      }
    }
    if (value != nullptr) value->Delete();
  }

  // Every case gets a fresh engine in a fresh working directory; the
  // directives before a case belong to it.
  void RunTemplate(const Entry& e, const std::vector<const Entry*>& directives) {
    SCOPED_TRACE(Where(e) + e.input);
    qt::TempDir dir;
    const std::string dir_text = dir.path().string();
    auto at_dir = [&](std::string text) {
      for (std::size_t at = 0; (at = text.find("@DIR@", at)) != std::string::npos;)
        text.replace(at, 5, dir_text);
      return text;
    };
    Filler filler;
    std::string fill_file, return_code, text;
    for (const Entry* d : directives) {
      const std::size_t blank = std::min(d->text.find(' '), d->text.size());
      const std::string word = d->text.substr(0, blank),
                        arg = d->text.substr(std::min(blank + 1, d->text.size()));
      const std::size_t colon = arg.find(':');
      const std::string content = arg.substr(std::min(colon + 2, arg.size()));
      if (word == "file" && colon != std::string::npos && Decode(content, text)) {
        dir.Write(arg.substr(0, colon), at_dir(text));
      } else if (word == "safe_quotes") {
        filler.SafeQuotes(1);
      } else if (word == "evaluate") {
        symtab* v = filler.GetMathParser()->Evaluate(arg.c_str());
        ASSERT_NE(v, nullptr) << Where(*d) << "cannot evaluate " << arg;
        v->Delete();
      } else if (word == "fill_file" || word == "return") {
        (word == "return" ? return_code : fill_file) = arg;
      } else {
        ADD_FAILURE() << Where(*d) << "unknown directive '" << d->text << "'";
      }
    }
    ASSERT_TRUE(e.has_out) << "a template case needs =>";
    ASSERT_TRUE(fill_file.empty() || e.input.empty()) << "fill_file and a template";
    const fs::path saved = fs::current_path();
    fs::current_path(dir.path());  // the case names its files by their plain names
    char* errors = nullptr;
    char* out = fill_file.empty() ? filler.Fill(at_dir(e.input).c_str(), &errors)
                                  : filler.FillFile((dir.path() / fill_file).c_str(), &errors);
    fs::current_path(saved);
    ASSERT_NE(out, nullptr) << "the fill returned no output";
    const std::string output = out, error_text = errors ? errors : "<null>";
    delete[] out;
    delete[] errors;
    EXPECT_EQ(Visible(output), Visible(at_dir(e.out))) << "output differs";
    EXPECT_EQ(Visible(error_text), e.has_err ? Visible(at_dir(e.err)) : "<null>")
        << "error text differs";
    if (!return_code.empty()) {
      symtab* code = filler.GetReturnCode();
      EXPECT_EQ(Describe(code), return_code) << "return code differs";
      if (code != nullptr) code->Delete();
    }
  }

  fs::path file_;
  bool templates_;
};

// One test per case file, registered before the tests run. A file whose name
// starts with DISABLED_ gives a disabled test (a case that shows a known fault).
const bool kRegistered = [] {
  for (const char* kind : {"expressions", "templates"}) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(fs::path(QUORVIX_CASES_DIR) / kind, ec))
      if (entry.path().extension() == ".txt") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    const bool templates = kind[0] == 't';
    if (files.size() < 5) files.push_back("missing");  // fails: no directory passes silently
    for (const fs::path& file : files) {
      testing::RegisterTest(
          templates ? "TemplateCases" : "ExpressionCases", file.stem().c_str(), nullptr, nullptr,
          file.c_str(), 1,
          [file, templates]() -> testing::Test* { return new CaseFileTest(file, templates); });
    }
  }
  return true;
}();

}  // namespace
