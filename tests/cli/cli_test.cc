// The quorvix command-line program, run as a separate process.
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/tcl_setup.h"
#include "support/support.h"

namespace {

using qt::Outcome;
using qt::RunCli;

std::string Shown(const std::vector<std::string>& args) {
  std::string shown;
  for (const auto& a : args) shown += a + " ";
  return shown;
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

constexpr const char* kEvalUsage =
    "usage: quorvix eval [-D NAME=EXPR]... [--time-limit SECONDS] [--restricted]\n"
    "                    [--allow-env NAME]... [--max-elements N] EXPR...\n";

TEST(CliTest, EvalValuesAndErrors) {
  ::setenv("QV_CLI_ENV", "yes", 1);
  // A null `out`, `err` or `err_first` (the first line of errors) is not checked.
  const struct {
    std::vector<std::string> args;
    int status;
    const char *out, *err, *err_first;
  } cases[] = {
      // clang-format off
      // Each value on a line of its own.
      {{"eval", "1+1", "{1,2}", "\"text\"", "{{1,2},{3,4}}", "{\"a\",\"b\"}"}, 0,
       "2\n1, 2\ntext\n{ 1, 2 }, { 3, 4 }\n{ \"a\", \"b\" }\n", "", nullptr},
      // One parser, in order.
      {{"eval", "a=2", "a*3", "a++", "a"}, 0, "\n6\n2\n3\n", nullptr, nullptr},
      // Definitions, evaluated before the expressions.
      {{"eval", "-D", "x=2+3", "-Dy={1,2}", "--define", "z=\"s\"", "x*2", "y", "z"}, 0,
       "10\n1, 2\ns\n", nullptr, nullptr},
      {{"eval", "x*10", "-D", "x=4"}, 0, "40\n", nullptr, nullptr},
      // Everything after "--" is an expression.
      {{"eval", "-D", "Dx=3", "--", "-1", "-Dx", "--"}, 1, "-1\n-3\n", nullptr,
       "quorvix: Syntax Error"},
      // Errors go to standard error with a caret and stop the evaluation.
      {{"eval", "1", "1/0", "2"}, 1, "1\n", "quorvix: Divide by zero\n  1/0\n   ^\n", nullptr},
      {{"eval", "  (1 + 2"}, 1, "", "quorvix: Unmatched '('\n    (1 + 2\n    ^\n", nullptr},
      {{"eval", "-D", "x=1+", "2"}, 1, "", nullptr, "quorvix: Syntax Error"},
      {{"eval", "nothing"}, 1, nullptr, nullptr, "quorvix: Unknown symbol \"nothing\""},
      // Restricted mode refuses, and a refusal fails like any error.
      {{"eval", "--restricted", "1", "system(\"echo no\")", "2"}, 1, "1\n", nullptr,
       "quorvix: system is not allowed in restricted mode"},
      {{"eval", "--restricted", "--allow-env", "QV_CLI_ENV", "getenv(\"QV_CLI_ENV\")", "getenv(\"PATH\")"},
       1, "yes\n", nullptr, "quorvix: getenv of PATH is not allowed in restricted mode"},
      {{"eval", "--restricted", "-D", "x=eval(\"system(\\\"ls\\\")\")", "1"}, 1, "", nullptr,
       "quorvix: system is not allowed in restricted mode"},
      {{"eval", "--max-elements", "5", "1:6:1"}, 1, "", nullptr,
       "quorvix: array too large (limit 5 elements)"},
      {{"eval", "--max-elements", "x", "1"}, 2, "",
       "quorvix eval: bad value 'x' for --max-elements (expected a positive integer)\n", nullptr},
      // A fit's report is a message: standard error, not the values.
      {{"eval", "polyfit({0, 1, 2}, {1, 3, 5}, 1)"}, 0, "1, 3, 5\n", nullptr,
       "Polynomial coefficients: 1 * X^0 + 2 * X^1"},
      // Usage errors.
      {{"eval"}, 2, "", kEvalUsage, nullptr},
      {{"eval", "-D"}, 2, "", "quorvix eval: -D needs NAME=EXPR\n", nullptr},
      {{"eval", "-D", "novalue", "1"}, 2, "", nullptr,
       "quorvix eval: bad definition 'novalue' (expected NAME=EXPR)"},
      {{"eval", "-D", "=3", "1"}, 2, "", nullptr,
       "quorvix eval: bad definition '=3' (expected NAME=EXPR)"},
      {{"eval", "-D", "x=1"}, 2, "", kEvalUsage, nullptr},
      {{"functions", "extra"}, 2, "", "usage: quorvix functions [--long | --markdown]\n", nullptr},
      {{"frobnicate"}, 2, "", nullptr, "quorvix: unknown command 'frobnicate'"},
      {{}, 2, "", nullptr, "usage: quorvix <command> [arguments]"},
      // clang-format on
  };
  for (const auto& c : cases) {
    Outcome r = RunCli(c.args);
    const std::string shown = Shown(c.args);
    EXPECT_EQ(r.status, c.status) << shown << r.err;
    if (c.out) {
      EXPECT_EQ(r.out, c.out) << shown;
    }
    if (c.err) {
      EXPECT_EQ(r.err, c.err) << shown;
    }
    if (c.err_first) {
      EXPECT_EQ(FirstLine(r.err), c.err_first) << shown;
    }
  }
  Outcome r = RunCli({"--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("functions"), std::string::npos);
}

TEST(CliTest, FunctionsListsSortedNamesWithTheirArgumentWords) {
  Outcome r = RunCli({"functions"});
  EXPECT_EQ(r.status, 0);
  std::vector<std::string> lines;
  for (std::size_t at = 0, end; at < r.out.size(); at = end + 1) {
    end = r.out.find('\n', at);
    lines.push_back(r.out.substr(at, end - at));
  }
  for (const char* expected : {"sin 1", "atan2 2", "inverse 1", "ln 1"})
    EXPECT_NE(std::find(lines.begin(), lines.end(), expected), lines.end()) << expected;
  EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end())) << r.out;
  for (const std::string& line : lines) {
    const std::size_t space = line.find(' ');
    EXPECT_TRUE(space > 0 && space != std::string::npos &&
                line.find_first_not_of("0123456789", space + 1) == std::string::npos)
        << line;
  }
}

constexpr const char* kUsage =
    "usage: quorvix fill [-o FILE] [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes]\n"
    "                    [--time-limit SECONDS] [--restricted] [--allow-env NAME]...\n"
    "                    [--max-elements N] [--max-output BYTES] [--pref FILE] [FILE...]\n"
    "  --pref FILE  read a preference file (registrations) with the fill's parser first;\n"
    "               exit 2 when it cannot be read, 1 when its fill fails or it is refused\n";

class FillCliTest : public TempDirTest {
 protected:
  // Runs "quorvix fill ARGS" in the directory "work" with `input` as standard input.
  Outcome Fill(const std::vector<std::string>& args, const std::string& input = "") {
    std::vector<std::string> all = {"fill"};
    all.insert(all.end(), args.begin(), args.end());
    std::filesystem::create_directories(dir_ / "work");
    return RunCli(all, Write("stdin.txt", input), (dir_ / "work").string());
  }
  std::string Path(const std::string& name) { return (dir_ / name).string(); }
};

TEST_F(FillCliTest, StandardInputOptionsAndErrors) {
  const std::string incdir = Path("incdir"), out = Path("result.txt"), bad = Path("none/out.txt");
  Write("incdir/only_in_incdir.txt", "found");
  Write("work/part.txt", "part");
  const std::string include = "{include \"only_in_incdir.txt\"}!";
  // An absent `err` is not checked.
  const struct {
    std::vector<std::string> args;
    std::string input;
    int status;
    std::string out;
    std::optional<std::string> err;
  } cases[] = {
      // clang-format off
      {{}, "a{1+1}\nb\n", 0, "a2\r\nb\r\n", ""},
      {{"-D", "x=2*3", "--define", "s=\"t\"", "-Dy=1"}, "{x}{s}{y}", 0, "6t1", ""},
      {{"-D", "x"}, "{1}", 2, "", "quorvix fill: bad definition 'x' (expected NAME=EXPR)\n"},
      {{"-D", "x=1/0"}, "{1}", 2, "", "quorvix fill: -D x: Divide by zero\n"},
      {{"--lf"}, "a\r\nb\n{1/0}", 1, "a\nb\n", "Divide by zero in expression:\n1/0\n"},
      {{"--safe-quotes"}, "\"{1}\" {2}", 0, "\"{1}\" 2", std::nullopt},
      {{}, "\"{1}\" {2}", 0, "\"1\" 2", std::nullopt},
      {{}, "line1\n  {endif}\n", 1, "line1\r\n  {error}",
       "  {endif}\r\n        ^\r\nunbalanced endif\r\n"},
      {{"no_such_file.txt"}, "", 2, "", "quorvix fill: cannot read 'no_such_file.txt'\n"},
      // A replaced function entry is kept until the library unloads; freeing
      // it there must not disturb the exit, when the output is still buffered.
      {{}, "{function cli_twice(){return 1}}{function cli_twice(){return 2}}{cli_twice()}", 0,
       "2", ""},
      {{"--help"}, "", 0, kUsage, ""},
      {{"--bogus"}, "", 2, "", "quorvix fill: unknown option '--bogus'\n"},
      {{"-o"}, "", 2, "", "quorvix fill: -o needs a value\n"},
      {{"-I"}, "", 2, "", "quorvix fill: -I needs a value\n"},
      {{"-D"}, "", 2, "", "quorvix fill: -D needs a value\n"},
      // Includes are found relative to the working directory or an -I option.
      {{}, "<{include \"part.txt\"}>", 0, "<part>", ""},
      {{"-I", incdir}, include, 0, "found!", ""},
      {{"--include", incdir}, include, 0, "found!", ""},
      {{"-I" + incdir}, include, 0, "found!", ""},
      {{}, include, 1, "{error}", "{include \"only_in_incdir.txt\"}!\r\n                             ^\r\n"
       "The file \"only_in_incdir.txt\" is not in the include path\r\n"},
      {{"-o", out}, "x{3}\n", 0, "", ""},
      {{"-o", bad}, "x", 2, "", "quorvix fill: cannot write '" + bad + "'\n"},
      {{"--time-limit", "0.1"}, "{while (1)}{endloop}", 1, "{error}",
       "}{endloop}\r\n         ^\r\ntime limit exceeded (0.1 s)\r\n"},
      {{"--time-limit", "-1"}, "", 2, "", "quorvix fill: bad time limit '-1' (expected seconds >= 0)\n"},
      // Restricted mode: reading inside the include path only, nothing
      // started, output bounded.
      {{"--restricted", "-I", incdir}, include + "{fileexists(\"" + incdir + "/x\")}", 0, "found!0", ""},
      {{"--restricted"}, "a{include \"/etc/passwd\"}", 1, "a{error}",
       "a{include \"/etc/passwd\"}\r\n" + std::string(23, ' ') + "^\r\n"
       "reading /etc/passwd is not allowed in restricted mode\r\n"},
      {{"--restricted"}, "a{system(\"echo x\")}b", 1, "a",
       "system is not allowed in restricted mode in expression:\r\nsystem(\"echo x\")\r\n"},
      {{"--restricted", "--max-output", "25"}, "{while (1)}0123456789{endloop}", 1,
       "012345678901234567890123456789{error}",
       "}0123456789{endloop}\r\n            ^\r\noutput exceeds the limit (25 bytes)\r\n"},
      {{"--max-output", "0"}, "", 2, "",
       "quorvix fill: bad value '0' for --max-output (expected a positive integer)\n"},
      // clang-format on
  };
  for (const auto& c : cases) {
    Outcome r = Fill(c.args, c.input);
    const std::string shown = Shown(c.args) + c.input;
    EXPECT_EQ(r.status, c.status) << shown;
    EXPECT_EQ(r.out, c.out) << shown;
    if (c.err) {
      // A usage error is followed by the usage line.
      const bool usage = c.status == 2 && c.args.size() == 1 && c.args[0][0] == '-';
      EXPECT_EQ(r.err, *c.err + (usage ? kUsage : "")) << shown;
    }
  }
  EXPECT_EQ(qt::ReadFile(out), "x3\r\n");
  EXPECT_EQ(Fill({"--output", out}, "y").status, 0);
  EXPECT_EQ(qt::ReadFile(out), "y");
}

#if !defined(QUORVIX_SANITIZE) && !defined(__SANITIZE_ADDRESS__)
// The output goes out as the fill makes it: 400 MB pass through a process
// whose address space is capped far below that.
TEST_F(FillCliTest, OutputIsStreamedInFlatMemory) {
  const std::string tpl = Write(
      "big.qvx", "{for (i = 0; i < 400000; i = i + 1)}" + std::string(1000, 'x') + "{endloop}");
  const std::string command = "ulimit -v 160000 && exec '" + std::string(QUORVIX_CLI_PATH) +
                              "' fill -o /dev/null '" + tpl + "'";
  const int status = std::system(command.c_str());
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}
#endif

TEST_F(FillCliTest, FilesAndDashAreFilledInOrderByOneEngine) {
  // The variable carries over from one file to the next.
  Outcome r = Fill({Write("a.txt", "{x = 2}A{x}\n"), Write("b.txt", "B{x * 10}\n")});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "A2\r\nB20\r\n");
  r = Fill({Write("f.txt", "[file]"), "-"}, "[stdin]");
  EXPECT_EQ(r.out, "[file][stdin]");
  // An error names the file; later files are filled after a failed one.
  const std::string file = Write("bad.txt", "ok\n{endif}\n");
  r = Fill({file});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "ok\r\n{error}");
  EXPECT_EQ(r.err, "in file:  " + file + "\r\n{endif}\r\n      ^\r\nunbalanced endif\r\n");
  r = Fill({Write("bad2.txt", "{1/0}"), Write("good.txt", "good")});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "good");
  EXPECT_EQ(r.err, "Divide by zero in expression:\r\n1/0\r\n");
}

