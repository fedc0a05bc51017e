// Runs the case files of tests/cases/expressions and tests/cases/templates,
// one test per file (ExpressionCases.<file>, TemplateCases.<file>). The
// format is described in tests/cases/README.md.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

namespace fs = std::filesystem;

// One case, directive or setup line, with its continuation lines joined.
struct Entry {
  int line = 0;
  std::string text;
  bool directive = false;
  std::string input, out, err;
  bool has_out = false, has_err = false;
};

// Decodes \n, \r, \t, \s (a blank), \\ and \# (a # that starts a line); false
// on any other escape.
bool Decode(const std::string& in, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < in.size(); ++i) {
    if (in[i] != '\\') {
      out += in[i];
      continue;
    }
    const char e = ++i < in.size() ? in[i] : '\0';
    const char* from = "nrts\\#";
    const char* to = "\n\r\t \\#";
    const char* at = e ? std::strchr(from, e) : nullptr;
    if (at == nullptr) return false;
    out += to[at - from];
  }
  return true;
}

// Splits "INPUT => OUT !! ERR" (either part may be missing). The text is
// padded so that a marker may share its blanks: "x => !! e" has an empty
// output. A "=>" after "!!" belongs to the error text.
void Split(Entry& e) {
  const std::string t = " " + e.text + " ";
  const std::size_t end = t.size() - 1, none = std::string::npos;
  std::size_t out_at = t.find(" => "), err_at = t.find(" !! ");
  if (out_at != none && err_at < out_at) out_at = none;
  if (out_at != none) err_at = t.find(" !! ", out_at + 3);
  auto piece = [&](std::size_t from, std::size_t to) {
    return from >= to ? std::string() : t.substr(from, to - from);
  };
  e.input = piece(1, std::min({out_at, err_at, end}));
  e.has_out = out_at != none;
  e.has_err = err_at != none;
  if (e.has_out) e.out = piece(out_at + 4, std::min(err_at, end));
  if (e.has_err) e.err = piece(err_at + 4, end);
}

// Reads the entries of a case file; problems with the file go to `problems`.
std::vector<Entry> ReadEntries(const fs::path& file, std::vector<std::string>& problems) {
  std::vector<Entry> entries;
  std::istringstream in(qt::ReadFile(file.string()));
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    const std::string where = file.filename().string() + ":" + std::to_string(number) + ": ";
    if (line.empty() || line[0] == '#') continue;
    if (line.back() == ' ' || line.back() == '\t' || line.back() == '\r') {
      problems.push_back(where + "line ends in a blank (write \\s, \\t or \\r)");
      continue;
    }
    if (line[0] == ' ') {  // a continuation
      std::string piece = line.substr(line.find_first_not_of(' '));
      if (piece.rfind("=>", 0) == 0 || piece.rfind("!!", 0) == 0) piece = " " + piece;
      if (entries.empty())
        problems.push_back(where + "continuation without a line before it");
      else
        entries.back().text += piece;
      continue;
    }
    Entry e;
    e.line = number;
    e.directive = line[0] == '%';
    e.text = e.directive ? line.substr(std::min<std::size_t>(2, line.size())) : line;
    entries.push_back(e);
  }
  for (Entry& e : entries) {
    if (e.directive) continue;
    Split(e);
    std::string input = e.input, out = e.out, err = e.err;
    if (!Decode(input, e.input) || !Decode(out, e.out) || !Decode(err, e.err))
      problems.push_back(file.filename().string() + ":" + std::to_string(e.line) +
                         ": unknown escape");
  }
  return entries;
}

// Removes a trailing " <word> <detail>" such as " @ 7" from `text` when
// `matches` accepts the detail.
template <typename Pred>
bool TakeSuffix(std::string& text, const std::string& marker, std::string& detail, Pred matches) {
  const std::size_t at = text.rfind(marker);
  if (at == std::string::npos || !matches(text.substr(at + marker.size()))) return false;
  detail = text.substr(at + marker.size());
  text.erase(at);
  return true;
}

