// Runs the data-driven template cases of tests/cases/templates. Every case
// becomes one test, TemplateCases_<file>.<case>, filled by a fresh Filler in
// a temporary directory of its own. The case format is described in
// tests/cases/templates/README.md.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "quorvix/filler.h"
#include "quorvix/symtab.h"

namespace {

namespace fs = std::filesystem;

struct TemplateCase {
  std::string file;  // case file name, for messages
  int line = 0;      // line of the "===" header
  std::string name;
  bool has_template = false;
  std::string template_text;
  bool has_output = false;
  std::string output;
  bool has_errors = false;
  std::string errors;
  bool has_return = false;
  std::string return_code;
  std::vector<std::pair<std::string, std::string>> files;  // name, contents
  bool safe_quotes = false;
  std::string fill_file;              // fill this case file with FillFile instead
  std::vector<std::string> evaluate;  // evaluated by the filler's parser first
  std::string disabled;               // reason; the test is registered as DISABLED_
  std::vector<std::string> problems;
};

// Decodes one line of a text section: \n, \r, \t, \s (a blank) and \\ are
// the only escapes; the line break of the case file itself is not text.
bool DecodeLine(const std::string& line, std::string& out, std::string& problem) {
  if (!line.empty() && (line.back() == ' ' || line.back() == '\t')) {
    problem = "line ends in a blank or tab (write \\s or \\t)";
    return false;
  }
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '\\') {
      out += line[i];
      continue;
    }
    if (i + 1 >= line.size()) {
      problem = "backslash at the end of a line";
      return false;
    }
    switch (line[++i]) {
      case 'n':
        out += '\n';
        break;
      case 'r':
        out += '\r';
        break;
      case 't':
        out += '\t';
        break;
      case 's':
        out += ' ';
        break;
      case '\\':
        out += '\\';
        break;
      default:
        problem = std::string("unknown escape \\") + line[i];
        return false;
    }
  }
  return true;
}

