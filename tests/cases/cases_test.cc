// Runs the data-driven expression cases of tests/cases/expressions. Each
// file becomes one test named after it; its cases are evaluated in order by
// one MathParser, so assignments made by one case are seen by the next. The
// format is described in tests/cases/README.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/value_format.h"

namespace {

namespace fs = std::filesystem;

struct Case {
  int line = 0;
  enum class Kind { kEval, kSet, kOption } kind = Kind::kEval;
  std::string text;  // the expression, or the option for kOption
  bool has_out = false;
  std::string out;
  bool has_err = false;
  std::string err;
  int pos = -1;
  std::string value_kind;  // "scalar", "array RxC", "strings N", or empty
};

// Decodes the quoted form "..." with \n, \r, \t, \\ and \" escapes.
bool Unquote(const std::string& in, std::string& out) {
  if (in.size() < 2 || in.front() != '"' || in.back() != '"') return false;
  out.clear();
  for (std::size_t i = 1; i + 1 < in.size(); ++i) {
    char c = in[i];
    if (c != '\\') {
      out += c;
      continue;
    }
    if (i + 2 >= in.size()) return false;
    char e = in[++i];
    switch (e) {
      case 'n': out += '\n'; break;
      case 'r': out += '\r'; break;
      case 't': out += '\t'; break;
      case '\\': out += '\\'; break;
      case '"': out += '"'; break;
      default: return false;
    }
  }
  return true;
}

// Reads a case file; problems with the file itself go to `problems`.
std::vector<Case> ReadCases(const fs::path& file, std::vector<std::string>& problems) {
  std::vector<Case> cases;
  std::ifstream in(file);
  if (!in) {
    problems.push_back("cannot open " + file.string());
    return cases;
  }
  std::string line;
  int number = 0;
  auto problem = [&](const std::string& what) {
    problems.push_back(file.filename().string() + ":" + std::to_string(number) + ": " + what);
  };
  while (std::getline(in, line)) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty() || line[0] == '#') continue;
    std::size_t colon = line.find(':');
    if (colon == std::string::npos) {
      problem("line without a key");
      continue;
    }
    std::string key = line.substr(0, colon);
    std::string value = line.substr(colon + 1);
    if (!value.empty() && value[0] == ' ') value.erase(0, 1);

    if (key == "expr" || key == "exprq" || key == "set" || key == "option") {
      Case c;
      c.line = number;
      c.kind = key == "set" ? Case::Kind::kSet
               : key == "option" ? Case::Kind::kOption
                                 : Case::Kind::kEval;
      c.text = value;
      if (key == "exprq" && !Unquote(value, c.text)) problem("bad quoted text");
      cases.push_back(c);
      continue;
    }
    if (cases.empty() || cases.back().kind != Case::Kind::kEval) {
      problem("'" + key + "' without an expression before it");
      continue;
    }
    Case& c = cases.back();
    if (key == "out") {
      c.has_out = true;
      c.out = value;
    } else if (key == "outq") {
      c.has_out = true;
      if (!Unquote(value, c.out)) problem("bad quoted text");
    } else if (key == "err") {
      c.has_err = true;
      c.err = value;
    } else if (key == "pos") {
      c.pos = std::atoi(value.c_str());
    } else if (key == "kind") {
      c.value_kind = value;
    } else {
      problem("unknown key '" + key + "'");
    }
  }
  for (const Case& c : cases) {
    if (c.kind != Case::Kind::kEval) continue;
    if (c.has_out == c.has_err) {
      number = c.line;
      problem("an expression needs exactly one of out/outq/err");
    }
    if (c.pos >= 0 && !c.has_err) {
      number = c.line;
      problem("pos without err");
    }
  }
  return cases;
}

std::string g_message;
int g_reports = 0;
void Capture(const char* message) {
  ++g_reports;
  if (g_reports == 1) g_message = message ? message : "";
}

std::string KindOf(const symtab& v) {
  switch (v.type) {
    case SYM_SCALAR: return "scalar";
    case SYM_ARRAY: return "array " + std::to_string(v.rows) + "x" + std::to_string(v.cols);
    case SYM_STRINGS: return "strings " + std::to_string(v.num_strings);
    default: return "undefined";
  }
}