TEST_F(FillCliTest, TclStreamAndFilesOpenedByTheTemplate) {
  // The TCL stream runs in the CLI's interpreter; --lf reaches opened files.
  if (!quorvix::CreateTclInterpreter()) GTEST_SKIP() << "built without Tcl";
  Outcome r = Fill({"--lf"},
                   "{open \"TCL\"}set f [open tcl.txt w]; puts -nonewline $f \"from tcl\"; close $f"
                   "{close}{open \"TCL\"}error boom{close}{open \"lf.txt\"}a\nb\n{close}done\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "done\n");
  EXPECT_EQ(r.err, "TCL stream: boom\n");
  EXPECT_EQ(qt::ReadFile(Path("work/tcl.txt")), "from tcl");
  EXPECT_EQ(qt::ReadFile(Path("work/lf.txt")), "a\nb\n");
}

TEST_F(FillCliTest, AnExternalProgramsOwnOutputStaysOutOfTheFill) {
  const std::string program =
      Write("chatty.sh", "#!/bin/bash\necho stray\nprintf '3 reply\\n' >&$2\n");
  ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
  Outcome r =
      Fill({"--lf"}, "{registerexternalfunction(\"chatty\", \"" + program + "\")}[{chatty(1)}]\n");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "[reply]\n");
  EXPECT_EQ(r.err, "stray\n");
}

}  // namespace