// Shows control characters so that failures print readably.
std::string Visible(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '\r':
        out += "\\r";
        break;
      case '\n':
        out += "\\n\n";
        break;
      case '\t':
        out += "\\t";
        break;
      case '\\':
        out += "\\\\";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string Substitute(std::string text, const std::string& dir) {
  const std::string key = "@DIR@";
  for (std::size_t at = text.find(key); at != std::string::npos;
       at = text.find(key, at + dir.size()))
    text.replace(at, key.size(), dir);
  return text;
}

std::string Number(double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.17g", v);
  return buf;
}

// The description of a return code that a "return" section holds.
std::string Describe(const symtab* v) {
  if (v == nullptr) return "null";
  switch (v->type) {
    case SYM_SCALAR:
      return "scalar " + Number(v->value);
    case SYM_ARRAY: {
      std::string out = "array " + std::to_string(v->rows) + "x" + std::to_string(v->cols) + ":";
      for (int i = 0; i < v->rows * v->cols; ++i) out += (i ? ", " : " ") + Number(v->data[i]);
      return out;
    }
    case SYM_STRINGS: {
      std::string out = "strings " + std::to_string(v->num_strings) + ":";
      for (int i = 0; i < v->num_strings; ++i)
        out += std::string(i ? ", " : " ") + "\"" + (v->str_list[i] ? v->str_list[i] : "") + "\"";
      return out;
    }
    default:
      return "undefined";
  }
}

std::vector<TemplateCase> ReadCaseFile(const fs::path& path, std::vector<std::string>& problems) {
  std::vector<TemplateCase> cases;
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    problems.push_back("cannot open " + path.string());
    return cases;
  }
  const std::string file = path.filename().string();
  enum class Section { kNone, kTemplate, kOutput, kErrors, kReturn, kFile, kOptions, kDisabled };
  Section section = Section::kNone;
  std::string line;
  int number = 0;
  auto problem = [&](const std::string& what) {
    std::string text = file + ":" + std::to_string(number) + ": " + what;
    if (cases.empty())
      problems.push_back(text);
    else
      cases.back().problems.push_back(text);
  };
  while (std::getline(in, line)) {
    ++number;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.rfind("=== ", 0) == 0) {
      TemplateCase c;
      c.file = file;
      c.line = number;
      c.name = line.substr(4);
      cases.push_back(c);
      section = Section::kNone;
      const bool good_name =
          !c.name.empty() && std::all_of(c.name.begin(), c.name.end(), [](char ch) {
            return std::isalnum(static_cast<unsigned char>(ch)) || ch == '_';
          });
      if (!good_name) problem("case name must be letters, digits and '_'");
      for (std::size_t i = 0; i + 1 < cases.size(); ++i)
        if (cases[i].name == c.name) problem("duplicate case name");
      continue;
    }
    if (line.rfind("--- ", 0) == 0) {
      if (cases.empty()) {
        problem("section before the first case");
        continue;
      }
      TemplateCase& c = cases.back();
      const std::string head = line.substr(4);
      auto open = [&](bool& has, Section s) {
        if (has) problem("section repeated: " + head);
        has = true;
        section = s;
      };
      if (head == "template") {
        open(c.has_template, Section::kTemplate);
      } else if (head == "output") {
        open(c.has_output, Section::kOutput);
      } else if (head == "errors") {
        open(c.has_errors, Section::kErrors);
      } else if (head == "return") {
        open(c.has_return, Section::kReturn);
      } else if (head.rfind("file ", 0) == 0 && head.size() > 5) {
        c.files.emplace_back(head.substr(5), std::string());
        section = Section::kFile;
      } else if (head == "options") {
        section = Section::kOptions;
      } else if (head == "disabled") {
        section = Section::kDisabled;
      } else {
        problem("unknown section '" + head + "'");
        section = Section::kNone;
      }
      continue;
    }
    if (section == Section::kNone) {
      if (!line.empty() && line[0] != '#') problem("text outside a section");
      continue;
    }
    TemplateCase& c = cases.back();
    if (section == Section::kOptions) {
      if (line.empty()) continue;
      if (line == "safe_quotes") {
        c.safe_quotes = true;
      } else if (line.rfind("fill_file ", 0) == 0) {
        c.fill_file = line.substr(10);
      } else if (line.rfind("evaluate ", 0) == 0) {
        c.evaluate.push_back(line.substr(9));
      } else {
        problem("unknown option '" + line + "'");
      }
      continue;
    }
    if (section == Section::kDisabled) {
      c.disabled += (c.disabled.empty() ? "" : " ") + line;
      continue;
    }
    std::string* target = section == Section::kTemplate ? &c.template_text
                          : section == Section::kOutput ? &c.output
                          : section == Section::kErrors ? &c.errors
                          : section == Section::kReturn ? &c.return_code
                                                        : &c.files.back().second;
    std::string why;
    if (!DecodeLine(line, *target, why)) problem(why);
  }
  for (TemplateCase& c : cases) {
    if (c.has_template == !c.fill_file.empty())
      c.problems.push_back(c.file + ":" + std::to_string(c.line) +
                           ": a case needs a template or the fill_file option (one of them)");
    if (!c.has_output)
      c.problems.push_back(c.file + ":" + std::to_string(c.line) +
                           ": a case needs an output section");
  }
  return cases;
}