class CaseFileTest : public testing::Test {
 public:
  explicit CaseFileTest(fs::path file) : file_(std::move(file)) {}

  void SetUp() override {
    saved_ = MathParser::err_fun;
    MathParser::SetErrorFunction(Capture);
  }
  void TearDown() override { MathParser::SetErrorFunction(saved_); }

  void TestBody() override {
    std::vector<std::string> problems;
    std::vector<Case> cases = ReadCases(file_, problems);
    for (const std::string& p : problems) ADD_FAILURE() << "case file: " << p;
    ASSERT_TRUE(problems.empty());
    ASSERT_FALSE(cases.empty()) << file_ << " holds no cases";

    MathParser parser;
    for (const Case& c : cases) {
      const std::string where = file_.filename().string() + ":" + std::to_string(c.line);
      if (c.kind == Case::Kind::kOption) {
        if (c.text == "escapes off") {
          parser.AllowEscapeCharactersInStrings(false);
        } else if (c.text == "escapes on") {
          parser.AllowEscapeCharactersInStrings(true);
        } else {
          ADD_FAILURE() << where << ": unknown option '" << c.text << "'";
        }
        continue;
      }
      g_message.clear();
      g_reports = 0;
      symtab* value = parser.Evaluate(c.text.c_str());
      const std::string shown = where + ": " + c.text;
      if (c.kind == Case::Kind::kSet) {
        EXPECT_NE(value, nullptr) << shown << "\n  failed with: " << g_message;
      } else if (c.has_err) {
        if (value != nullptr) {
          std::string text;
          quorvix::FormatValue(*value, quorvix::ValueFormat{}, text);
          ADD_FAILURE() << shown << "\n  expected error: " << c.err << "\n  but got value: " << text;
        } else {
          EXPECT_EQ(g_message, c.err) << shown;
          EXPECT_EQ(g_reports, 1) << shown << "\n  the error function must be called once";
          if (c.pos >= 0) {
            EXPECT_EQ(parser.ErrorPosition(), c.pos) << shown << "\n  (position)";
          }
        }
      } else if (value == nullptr) {
        ADD_FAILURE() << shown << "\n  expected: " << c.out << "\n  but failed with: " << g_message;
      } else {
        std::string text;
        EXPECT_TRUE(quorvix::FormatValue(*value, quorvix::ValueFormat{}, text))
            << shown << "\n  the value has no text";
        EXPECT_EQ(text, c.out) << shown;
        EXPECT_EQ(g_reports, 0) << shown << "\n  a successful evaluation reported: " << g_message;
        if (!c.value_kind.empty()) {
          EXPECT_EQ(KindOf(*value), c.value_kind) << shown << "\n  (kind)";
        }
      }
      if (value != nullptr) value->Delete();
    }
  }

 private:
  fs::path file_;
  ErrorFunc saved_ = nullptr;
};

std::string TestNameFor(const fs::path& file) {
  std::string name = file.stem().string();
  for (char& ch : name)
    if (!std::isalnum(static_cast<unsigned char>(ch)) && ch != '_') ch = '_';
  return name;
}

// One test per case file, registered before the tests run. A file whose name
// starts with DISABLED_ gives a disabled test.
const bool kRegistered = [] {
  fs::path dir = fs::path(QUORVIX_CASES_DIR) / "expressions";
  std::vector<fs::path> files;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(dir, ec))
    if (entry.is_regular_file() && entry.path().extension() == ".txt") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    testing::RegisterTest("ExpressionCases", TestNameFor(file).c_str(), nullptr, nullptr,
                          __FILE__, __LINE__,
                          [file]() -> testing::Test* { return new CaseFileTest(file); });
  }
  return true;
}();

// Guards against a missing or empty case directory, which would otherwise
// pass silently.
TEST(ExpressionCasesDirectory, HoldsCaseFiles) {
  fs::path dir = fs::path(QUORVIX_CASES_DIR) / "expressions";
  int count = 0;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(dir, ec))
    if (entry.path().extension() == ".txt") ++count;
  EXPECT_GE(count, 5) << dir;
}

}  // namespace
