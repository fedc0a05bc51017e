// Host interfaces and state of the file, environment, system, eval and fill
// built-ins: the handle table, the process launcher, restricted mode and the
// application information. Input/output checks are in
// tests/cases/*/files_system.txt.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "builtins/file_handles.h"
#include "quorvix/app_info.h"
#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "support/support.h"

namespace {

namespace fs = std::filesystem;
using quorvix::builtins::AddStream;
using quorvix::builtins::CloseStream;
using quorvix::builtins::FindStream;

class FilesSystemTest : public TempDirTest {
 protected:
  std::string Eval(MathParser& parser, const std::string& text) {
    errors_.Clear();
    symtab* v = parser.Evaluate(text.c_str());
    if (v == nullptr) return "error: " + errors_.first;
    std::string out = qt::Text(*v);
    v->Delete();
    return out;
  }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  qt::ErrorCapture errors_;
};

TEST_F(FilesSystemTest, HandlesAreLookedUpNeverTakenForPointers) {
  std::FILE* f = std::fopen(Write("a.txt", "abc").c_str(), "rb");
  ASSERT_NE(f, nullptr);
  char expected[32];
  std::snprintf(expected, sizeof expected, "%" PRIxPTR, reinterpret_cast<std::uintptr_t>(f));
  const std::string handle = AddStream(f);
  EXPECT_EQ(handle, expected);
  char near[32];
  std::snprintf(near, sizeof near, "%" PRIxPTR, reinterpret_cast<std::uintptr_t>(f) + 8);
  EXPECT_EQ(FindStream(near), nullptr);
  EXPECT_EQ(FindStream(""), nullptr);
  // A caller still reading keeps the stream open through a close.
  auto held = FindStream(handle.c_str());
  ASSERT_NE(held, nullptr);
  EXPECT_TRUE(CloseStream(handle.c_str()));
  EXPECT_FALSE(CloseStream(handle.c_str()));
  EXPECT_EQ(FindStream(handle.c_str()), nullptr);
  char c = 0;
  EXPECT_EQ(std::fread(&c, 1, 1, held->file), 1u);
  EXPECT_EQ(c, 'a');
}

TEST_F(FilesSystemTest, SystemGoesThroughTheHostLauncherAndCleansUp) {
  fs::create_directories(dir_ / "tmp");
  const char* saved = std::getenv("TEMP");
  const std::string saved_temp = saved ? saved : "";
  ::setenv("TEMP", Path("tmp").c_str(), 1);
  MathParser parser;
  quorvix::ProcessRequest seen;
  parser.policy().launcher = [&](const quorvix::ProcessRequest& r, std::string* why) -> pid_t {
    seen = r;
    if (r.argv.back() == "refuse") {
      *why = "the host said no";
      return -1;
    }
    // The host runs it its own way; what it writes to stdout_fd is the result.
    EXPECT_EQ(::write(r.stdout_fd, "from host\r\n", 11), 11);
    return ::getpid();  // not a child of ours: nothing to wait for
  };
  EXPECT_EQ(Eval(parser, "system(\"do it\")"), "from host\r\n");
  EXPECT_EQ(seen.argv, (std::vector<std::string>{"/bin/sh", "-c", "do it"}));
  EXPECT_EQ(Eval(parser, "system(\"refuse\")"), "error: system: the host said no");
  EXPECT_TRUE(fs::is_empty(dir_ / "tmp"));
  // The default launcher: a real shell, reaped, its file removed.
  parser.policy().launcher = nullptr;
  EXPECT_EQ(Eval(parser, "system(\"echo $((1 + 1)); echo x >&2\")"), "2\n");
  EXPECT_TRUE(fs::is_empty(dir_ / "tmp"));
  if (saved)
    ::setenv("TEMP", saved_temp.c_str(), 1);
  else
    ::unsetenv("TEMP");
}

TEST_F(FilesSystemTest, RestrictedModeRefusesWhatItMust) {
  const std::string in = Path("in"), inside = Write("in/a.txt", "inside"),
                    outside = Write("out.txt", "outside");
  ASSERT_EQ(::symlink(outside.c_str(), Path("in/link").c_str()), 0);
  ::setenv("QV_RESTRICTED_OK", "granted", 1);
  MathParser parser;
  quorvix::Policy& policy = parser.policy();
  policy.restricted = true;
  policy.read_dirs = {in};
  policy.allowed_env = {"QV_RESTRICTED_OK"};
  const auto refused = [](const std::string& what) {
    return "error: " + what + " is not allowed in restricted mode";
  };
  const struct {
    std::string expr, want;
  } rows[] = {
      {"system(\"echo hi\")", refused("system")},
      {"fileopen(\"" + inside + "\", \"w\")", refused("writing " + inside)},
      {"fileopen(\"" + inside + "\", \"r+\")", refused("writing " + inside)},
      {"fileopen(\"" + outside + "\", \"r\")", refused("reading " + outside)},
      {"fileopen(\"" + in + "/link\", \"r\")", refused("reading " + in + "/link")},
      {"fileexists(\"" + outside + "\")", refused("reading " + outside)},
      {"fileexists(\"" + in + "/../nope\")", refused("reading " + in + "/../nope")},
      {"fileexists(\"" + in + "/missing/deeper\")", "0"},
      {"fileexists(\"" + inside + "\")", "1"},
      {"filereadstring(fileopen(\"" + inside + "\", \"r\"), \".+\")", "inside"},
      {"addfilepath(\"/\")", refused("addfilepath")},
      {"getenv(\"HOME\")", refused("getenv of HOME")},
      {"getenv(\"QV_RESTRICTED_OK\")", "granted"},
      // Private parsers and fillers share the policy.
      {"eval(\"system(\\\"ls\\\")\")", refused("system")},
      {"fill(\"a{getenv(\\\"HOME\\\")}\")", refused("getenv of HOME")},
  };
  for (const auto& r : rows) EXPECT_EQ(Eval(parser, r.expr), r.want) << r.expr;

  const struct {
    std::string text, output, error;
  } statements[] = {
      {"{include \"" + inside + "\"}", "inside", ""},
      {"{path \"/\"}", "{error}", "path is not allowed in restricted mode"},
      {"{include \"" + outside + "\"}", "{error}", "reading " + outside + " is not allowed"},
      {"{readfill \"" + in + "/link\"}", "{error}", "reading " + in + "/link is not allowed"},
  };
  Filler filler(&parser);
  for (const auto& s : statements) {
    qt::Filled r = qt::Fill(filler, s.text);
    EXPECT_EQ(r.output, s.output) << s.text;
    EXPECT_NE(r.errors.find(s.error), std::string::npos) << s.text << ": " << r.errors;
  }
  // The directory of the template being filled may be read, and only while
  // it is filled.
  const std::string sibling = Write("t/sibling.txt", "beside");
  const std::string tpl = Write("t/main.txt", "{include \"" + sibling + "\"}");
  char* errors = nullptr;
  std::unique_ptr<char[]> out(filler.FillFile(tpl.c_str(), &errors));
  EXPECT_STREQ(out.get(), "beside");
  EXPECT_EQ(errors, nullptr);
  EXPECT_EQ(qt::Fill(filler, "{include \"" + sibling + "\"}").output, "{error}");
}

TEST_F(FilesSystemTest, OutputLimitEndsTheFill) {
  Filler filler;
  filler.GetMathParser()->policy().limits.output_bytes = 100;
  qt::Filled r = qt::Fill(filler, "{for (i = 0; i < 100; i = i + 1)}0123456789{endloop}");
  EXPECT_EQ(r.output, qt::Repeat("0123456789", 11) + "{error}");
  EXPECT_NE(r.errors.find("output exceeds the limit (100 bytes)"), std::string::npos) << r.errors;
}

class HostInfo : public VQApplicationInfo {
 public:
  std::string GetSpecifiedPath(const std::string& which) const override {
    return "/paths/" + which;
  }
  std::string GetApplicationVersion() const override { return "12.345"; }
  std::string GetOrvantHome() const override { return "/opt/orvant"; }
};

TEST_F(FilesSystemTest, GetenvAsksTheEnvironmentThenTheApplication) {
  for (const char* name : {"ORVANT_HOME", "VERSION", "ORVANT_PROD_VER", "QV_APP_NAME"})
    ::unsetenv(name);
  MathParser parser;
  EXPECT_EQ(Eval(parser, "getenv(\"QV_APP_NAME\")"), "");
  HostInfo info;
  VQApplicationInfo* saved = MathParser::GetAppInfo();
  MathParser::SetAppInfo(&info);
  EXPECT_EQ(Eval(parser, "getenv(\"ORVANT_HOME\")"), "/opt/orvant");
  EXPECT_EQ(Eval(parser, "getenv(\"VERSION\")"), "12.3");
  EXPECT_EQ(Eval(parser, "getenv(\"ORVANT_PROD_VER\")"), "12.3");
  EXPECT_EQ(Eval(parser, "getenv(\"QV_APP_NAME\")"), "/paths/QV_APP_NAME");
  ::setenv("QV_APP_NAME", "from the environment", 1);
  EXPECT_EQ(Eval(parser, "getenv(\"QV_APP_NAME\")"), "from the environment");
  ::unsetenv("QV_APP_NAME");
  MathParser::SetAppInfo(saved);
}

}  // namespace