// A fresh directory for one case, removed afterwards.
class CaseDirectory {
 public:
  CaseDirectory() {
    std::string pattern = (fs::temp_directory_path() / "quorvix_tcase_XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) path_ = fs::canonical(pattern);
  }
  ~CaseDirectory() {
    std::error_code ec;
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  CaseDirectory(const CaseDirectory&) = delete;
  CaseDirectory& operator=(const CaseDirectory&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// Makes the case directory the working directory for the fill, so that a
// template names its files relative to it.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const fs::path& dir) : saved_(fs::current_path()) {
    fs::current_path(dir);
  }
  ~WorkingDirectory() {
    std::error_code ec;
    fs::current_path(saved_, ec);
  }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  fs::path saved_;
};

class TemplateCaseTest : public testing::Test {
 public:
  explicit TemplateCaseTest(TemplateCase c) : c_(std::move(c)) {}

  void TestBody() override {
    for (const std::string& p : c_.problems) ADD_FAILURE() << p;
    if (!c_.problems.empty()) return;
    SCOPED_TRACE(c_.file + ":" + std::to_string(c_.line) + ": case " + c_.name);

    CaseDirectory dir;
    ASSERT_FALSE(dir.path().empty()) << "cannot make a temporary directory";
    const std::string dir_text = dir.path().string();
    for (const auto& [name, contents] : c_.files) {
      fs::create_directories((dir.path() / name).parent_path());
      std::ofstream out(dir.path() / name, std::ios::binary);
      const std::string text = Substitute(contents, dir_text);
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
      ASSERT_TRUE(out.good()) << "cannot write " << name;
    }

    WorkingDirectory cwd(dir.path());
    Filler filler;
    if (c_.safe_quotes) filler.SafeQuotes(1);
    for (const std::string& text : c_.evaluate) {
      symtab* v = filler.GetMathParser()->Evaluate(text.c_str());
      ASSERT_NE(v, nullptr) << "cannot evaluate option text: " << text;
      v->Delete();
    }
    char* errors = nullptr;
    char* out = nullptr;
    if (c_.fill_file.empty()) {
      const std::string text = Substitute(c_.template_text, dir_text);
      out = filler.Fill(text.c_str(), &errors);
    } else {
      out = filler.FillFile((dir.path() / c_.fill_file).c_str(), &errors);
    }
    ASSERT_NE(out, nullptr) << "the fill returned no output";
    const std::string output(out);
    delete[] out;
    const std::string error_text = errors != nullptr ? errors : "";
    const bool errors_null = errors == nullptr;
    delete[] errors;

    EXPECT_EQ(Visible(output), Visible(Substitute(c_.output, dir_text))) << "output differs";
    if (c_.has_errors) {
      EXPECT_FALSE(errors_null) << "expected an error text, got null";
      EXPECT_EQ(Visible(error_text), Visible(Substitute(c_.errors, dir_text)))
          << "error text differs";
    } else {
      EXPECT_TRUE(errors_null) << "expected no error text, got:\n" << Visible(error_text);
    }
    if (c_.has_return) {
      symtab* code = filler.GetReturnCode();
      EXPECT_EQ(Describe(code), c_.return_code) << "return code differs";
      if (code != nullptr) code->Delete();
    }
  }

 private:
  TemplateCase c_;
};

class FailingTest : public testing::Test {
 public:
  explicit FailingTest(std::vector<std::string> problems) : problems_(std::move(problems)) {}
  void TestBody() override {
    for (const std::string& p : problems_) ADD_FAILURE() << p;
  }

 private:
  std::vector<std::string> problems_;
};

// Registers every case of every file before the tests run.
struct Registrar {
  Registrar() {
    const fs::path dir = fs::path(QUORVIX_CASES_DIR) / "templates";
    std::vector<fs::path> files;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(dir, ec))
      if (entry.path().extension() == ".txt") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    if (files.empty()) {
      std::vector<std::string> problems{"no case files in " + dir.string()};
      testing::RegisterTest("TemplateCases", "CaseFilesPresent", nullptr, nullptr, __FILE__,
                            __LINE__,
                            [problems]() -> testing::Test* { return new FailingTest(problems); });
      return;
    }
    for (const fs::path& path : files) {
      std::vector<std::string> problems;
      std::vector<TemplateCase> cases = ReadCaseFile(path, problems);
      const std::string suite = "TemplateCases_" + path.stem().string();
      const std::string file = path.string();
      if (!problems.empty() || cases.empty()) {
        if (cases.empty()) problems.push_back(path.filename().string() + ": no cases");
        testing::RegisterTest(suite.c_str(), "FileFormat", nullptr, nullptr, file.c_str(), 1,
                              [problems]() -> testing::Test* { return new FailingTest(problems); });
      }
      for (TemplateCase& c : cases) {
        const std::string name = (c.disabled.empty() ? "" : "DISABLED_") + c.name;
        const int line = c.line;
        testing::RegisterTest(suite.c_str(), name.c_str(), nullptr, nullptr, file.c_str(), line,
                              [c]() -> testing::Test* { return new TemplateCaseTest(c); });
      }
    }
  }
} registrar;

}  // namespace
