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

#include "cases/case_file.h"
#include "support/support.h"

namespace {

namespace fs = std::filesystem;
using cases::Entry;
using cases::KindOf;
using cases::ReadEntries;

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

  void RunTemplate(const Entry& e, const std::vector<const Entry*>& directives) {
    SCOPED_TRACE(Where(e) + e.input);
    ASSERT_TRUE(e.has_out) << "a template case needs =>";
    const cases::TemplateOutcome got = cases::FillTemplateCase(e, directives);
    ASSERT_TRUE(got.problem.empty()) << got.problem;
    EXPECT_EQ(Visible(got.output), Visible(e.out)) << "output differs";
    EXPECT_EQ(Visible(got.errors), e.has_err ? Visible(e.err) : "<null>") << "error text differs";
    if (!got.return_code.empty()) {
      EXPECT_EQ(got.return_code, got.return_wanted) << "return code differs";
    }
  }

  fs::path file_;
  bool templates_;
};

// One test per case file, registered before the tests run. A file whose name
// starts with DISABLED_ gives a disabled test (a case that shows a known fault).
const bool kRegistered = [] {
  for (const char* kind : {"expressions", "templates"}) {
    std::vector<fs::path> files = cases::CaseFiles(kind);
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
