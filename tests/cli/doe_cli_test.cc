// quorvix params and quorvix doe: the design parameters of a template, and a
// design study over a run matrix, run as a separate process.
#include <filesystem>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

using qt::Outcome;

class DoeCliTest : public TempDirTest {
 protected:
  Outcome Run(std::vector<std::string> args) { return qt::RunCli(args, "/dev/null", dir_); }
  std::string Read(const std::string& name) { return qt::ReadFile((dir_ / name).string()); }
  bool Exists(const std::string& name) { return std::filesystem::exists(dir_ / name); }
  const std::string ex_ = std::string(QUORVIX_CASES_DIR) + "/../../examples/doe";
};

std::size_t Count(const std::string& text, const std::string& what) {
  std::size_t n = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST_F(DoeCliTest, ParamsListsTheDeclarationsOfATemplateAndItsIncludes) {
  Outcome r = Run({"params", "-I", ex_, ex_ + "/plate.qvx"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "thickness\treal\t2.0\t1.0\t4.0\npressure\treal\t0.05\t0.01\t0.2\n"
            "material\tlevel\t\"steel\"\t\"aluminium\"\nelements\tint\t8\t4\t16\n"
            "temperature\treal\t20\t-40\t150\n");
  Write("odd.qvx",
        "{parameter(s, \"a\\\"b\", \"x\\\\y\", \"z\")}{parameter(n, real, 1)}"
        "{parameter(s, t, 1, 0, 2)}");
  r = Run({"params", "--json", "odd.qvx"});
  EXPECT_EQ(r.status, 0) << r.err;
  // s is listed once, with the later record; n has no record.
  EXPECT_EQ(r.out,
            "[\n  {\"name\": \"s\", \"type\": \"t\", \"nominal\": \"1\", \"lower\": \"0\", "
            "\"upper\": \"2\"},\n  {\"name\": \"n\"}\n]\n");
  Write("levels.qvx", "{parameter(s, \"a\\\"b\", \"x\\\\y\", \"z\")}");
  r = Run({"params", "--json", "levels.qvx"});
  EXPECT_EQ(r.out,
            "[\n  {\"name\": \"s\", \"type\": \"a\\\\\\\"b\", \"levels\": "
            "[\"x\\\\\\\\y\", \"z\"]}\n]\n");
  r = Run({"params", "none.qvx"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "quorvix params: cannot read 'none.qvx'\n");
}

// Rows 6 to 8 of the example's full-factorial matrix: 1.5 mm, 0.05 MPa,
// aluminium; 4 elements at 80 C, then 8 elements at 20 and at 80 C.
TEST_F(DoeCliTest, DoeExampleWritesEachRunWithItsRowsValues) {
  Outcome r = Run({"doe", ex_ + "/plate.qvx", "-I", ex_, "--runs", ex_ + "/runs.csv", "--out",
                   "study/{run}/plate_{material}.bdf", "-j", "2", "--rows", "6:8", "--lf"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "run r06: ok study/r06/plate_aluminium.bdf\nrun r07: ok "
            "study/r07/plate_aluminium.bdf\nrun r08: ok study/r08/plate_aluminium.bdf\n"
            "3 runs, 0 failed\n");
  EXPECT_FALSE(Exists("study/r05"));
  const struct {
    const char* run;
    int elements, temperature;
    const char* mat1;  // 70000 - 35 * (T - 20)
  } runs[] = {{"r06", 4, 80, "MAT1,1,67900,,0.33,2.7e-09\n"},
              {"r07", 8, 20, "MAT1,1,70000,,0.33,2.7e-09\n"},
              {"r08", 8, 80, "MAT1,1,67900,,0.33,2.7e-09\n"}};
  for (const auto& run : runs) {
    const std::string deck = Read(std::string("study/") + run.run + "/plate_aluminium.bdf");
    const std::string n = std::to_string(run.elements);
    EXPECT_EQ(deck.substr(0, deck.find('\n')),
              "$ clamped plate: t = 1.5 mm, p = 0.05 MPa, aluminium at " +
                  std::to_string(run.temperature) + " C, " + n + " x " + n + " elements")
        << run.run;
    EXPECT_NE(deck.find(run.mat1), std::string::npos) << run.run;
    EXPECT_NE(deck.find("PSHELL,1,1,1.5,1,,1\n"), std::string::npos) << run.run;
    const std::size_t e = static_cast<std::size_t>(run.elements);
    EXPECT_EQ(Count(deck, "\nGRID,"), (e + 1) * (e + 1)) << run.run;
    EXPECT_EQ(Count(deck, "\nCQUAD4,"), e * e) << run.run;
    EXPECT_EQ(Count(deck, "\nPLOAD4,10,"), e * e) << run.run;
    EXPECT_EQ(deck.substr(deck.size() - 8), "ENDDATA\n") << run.run;
  }
}

TEST_F(DoeCliTest, DoeChecksTheMatrixBeforeAnyFillAndReportsEachRun) {
  Write("t.qvx", "{parameter(t, real, 1, 0, 9)}{parameter(s, text, \"u\", \"v\")}{s}={1/t}");
  Write("runs.csv", "t,s\r\n2,\"a, b\"\r\n\r\n0,\"q\"\"x\"\r\n");
  const std::vector<std::string> study = {"doe", "t.qvx", "--out", "out/{run}.txt", "--runs"};
  const struct {
    const char* csv;
    std::vector<std::string> more;
    const char* err;
  } bad[] = {
      {"t,s,zz\n", {}, "bad.csv line 1: unknown parameter 'zz' (the template declares: t, s)"},
      {"t\n1\n", {}, "bad.csv line 1: no column for parameter 's'"},
      {"t,s\n1,\"a\n", {}, "bad.csv line 2: quoted field not closed"},
      {"t,s\n1,\"a\"b\n", {}, "bad.csv line 2: text after a closing quote"},
      {"t,s\nx,a\n", {}, "bad.csv line 2: t: 'x' is not a number"},
      {"t,s\n1,a\n1\n", {}, "bad.csv line 3: 1 fields, the header has 2"},
      {"t,s\n1,a\n", {"--rows", "2:3"}, "--rows 2:3: the run matrix has 1 rows"},
      {"t,s\n1,a\n", {"-D", "t=1"}, "-D t: a design parameter takes its value from the runs"},
  };
  for (const auto& c : bad) {
    Write("bad.csv", c.csv);
    std::vector<std::string> args = study;
    args.push_back("bad.csv");
    args.insert(args.end(), c.more.begin(), c.more.end());
    Outcome r = Run(args);
    EXPECT_EQ(r.status, 2) << c.csv;
    EXPECT_EQ(r.err, std::string("quorvix doe: ") + c.err + "\n") << c.csv;
    EXPECT_FALSE(Exists("out")) << c.csv;
  }
  Outcome r =
      Run({"doe", "t.qvx", "--runs", "runs.csv", "--out", "out/{run}.txt", "--rows", "2:1"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err.substr(0, r.err.find('\n')),
            "quorvix doe: bad --rows '2:1' (expected FIRST:LAST with 1 <= FIRST <= LAST)");

  std::vector<std::string> args = study;
  args.insert(args.end(), {"runs.csv", "-j", "2"});
  r = Run(args);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out,
            "run 1: ok out/1.txt\nrun 2: failed out/2.txt\n  Divide by zero in expression:\n"
            "  1/t\n2 runs, 1 failed\n");
  EXPECT_EQ(Read("out/1.txt"), "a, b=0.5");
  EXPECT_EQ(Read("out/2.txt"), "q\"x=");  // what was written before the error stays
  // A file in the way of a run's folder fails that run, not the study.
  r = Run({"doe", "t.qvx", "--runs", "runs.csv", "--out", "t.qvx/{run}.txt", "--rows", "1:1"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "run 1: failed t.qvx/1.txt\n  cannot write 't.qvx/1.txt'\n1 runs, 1 failed\n");
}

}  // namespace
