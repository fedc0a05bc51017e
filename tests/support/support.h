// What the tests share: value builders, error capture, evaluation and fill
// helpers, a temporary directory and a runner for the command-line program.
#ifndef QUORVIX_TESTS_SUPPORT_SUPPORT_H_
#define QUORVIX_TESTS_SUPPORT_SUPPORT_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"
#include "template/value_format.h"  // the one internal header: how eval prints a value

extern char** environ;

namespace qt {

namespace fs = std::filesystem;

inline std::string Repeat(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

// ---- Values -------------------------------------------------------------------

inline symtab Scalar(double x) {
  symtab s;
  s.SetScalar(x);
  return s;
}
inline symtab Array(int rows, int cols, const std::vector<double>& values) {
  symtab s;
  std::copy(values.begin(), values.end(), s.SetArray(rows, cols));
  return s;
}
inline symtab Strings(const std::vector<std::string>& texts) {
  symtab s;
  char** list = new char*[texts.size()];
  for (std::size_t i = 0; i < texts.size(); ++i) list[i] = newstrdup(texts[i].c_str());
  s.SetStrings(list, static_cast<int>(texts.size()));
  return s;
}
// A heap copy, for hosts' hooks that hand over ownership.
inline symtab* New(symtab v) { return new symtab(std::move(v)); }

// The value as `quorvix eval` prints it, or "(no text)".
inline std::string Text(const symtab& v) {
  std::string out;
  if (!quorvix::FormatValue(v, quorvix::ValueFormat{}, out)) out = "(no text)";
  return out;
}

// ---- Errors and evaluation ---------------------------------------------------------

// Takes the messages given to the host's error function while it lives.
class ErrorCapture {
 public:
  ErrorCapture() : saved_(MathParser::err_fun) {
    Current() = this;
    MathParser::SetErrorFunction(&Record);
  }
  ~ErrorCapture() {
    MathParser::SetErrorFunction(saved_);
    MathParser::ClearError();
    Current() = nullptr;
  }
  ErrorCapture(const ErrorCapture&) = delete;
  ErrorCapture& operator=(const ErrorCapture&) = delete;
  void Clear() {
    first.clear();
    count = 0;
  }
  std::string first;  // the first message since Clear
  int count = 0;      // how many were given

 private:
  static ErrorCapture*& Current() {
    static ErrorCapture* current = nullptr;
    return current;
  }
  static void Record(const char* m) {
    ErrorCapture* c = Current();
    if (c != nullptr && c->count++ == 0) c->first = m ? m : "(null)";
  }
  ErrorFunc saved_;
};

// A fixture whose errors are captured; Eval gives the value's text or
// "error: <first message>".
class ParserTest : public testing::Test {
 protected:
  std::string Describe(symtab* v) {
    if (v == nullptr) return errors_.count ? "error: " + errors_.first : "null without report";
    std::string out = Text(*v);
    v->Delete();
    return out;
  }
  std::string Eval(MathParser& p, const std::string& text) {
    errors_.Clear();
    return Describe(p.Evaluate(text.c_str()));
  }
  std::string Eval(MathParser& p, MathParserExpression* e) {
    errors_.Clear();
    return Describe(p.Evaluate(e));
  }
  std::string Eval(const std::string& text) { return Eval(parser_, text); }

  ErrorCapture errors_;
  MathParser parser_;
};

// ---- Fills ----------------------------------------------------------------------

struct Filled {
  std::string output;
  std::string errors;
  bool errors_null = true;
};

inline Filled Fill(FillerBase& filler, const std::string& text) {
  char* errors = nullptr;
  char* out = filler.Fill(text.c_str(), &errors);
  Filled r{out ? out : "", errors ? errors : "", errors == nullptr};
  delete[] out;
  delete[] errors;
  return r;
}

// ---- Files and processes --------------------------------------------------------

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// A fresh temporary directory, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (fs::temp_directory_path() / "quorvix_test_XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) path_ = fs::canonical(pattern);
  }
  ~TempDir() {
    std::error_code ec;
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const fs::path& path() const { return path_; }
  // Writes `text` to `name` (which may hold subdirectories); returns its path.
  std::string Write(const std::string& name, const std::string& text) const {
    const fs::path path = path_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

 private:
  fs::path path_;
};

struct Outcome {
  int status = -1;  // exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
};

// Runs the command-line program with `args`, standard input read from
// `in_path`, in `cwd` (the current directory when empty). Its output goes to
// files read afterwards, so that neither pipe can fill up.
inline Outcome RunCli(const std::vector<std::string>& args,
                      const std::string& in_path = "/dev/null", const std::string& cwd = "") {
  Outcome result;
  TempDir dir;
  const std::string out_path = (dir.path() / "out").string();
  const std::string err_path = (dir.path() / "err").string();
  std::vector<std::string> argv_text = {QUORVIX_CLI_PATH};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : argv_text) argv.push_back(a.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in_path.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  pid_t pid = 0;
  int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (rc != 0) {
    ADD_FAILURE() << "cannot start " << argv[0];
  } else if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
    result.status = WEXITSTATUS(status);
  }
  result.out = ReadFile(out_path);
  result.err = ReadFile(err_path);
  return result;
}

}  // namespace qt

// A fixture owning a fresh temporary directory `dir_`.
class TempDirTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(temp_.path().empty()) << "no temporary directory"; }
  std::string Write(const std::string& name, const std::string& text) {
    return temp_.Write(name, text);
  }
  qt::TempDir temp_;
  const std::filesystem::path& dir_ = temp_.path();
};

#endif  // QUORVIX_TESTS_SUPPORT_SUPPORT_H_
