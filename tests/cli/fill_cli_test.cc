// "quorvix fill", run as a separate process: input from standard input or
// files, the options, the exit status and the error text.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr const char* kUsage =
    "usage: quorvix fill [-o FILE] [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes] "
    "[FILE...]\n";

struct Outcome {
  int status = -1;  // exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
};

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

class FillCliTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "quorvix_fillcli_XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = fs::canonical(pattern);
    fs::create_directory(dir_ / "work");
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }

  std::string Write(const std::string& name, const std::string& text) {
    const fs::path path = dir_ / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  // Runs "quorvix fill ARGS" in the directory "work" with `input` as
  // standard input; output and errors go to files read afterwards.
  Outcome Fill(const std::vector<std::string>& args, const std::string& input = "") {
    Outcome result;
    const std::string in_path = Write("stdin.txt", input);
    const std::string out_path = (dir_ / "stdout.txt").string();
    const std::string err_path = (dir_ / "stderr.txt").string();
    const std::string work = (dir_ / "work").string();
    std::vector<std::string> argv_text = {QUORVIX_CLI_PATH, "fill"};
    argv_text.insert(argv_text.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : argv_text) argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in_path.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out_path.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err_path.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addchdir_np(&actions, work.c_str());
    pid_t pid = 0;
    int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (rc != 0) {
      ADD_FAILURE() << "cannot start " << argv[0];
      return result;
    }
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.status = WEXITSTATUS(status);
    result.out = ReadFile(out_path);
    result.err = ReadFile(err_path);
    return result;
  }

  fs::path dir_;
};

TEST_F(FillCliTest, FillsStandardInput) {
  Outcome r = Fill({}, "a{1+1}\nb\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "a2\r\nb\r\n");
  EXPECT_EQ(r.err, "");
}

TEST_F(FillCliTest, DashMeansStandardInput) {
  const std::string file = Write("f.txt", "[file]");
  Outcome r = Fill({file, "-"}, "[stdin]");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "[file][stdin]");
}

TEST_F(FillCliTest, FillsFilesInOrderIntoOneOutput) {
  const std::string a = Write("a.txt", "{x = 2}A{x}\n");
  const std::string b = Write("b.txt", "B{x * 10}\n");
  Outcome r = Fill({a, b});
  EXPECT_EQ(r.status, 0);
  // One engine and one parser fill both: the variable carries over.
  EXPECT_EQ(r.out, "A2\r\nB20\r\n");
}

TEST_F(FillCliTest, FileIncludesRelativeToTheWorkingDirectory) {
  Write("work/part.txt", "part");
  const std::string main = Write("main.txt", "<{include \"part.txt\"}>");
  Outcome r = Fill({main});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "<part>");
}

TEST_F(FillCliTest, OutputOptionWritesTheFile) {
  const std::string target = (dir_ / "result.txt").string();
  Outcome r = Fill({"-o", target}, "x{3}\n");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(ReadFile(target), "x3\r\n");
}

TEST_F(FillCliTest, LongOutputOption) {
  const std::string target = (dir_ / "long.txt").string();
  Outcome r = Fill({"--output", target}, "y");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(ReadFile(target), "y");
}

TEST_F(FillCliTest, IncludeOptionAddsADirectory) {
  Write("incdir/only_in_incdir.txt", "found");
  const std::string incdir = (dir_ / "incdir").string();
  const std::string text = "{include \"only_in_incdir.txt\"}!";
  EXPECT_EQ(Fill({"-I", incdir}, text).out, "found!");
  EXPECT_EQ(Fill({"--include", incdir}, text).out, "found!");
  EXPECT_EQ(Fill({"-I" + incdir}, text).out, "found!");
}

TEST_F(FillCliTest, WithoutIncludeOptionTheFileIsNotFound) {
  Write("incdir/only_in_incdir.txt", "found");
  Outcome r = Fill({}, "{include \"only_in_incdir.txt\"}!");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "{error}");
  EXPECT_EQ(r.err,
            "{include \"only_in_incdir.txt\"}!\r\n"
            "                             ^\r\n"
            "The file \"only_in_incdir.txt\" is not in the include path\r\n");
}