// The spectrum example end to end: its table against numpy's fft of the same
// signal and window (amplitude) and the A-weighting formula (level), and the
// picture made of the same numbers.
TEST_F(FillCliTest, SpectrumExampleAgreesWithNumpy) {
  const std::string ex = std::string(QUORVIX_CASES_DIR) + "/../../examples/spectrum";
  Outcome csv = Fill({"--lf", "-I", ex, ex + "/spectrum_csv.qvx"});
  ASSERT_EQ(csv.status, 0) << csv.err;
  std::vector<std::string> lines;
  for (std::size_t at = 0, end; at < csv.out.size(); at = end + 1) {
    end = csv.out.find('\n', at);
    lines.push_back(csv.out.substr(at, end - at));
  }
  ASSERT_EQ(lines.size(), 513u);  // the header and 512 lines from 0 to fs/2
  EXPECT_EQ(lines[0], "frequency_hz,amplitude,level_dba");
  EXPECT_EQ(lines[2], "0.976562,0.00868467,-193.638");
  EXPECT_EQ(lines[52], "49.8047,0.788284,-35.424");
  Outcome svg = Fill({"--lf", "-I", ex, ex + "/spectrum_svg.qvx"});
  ASSERT_EQ(svg.status, 0) << svg.err;
  EXPECT_EQ(svg.out.rfind("<svg ", 0), 0u);
  EXPECT_NE(svg.out.find(">49.8 Hz: 0.788</text>"), std::string::npos);
  EXPECT_EQ(svg.out.substr(svg.out.size() - 7), "</svg>\n");
  // README shows the committed picture: it must be what the template makes.
  std::ifstream shown(ex + "/spectrum.svg", std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(shown), {}), svg.out);
}

