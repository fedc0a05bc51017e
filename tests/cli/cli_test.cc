// The quorvix command-line program, run as a separate process.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

struct Outcome {
  int status = -1;  // exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
};

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Runs the program with `args`; standard output and error go to files that
// are read afterwards, so that neither pipe can fill up.
Outcome RunCli(const std::vector<std::string>& args) {
  Outcome result;
  char out_path[] = "/tmp/quorvix_cli_out_XXXXXX";
  char err_path[] = "/tmp/quorvix_cli_err_XXXXXX";
  int out_fd = mkstemp(out_path);
  int err_fd = mkstemp(err_path);
  if (out_fd < 0 || err_fd < 0) {
    ADD_FAILURE() << "mkstemp failed";
    return result;
  }
  std::vector<std::string> argv_text = {QUORVIX_CLI_PATH};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : argv_text) argv.push_back(a.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out_fd, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err_fd, STDERR_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  pid_t pid = 0;
  int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out_fd);
  close(err_fd);
  if (rc == 0) {
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.status = WEXITSTATUS(status);
  } else {
    ADD_FAILURE() << "cannot start " << argv[0];
  }
  result.out = ReadFile(out_path);
  result.err = ReadFile(err_path);
  unlink(out_path);
  unlink(err_path);
  return result;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::stringstream s(text);
  std::string line;
  while (std::getline(s, line)) lines.push_back(line);
  return lines;
}

TEST(CliEvalTest, PrintsEachValueOnALineOfItsOwn) {
  Outcome r = RunCli({"eval", "1+1", "{1,2}", "\"text\"", "{{1,2},{3,4}}", "{\"a\",\"b\"}"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "2\n1, 2\ntext\n{ 1, 2 }, { 3, 4 }\n{ \"a\", \"b\" }\n");
  EXPECT_EQ(r.err, "");
}

TEST(CliEvalTest, EvaluatesInOneParserInOrder) {
  Outcome r = RunCli({"eval", "a=2", "a*3", "a++", "a"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "\n6\n2\n3\n");
}

TEST(CliEvalTest, DefineSetsAVariableFromAnExpression) {
  Outcome r = RunCli({"eval", "-D", "x=2+3", "-Dy={1,2}", "--define", "z=\"s\"", "x*2", "y", "z"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "10\n1, 2\ns\n");
}

TEST(CliEvalTest, DefinitionsAreEvaluatedBeforeTheExpressions) {
  Outcome r = RunCli({"eval", "x*10", "-D", "x=4"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "40\n");
}

TEST(CliEvalTest, EverythingAfterTwoDashesIsAnExpression) {
  Outcome r = RunCli({"eval", "-D", "Dx=3", "--", "-1", "-Dx", "--"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "-1\n-3\n");
  EXPECT_EQ(Lines(r.err).at(0), "quorvix: Syntax Error");
}

TEST(CliEvalTest, ErrorGoesToStandardErrorWithACaretAndExitStatusOne) {
  Outcome r = RunCli({"eval", "1", "1/0", "2"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "1\n");
  EXPECT_EQ(r.err, "quorvix: Divide by zero\n  1/0\n   ^\n");
}

TEST(CliEvalTest, SyntaxErrorNamesItsPosition) {
  Outcome r = RunCli({"eval", "  (1 + 2"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "quorvix: Unmatched '('\n    (1 + 2\n    ^\n");
}

TEST(CliEvalTest, FailingDefinitionStopsBeforeTheExpressions) {
  Outcome r = RunCli({"eval", "-D", "x=1+", "2"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(Lines(r.err).at(0), "quorvix: Syntax Error");
}

TEST(CliEvalTest, UnknownSymbolIsAnError) {
  Outcome r = RunCli({"eval", "nothing"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(Lines(r.err).at(0), "quorvix: Unknown symbol \"nothing\"");
}

TEST(CliEvalTest, UsageErrorsExitWithTwo) {
  const std::vector<std::vector<std::string>> cases = {
      {"eval"}, {"eval", "-D"}, {"eval", "-D", "novalue", "1"}, {"eval", "-D", "=3", "1"},
      {"eval", "-D", "x=1"}};
  for (const auto& args : cases) {
    Outcome r = RunCli(args);
    std::string shown;
    for (const auto& a : args) shown += a + " ";
    EXPECT_EQ(r.status, 2) << shown;
    EXPECT_EQ(r.out, "") << shown;
    EXPECT_NE(r.err, "") << shown;
  }
}

TEST(CliTest, NoCommandOrAnUnknownOneIsAUsageError) {
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

TEST(CliFunctionsTest, TakesNoArguments) {
  Outcome r = RunCli({"functions", "extra"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
}

}  // namespace