TEST_F(FillCliTest, DefineOptionSetsVariablesFromExpressions) {
  Outcome r = Fill({"-D", "x=2*3", "--define", "s=\"t\"", "-Dy=1"}, "{x}{s}{y}");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "6t1");
  EXPECT_EQ(r.err, "");
}

TEST_F(FillCliTest, DefinitionWithoutEqualsIsAUsageError) {
  Outcome r = Fill({"-D", "x"}, "{1}");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "quorvix fill: bad definition 'x' (expected NAME=EXPR)\n");
}

TEST_F(FillCliTest, DefinitionThatFailsIsAUsageError) {
  Outcome r = Fill({"-D", "x=1/0"}, "{1}");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "quorvix fill: -D x: Divide by zero\n");
}

TEST_F(FillCliTest, LfOptionConvertsOutputAndErrors) {
  Outcome r = Fill({"--lf"}, "a\r\nb\n{1/0}");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "a\nb\n");
  EXPECT_EQ(r.err, "Divide by zero in expression:\n1/0\n");
}

TEST_F(FillCliTest, SafeQuotesOption) {
  EXPECT_EQ(Fill({"--safe-quotes"}, "\"{1}\" {2}").out, "\"{1}\" 2");
  EXPECT_EQ(Fill({}, "\"{1}\" {2}").out, "\"1\" 2");
}

TEST_F(FillCliTest, FillErrorGoesToStandardErrorWithStatusOne) {
  Outcome r = Fill({}, "line1\n  {endif}\n");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "line1\r\n  {error}");
  EXPECT_EQ(r.err, "  {endif}\r\n        ^\r\nunbalanced endif\r\n");
}

TEST_F(FillCliTest, ErrorInAFileNamesTheFile) {
  const std::string file = Write("bad.txt", "ok\n{endif}\n");
  Outcome r = Fill({file});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "ok\r\n{error}");
  EXPECT_EQ(r.err, "in file:  " + file + "\r\n{endif}\r\n      ^\r\nunbalanced endif\r\n");
}

TEST_F(FillCliTest, LaterFilesAreFilledAfterAFailedOne) {
  const std::string bad = Write("bad.txt", "{1/0}");
  const std::string good = Write("good.txt", "good");
  Outcome r = Fill({bad, good});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "good");
  EXPECT_EQ(r.err, "Divide by zero in expression:\r\n1/0\r\n");
}

TEST_F(FillCliTest, UnreadableFileIsAUsageError) {
  Outcome r = Fill({"no_such_file.txt"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "quorvix fill: cannot read 'no_such_file.txt'\n");
}

TEST_F(FillCliTest, UnknownOptionIsAUsageError) {
  Outcome r = Fill({"--bogus"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, std::string("quorvix fill: unknown option '--bogus'\n") + kUsage);
}

TEST_F(FillCliTest, OptionWithoutItsValueIsAUsageError) {
  for (const char* option : {"-o", "-I", "-D"}) {
    Outcome r = Fill({option});
    EXPECT_EQ(r.status, 2) << option;
    EXPECT_EQ(r.err, std::string("quorvix fill: ") + option + " needs a value\n" + kUsage)
        << option;
  }
}

TEST_F(FillCliTest, UnwritableOutputIsAUsageError) {
  const std::string target = (dir_ / "missing_dir" / "out.txt").string();
  Outcome r = Fill({"-o", target}, "x");
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "quorvix fill: cannot write '" + target + "'\n");
}

// A replaced function entry is kept until the library unloads; freeing it
// there must not disturb the exit, when the output is still buffered.
TEST_F(FillCliTest, FunctionDefinedTwiceKeepsTheOutputAndExitsCleanly) {
  Outcome r =
      Fill({}, "{function cli_twice(){return 1}}{function cli_twice(){return 2}}{cli_twice()}");
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "2");
  EXPECT_EQ(r.err, "");
}

TEST_F(FillCliTest, HelpGoesToStandardOutput) {
  Outcome r = Fill({"--help"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, kUsage);
  EXPECT_EQ(r.err, "");
}

}  // namespace
