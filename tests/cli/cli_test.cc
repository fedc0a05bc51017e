// The quorvix command-line program, run as a separate process.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "cli/run_cli.h"

namespace {

using cli_test::Outcome;
using cli_test::RunCli;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream s(text);
  std::string line;
  while (std::getline(s, line)) lines.push_back(line);
  return lines;
}

std::string Shown(const std::vector<std::string>& args) {
  std::string shown;
  for (const auto& a : args) shown += a + " ";
  return shown;
}

TEST(CliEvalTest, ValuesAndErrors) {
  // A null `out`, `err` or `err_first` (the first line of errors) is not checked.
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* out;
    const char* err;
    const char* err_first;
  };
  const Case cases[] = {
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
  };
  for (const Case& c : cases) {
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
      EXPECT_EQ(Lines(r.err).at(0), c.err_first) << shown;
    }
  }
}

TEST(CliTest, UsageErrorsExitWithTwo) {
  const std::vector<std::vector<std::string>> cases = {
      {"eval"}, {"eval", "-D"}, {"eval", "-D", "novalue", "1"}, {"eval", "-D", "=3", "1"},
      {"eval", "-D", "x=1"}, {"functions", "extra"}};
  for (const auto& args : cases) {
    Outcome r = RunCli(args);
    EXPECT_EQ(r.status, 2) << Shown(args);
    EXPECT_EQ(r.out, "") << Shown(args);
    if (args[0] == "eval") {
      EXPECT_NE(r.err, "") << Shown(args);
    }
  }
  Outcome none = RunCli({});
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.err.find("usage"), std::string::npos);
  Outcome unknown = RunCli({"frobnicate"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.err.find("frobnicate"), std::string::npos);
}

TEST(CliTest, HelpGoesToStandardOutput) {
  Outcome r = RunCli({"--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("eval"), std::string::npos);
  EXPECT_NE(r.out.find("functions"), std::string::npos);
}

TEST(CliFunctionsTest, ListsSortedNamesWithTheirArgumentWords) {
  Outcome r = RunCli({"functions"});
  EXPECT_EQ(r.status, 0);
  std::vector<std::string> lines = Lines(r.out);
  for (const char* expected : {"sin 1", "atan2 2", "inverse 1", "sqrt 1", "log 1", "ln 1"})
    EXPECT_NE(std::find(lines.begin(), lines.end(), expected), lines.end()) << expected;
  EXPECT_TRUE(std::is_sorted(lines.begin(), lines.end())) << r.out;
  for (const std::string& line : lines) {
    std::size_t space = line.find(' ');
    ASSERT_NE(space, std::string::npos) << line;
    EXPECT_GT(space, 0u) << line;
    EXPECT_EQ(line.substr(space + 1).find_first_not_of("0123456789"), std::string::npos)
        << line;
  }
}

}  // namespace