// The run-up example: its order tracks against the amplitudes the synthetic
// signal was built with (the 4.5th order 0.5 throughout the low speeds; the
// 2nd order the resonance gain 1 / sqrt((1 - r^2)^2 + (0.2 r)^2), 5 at its
// peak), and its two pictures as README shows them.
TEST_F(FillCliTest, RunUpExampleTracksTheOrdersItWasBuiltWith) {
  const std::string ex = std::string(QUORVIX_CASES_DIR) + "/../../examples/rotating";
  Outcome csv = Fill({"--lf", "-I", ex, ex + "/tracks_csv.qvx"});
  ASSERT_EQ(csv.status, 0) << csv.err;
  std::istringstream in(csv.out);
  std::string line;
  std::getline(in, line);
  EXPECT_EQ(line, "time_s,rpm,order_2,order_4_5");
  double peak = 0;
  int rows = 0;
  while (std::getline(in, line)) {
    double t, rpm, o2, o45;
    ASSERT_EQ(std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf", &t, &rpm, &o2, &o45), 4) << line;
    ++rows;
    peak = std::max(peak, o2);
    if (rpm > 2400) continue;
    const double r = 2 * rpm / 60 / 120;
    EXPECT_NEAR(o2, 1 / std::sqrt((1 - r * r) * (1 - r * r) + 0.04 * r * r), 0.03) << line;
    EXPECT_NEAR(o45, 0.5, 0.02) << line;
  }
  EXPECT_GT(rows, 20);
  EXPECT_NEAR(peak, 5.0, 0.2);
  for (const char* picture : {"order_tracks", "map"}) {
    Outcome svg = Fill({"--lf", "-I", ex, ex + "/" + picture + "_svg.qvx"});
    ASSERT_EQ(svg.status, 0) << svg.err;
    std::ifstream shown(ex + "/" + picture + ".svg", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(shown), {}), svg.out) << picture;
  }
}