bool IsNumber(const std::string& s) {
  return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
  });
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

// Shows control characters, so that a failure prints readably.
std::string Visible(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\r')
      out += "\\r";
    else if (c == '\n')
      out += "\\n\n";
    else if (c == '\t')
      out += "\\t";
    else
      out += c;
  }
  return out;
}

class CaseFileTest : public testing::Test {
 public:
  CaseFileTest(fs::path file, bool templates) : file_(std::move(file)), templates_(templates) {}

  void TestBody() override {
    std::vector<std::string> problems;
    const std::vector<Entry> entries = ReadEntries(file_, problems);
    for (const std::string& p : problems) ADD_FAILURE() << "case file: " << p;
    ASSERT_TRUE(problems.empty());
    ASSERT_FALSE(entries.empty()) << file_ << " holds no cases";
    if (templates_) {
      RunTemplates(entries);
    } else {
      RunExpressions(entries);
    }
  }

 private:
  std::string Where(const Entry& e) const {
    return file_.filename().string() + ":" + std::to_string(e.line) + ": ";
  }

  // All cases of a file share one parser, in order.
  void RunExpressions(const std::vector<Entry>& entries) {
    qt::ErrorCapture errors;
    MathParser parser;
    for (const Entry& e : entries) {
      const std::string shown = Where(e) + e.input;
      if (e.directive) {
        if (e.text == "escapes off" || e.text == "escapes on") {
          parser.AllowEscapeCharactersInStrings(e.text == "escapes on");
        } else {
          ADD_FAILURE() << Where(e) << "unknown directive '" << e.text << "'";
        }
        continue;
      }
      if (e.has_out && e.has_err) ADD_FAILURE() << shown << "\n  both => and !!";
      errors.Clear();
      symtab* value = parser.Evaluate(e.input.c_str());
      const std::string got = value ? qt::Text(*value) : "";
      if (!e.has_err) {
        EXPECT_NE(value, nullptr) << shown << "\n  failed with: " << errors.first;
        EXPECT_EQ(errors.count, 0) << shown << "\n  a value, and the report: " << errors.first;
      }
      if (e.has_out && value != nullptr) {
        std::string out = " " + e.out, kind;  // the blank lets "=> :: kind" have an empty text
        TakeSuffix(out, " :: ", kind, [](const std::string& k) {
          return k == "scalar" || k.rfind("array ", 0) == 0 || k.rfind("strings ", 0) == 0;
        });
        out.erase(0, 1);
        EXPECT_EQ(got, out) << shown;
        if (!kind.empty()) {
          EXPECT_EQ(KindOf(*value), kind) << shown << "\n  (kind)";
        }
      }
      if (e.has_err) {
        std::string message = e.err, pos;
        TakeSuffix(message, " @ ", pos, IsNumber);
        EXPECT_EQ(value, nullptr) << shown << "\n  expected error: " << message
                                  << "\n  but got value: " << got;
        EXPECT_EQ(errors.first, message) << shown;
        EXPECT_EQ(errors.count, 1) << shown << "\n  the error function must be called once";
        if (!pos.empty()) {
          EXPECT_EQ(parser.ErrorPosition(), std::atoi(pos.c_str())) << shown << "\n  (position)";
        }
      }
      if (value != nullptr) value->Delete();
    }
  }

  // Every case gets a fresh engine in a fresh working directory; the
  // directives before a case belong to it.
  void RunTemplates(const std::vector<Entry>& entries) {
    std::vector<const Entry*> directives;
    for (const Entry& e : entries) {
      if (e.directive) {
        directives.push_back(&e);
        continue;
      }
      RunTemplate(e, directives);
      directives.clear();
    }
    if (!directives.empty()) ADD_FAILURE() << Where(*directives.back()) << "directive without case";
  }

