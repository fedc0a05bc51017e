// "quorvix fill", run as a separate process: input from standard input or
// files, the options, the exit status and the error text.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cli/run_cli.h"
#include "template/temp_dir.h"

namespace {

using cli_test::Outcome;
using cli_test::ReadFile;

constexpr const char* kUsage =
    "usage: quorvix fill [-o FILE] [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes]\n"
    "                    [--time-limit SECONDS] [FILE...]\n";

class FillCliTest : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    std::filesystem::create_directory(dir_ / "work");
  }
  // Runs "quorvix fill ARGS" in the directory "work" with `input` as
  // standard input.
  Outcome Fill(const std::vector<std::string>& args, const std::string& input = "") {
    std::vector<std::string> all = {"fill"};
    all.insert(all.end(), args.begin(), args.end());
    return cli_test::RunCli(all, Write("stdin.txt", input), (dir_ / "work").string());
  }
  std::string Path(const std::string& name) { return (dir_ / name).string(); }
};

TEST_F(FillCliTest, StandardInputOptionsAndUsageErrors) {
  // A null `err` is not checked.
  struct Case {
    std::vector<std::string> args;
    std::string input;
    int status;
    std::string out;
    const char* err;
  };
  const Case cases[] = {
      {{}, "a{1+1}\nb\n", 0, "a2\r\nb\r\n", ""},
      {{"-D", "x=2*3", "--define", "s=\"t\"", "-Dy=1"}, "{x}{s}{y}", 0, "6t1", ""},
      {{"-D", "x"}, "{1}", 2, "", "quorvix fill: bad definition 'x' (expected NAME=EXPR)\n"},
      {{"-D", "x=1/0"}, "{1}", 2, "", "quorvix fill: -D x: Divide by zero\n"},
      {{"--lf"}, "a\r\nb\n{1/0}", 1, "a\nb\n", "Divide by zero in expression:\n1/0\n"},
      {{"--safe-quotes"}, "\"{1}\" {2}", 0, "\"{1}\" 2", nullptr},
      {{}, "\"{1}\" {2}", 0, "\"1\" 2", nullptr},
      {{}, "line1\n  {endif}\n", 1, "line1\r\n  {error}",
       "  {endif}\r\n        ^\r\nunbalanced endif\r\n"},
      {{"no_such_file.txt"}, "", 2, "", "quorvix fill: cannot read 'no_such_file.txt'\n"},
      // A replaced function entry is kept until the library unloads; freeing
      // it there must not disturb the exit, when the output is still buffered.
      {{}, "{function cli_twice(){return 1}}{function cli_twice(){return 2}}{cli_twice()}", 0,
       "2", ""},
      {{"--help"}, "", 0, kUsage, ""},
  };

  for (const Case& c : cases) {
    Outcome r = Fill(c.args, c.input);
    EXPECT_EQ(r.status, c.status) << c.input;
    EXPECT_EQ(r.out, c.out) << c.input;
    if (c.err) {
      EXPECT_EQ(r.err, c.err) << c.input;
    }
  }
  Outcome r = Fill({"--bogus"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, std::string("quorvix fill: unknown option '--bogus'\n") + kUsage);
  for (const char* option : {"-o", "-I", "-D"}) {
    r = Fill({option});
    EXPECT_EQ(r.status, 2) << option;
    EXPECT_EQ(r.err, std::string("quorvix fill: ") + option + " needs a value\n" + kUsage);
  }
}

TEST_F(FillCliTest, FillsFilesAndDashInOrderIntoOneOutput) {
  const std::string a = Write("a.txt", "{x = 2}A{x}\n");
  const std::string b = Write("b.txt", "B{x * 10}\n");
  Outcome r = Fill({a, b});
  EXPECT_EQ(r.status, 0);
  // One engine and one parser fill both: the variable carries over.
  EXPECT_EQ(r.out, "A2\r\nB20\r\n");
  r = Fill({Write("f.txt", "[file]"), "-"}, "[stdin]");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[file][stdin]");
}

TEST_F(FillCliTest, IncludesRelativeToTheWorkingDirectoryOrAnIncludeOption) {
  Write("work/part.txt", "part");
  Outcome r = Fill({Write("main.txt", "<{include \"part.txt\"}>")});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "<part>");

  Write("incdir/only_in_incdir.txt", "found");
  const std::string incdir = Path("incdir");
  const std::string text = "{include \"only_in_incdir.txt\"}!";
  EXPECT_EQ(Fill({"-I", incdir}, text).out, "found!");
  EXPECT_EQ(Fill({"--include", incdir}, text).out, "found!");
  EXPECT_EQ(Fill({"-I" + incdir}, text).out, "found!");
  r = Fill({}, text);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "{error}");
  EXPECT_EQ(r.err,
            "{include \"only_in_incdir.txt\"}!\r\n"
            "                             ^\r\n"
            "The file \"only_in_incdir.txt\" is not in the include path\r\n");
}

TEST_F(FillCliTest, OutputOption) {
  Outcome r = Fill({"-o", Path("result.txt")}, "x{3}\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(ReadFile(Path("result.txt")), "x3\r\n");
  r = Fill({"--output", Path("long.txt")}, "y");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(ReadFile(Path("long.txt")), "y");
  const std::string target = Path("missing_dir/out.txt");
  r = Fill({"-o", target}, "x");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "quorvix fill: cannot write '" + target + "'\n");
}

TEST_F(FillCliTest, ErrorsInFiles) {
  // The error names the file.
  const std::string file = Write("bad.txt", "ok\n{endif}\n");
  Outcome r = Fill({file});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "ok\r\n{error}");
  EXPECT_EQ(r.err, "in file:  " + file + "\r\n{endif}\r\n      ^\r\nunbalanced endif\r\n");
  // Later files are filled after a failed one.
  r = Fill({Write("bad2.txt", "{1/0}"), Write("good.txt", "good")});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "good");
  EXPECT_EQ(r.err, "Divide by zero in expression:\r\n1/0\r\n");
}

}  // namespace
