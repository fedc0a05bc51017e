// What the tests share: value builders, error capture, evaluation and fill
// helpers, a temporary directory and a runner for the command-line program.
#ifndef QUORVIX_TESTS_SUPPORT_SUPPORT_H_
#define QUORVIX_TESTS_SUPPORT_SUPPORT_H_

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/message_service.h"
#include "quorvix/symtab.h"
#include "quorvix/value_format.h"

namespace quorvix::test {

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

// A message service that keeps each message line (set it as a policy's
// `messages`).
class MessageLines : public MessageServiceBase {
 public:
  std::ostream& Stream() override { return stream_; }
  void Message(const char* text) override { lines.emplace_back(text); }
  std::vector<std::string> lines;

 private:
  std::ostringstream stream_;
};

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
// `in_path`, in `cwd` (the current directory when empty); its output and
// errors are taken from the files they were sent to.
inline Outcome RunCli(const std::vector<std::string>& args,
                      const std::string& in_path = "/dev/null", const std::string& cwd = "") {
  auto quote = [](const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
  };
  TempDir dir;
  const std::string out = (dir.path() / "out").string(), err = (dir.path() / "err").string();
  std::string command =
      (cwd.empty() ? "" : "cd " + quote(cwd) + " && ") + "exec " + quote(QUORVIX_CLI_PATH);
  for (const std::string& a : args) command += " " + quote(a);
  command += " <" + quote(in_path) + " >" + quote(out) + " 2>" + quote(err);
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(out), ReadFile(err)};
}

// Runs `body` on a thread with a 1 MB stack, as a host's worker thread may
// have, and waits for it.
inline void RunOnSmallStack(const std::function<void()>& body) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  ASSERT_EQ(pthread_attr_setstacksize(&attr, 1 << 20), 0);
  pthread_t thread;
  auto trampoline = [](void* f) -> void* {
    (*static_cast<const std::function<void()>*>(f))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attr, trampoline, const_cast<std::function<void()>*>(&body)),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
}

}  // namespace quorvix::test

// Short enough to write at every use.
namespace qt = quorvix::test;

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