  void RunTemplate(const Entry& e, const std::vector<const Entry*>& directives) {
    SCOPED_TRACE(Where(e) + e.input);
    qt::TempDir dir;
    ASSERT_FALSE(dir.path().empty());
    const std::string dir_text = dir.path().string();
    auto at_dir = [&](std::string text) {
      for (std::size_t at = text.find("@DIR@"); at != std::string::npos;
           at = text.find("@DIR@", at + dir_text.size()))
        text.replace(at, 5, dir_text);
      return text;
    };
    Filler filler;
    std::string fill_file, return_code;
    bool check_return = false;
    for (const Entry* d : directives) {
      const std::string& t = d->text;
      const std::size_t blank = t.find(' ');
      const std::string word = t.substr(0, blank), arg = blank == t.npos ? "" : t.substr(blank + 1);
      std::string text;
      if (word == "file" && arg.find(':') != std::string::npos) {
        std::string content = arg.substr(arg.find(':') + 1);
        if (!content.empty() && content[0] == ' ') content.erase(0, 1);
        EXPECT_TRUE(Decode(content, text)) << Where(*d) << "unknown escape";
        dir.Write(arg.substr(0, arg.find(':')), at_dir(text));
      } else if (word == "safe_quotes") {
        filler.SafeQuotes(1);
      } else if (word == "evaluate") {
        symtab* v = filler.GetMathParser()->Evaluate(arg.c_str());
        ASSERT_NE(v, nullptr) << Where(*d) << "cannot evaluate " << arg;
        v->Delete();
      } else if (word == "fill_file") {
        fill_file = arg;
      } else if (word == "return") {
        check_return = true;
        return_code = arg;
      } else {
        ADD_FAILURE() << Where(*d) << "unknown directive '" << t << "'";
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
    const std::string output = out, error_text = errors ? errors : "";
    const bool errors_null = errors == nullptr;
    delete[] out;
    delete[] errors;

    EXPECT_EQ(Visible(output), Visible(at_dir(e.out))) << "output differs";
    if (e.has_err) {
      EXPECT_FALSE(errors_null) << "expected an error text, got null";
      EXPECT_EQ(Visible(error_text), Visible(at_dir(e.err))) << "error text differs";
    } else {
      EXPECT_TRUE(errors_null) << "expected no error text, got:\n" << Visible(error_text);
    }
    if (check_return) {
      symtab* code = filler.GetReturnCode();
      EXPECT_EQ(Describe(code), return_code) << "return code differs";
      if (code != nullptr) code->Delete();
    }
  }

  // A return code as a "% return" directive states it.
  static std::string Describe(const symtab* v) {
    if (v == nullptr) return "null";
    auto number = [](double x) {
      char buf[64];
      std::snprintf(buf, sizeof buf, "%.17g", x);
      return std::string(buf);
    };
    std::string out = KindOf(*v);
    if (v->type == SYM_SCALAR) return out + " " + number(v->value);
    if (v->type == SYM_ARRAY)
      for (int i = 0; i < v->rows * v->cols; ++i) out += (i ? ", " : ": ") + number(v->data[i]);
    if (v->type == SYM_STRINGS)
      for (int i = 0; i < v->num_strings; ++i)
        out += std::string(i ? ", " : ": ") + "\"" + (v->str_list[i] ? v->str_list[i] : "") + "\"";
    return out;
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
    const char* suite = templates ? "TemplateCases" : "ExpressionCases";
    if (files.size() < 5) {  // a missing directory must not pass silently
      testing::RegisterTest(suite, "Files", nullptr, nullptr, __FILE__, __LINE__,
                            []() -> testing::Test* { return new CaseFileTest("none", false); });
    }
    for (const fs::path& file : files) {
      testing::RegisterTest(
          suite, file.stem().c_str(), nullptr, nullptr, file.c_str(), 1,
          [file, templates]() -> testing::Test* { return new CaseFileTest(file, templates); });
    }
  }
  return true;
}();

}  // namespace
