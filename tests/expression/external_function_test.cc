// External functions against small programs, well-behaved and broken, and
// shared-library functions against the sample extension.
#include <sys/wait.h>

#include <cerrno>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/message_service.h"
#include "support/support.h"
#include "util/process_timeout.h"

namespace quorvix {
namespace {

class CollectMessages : public MessageServiceBase {
 public:
  std::ostream& Stream() override { return text; }
  std::ostringstream text;
};

class ExternalTest : public qt::ParserTest {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.path().empty());
    parser_.policy().messages = &messages_;
    MathParser::p_error_os = &error_stream_;
  }
  void TearDown() override {
    MathParser::p_error_os = nullptr;
    SetProcessTimeout(0);
    // Every started program has been reaped.
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }
  // Registers a shell script as the external function `name`. Bash, since
  // the descriptors it is given may have two digits.
  void Script(const char* name, const std::string& body) {
    const std::string path = dir_.Write(name, "#!/bin/bash\n" + body + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    MathParser::AddExternalFunc(name, path.c_str(), 1);
  }
  std::string Numbers(const std::string& text) {
    errors_.Clear();
    std::unique_ptr<symtab> v(parser_.Evaluate(text.c_str()));
    if (v == nullptr) return "error: " + errors_.first;
    std::string out = std::to_string(v->rows) + "x" + std::to_string(v->cols);
    for (int i = 0; i < v->NumElements(); ++i) {
      std::unique_ptr<symtab> e(v->Element(i));
      out += " " + qt::Text(*e);
    }
    return out;
  }

  qt::TempDir dir_;
  CollectMessages messages_;
  std::ostringstream error_stream_;
};

TEST_F(ExternalTest, SendsTheRequestLinesAndReadsTheReplyKinds) {
  // The request comes back as one line, its line ends shown as '|'.
  Script("echo_request", R"sh(printf '3 %s\r\n' "$(tr '\n' '|' <&$1)" >&$2)sh");
  EXPECT_EQ(Eval("echo_request(2, \"x\")"), "1|1|0|1|2.000000000e+00|3|x|0|");
  EXPECT_EQ(Eval("echo_request({0.5, -1}, \"\")"),
            "1|1|0|2|5.000000000e-01|-1.000000000e+00|3||0|");
  Script("talker", R"sh(printf '1 5 hello1 3 abc0 2 1.5 -2e1' >&$2)sh");
  EXPECT_EQ(Numbers("talker(1)"), "2x1 1.5 -20");
  EXPECT_EQ(messages_.text.str(), "hello\nabc\n");
  Script("silent_string", R"sh(printf '3' >&$2)sh");
  EXPECT_EQ(Eval("silent_string(1)"), "");
}

TEST_F(ExternalTest, AProgramMayTalkBeforeItReadsALargeRequest) {
  // Both pipes fill up unless the request is sent while replies are read;
  // the time-out turns a deadlock into a failure instead of a hang.
  SetProcessTimeout(30);
  Script("chatty",
         "i=0; while [ $i -lt 8000 ]; do printf '1 8 message.' >&$2; i=$((i+1)); done; "
         "cat <&$1 >/dev/null; printf '0 1 5' >&$2");
  EXPECT_EQ(Numbers("chatty(1:100000:1)"), "1x1 5");
  EXPECT_TRUE(messages_.text.str() == qt::Repeat("message.\n", 8000));
}

TEST_F(ExternalTest, BrokenProgramsFailWithTheTransportText) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"exit 3", "IPC read failed"},
      {"kill -SEGV $$", "IPC read failed"},
      {"printf '0 5 1 2' >&$2", "IPC read failed"},
      {"printf '0 3 1 x 2' >&$2", "IPC read failed"},
      {"printf '0 1 %01100d' 7 >&$2", "IPC read failed"},
      {"printf '0 999999999999999999999999999999' >&$2", "IPC allocation failed"},
      {"printf '1 99999999999999 x' >&$2", "IPC allocation failed"},
      {"printf '1 50 short' >&$2", "IPC read failed"},
      {"printf '2 9 no values' >&$2", "no values"},
      {"printf '7 ' >&$2", "IPC bad header"},
      {"printf 'garbage' >&$2", "IPC bad header"},
      {"printf '0x 1' >&$2", "IPC bad header"},
  };
  for (const auto& [body, message] : cases) {
    // Each takes the whole request first, so what fails is the reply.
    Script("broken", "cat <&$1 >/dev/null; " + body);
    EXPECT_EQ(Eval("broken(1)"), "error: " + message) << body;
  }
  EXPECT_EQ(error_stream_.str(), "IPC bad header\nIPC bad header\nIPC bad header\n");
}

TEST_F(ExternalTest, AProgramThatStopsReadingIsAWriteFailureNotASignal) {
  Script("deaf", "eval \"exec $1<&-\"; sleep 0.2");
  EXPECT_EQ(Eval("deaf(1:200000:1)"), "error: IPC write failed");
  MathParser::AddExternalFunc("missing", (dir_.path() / "no-such-program").c_str(), 1);
  EXPECT_EQ(Eval("missing(1)"), "error: IPC child failed exec");
}

TEST_F(ExternalTest, TheTimeOutKillsTheProgramAndTheShellCommand) {
  Script("sleeper", "sleep 5");
  SetProcessTimeout(0.2);
  EXPECT_EQ(Eval("sleeper(1)"),
            "error: " + (dir_.path() / "sleeper").string() + " timed out after 0.2 s");
  EXPECT_EQ(Eval("system(\"sleep 5\")"), "error: sleep 5 timed out after 0.2 s");
}

TEST_F(ExternalTest, ArgumentsAreCheckedBeforeTheProgramStarts) {
  Script("never", "touch \"$0.ran\"");
  symtab m = qt::Array(2, 2, {1, 2, 3, 4});
  m.SetName("m");
  parser_.AddVariable(&m);
  EXPECT_EQ(Eval("never()"), "error: Invalid number of arguments");
  EXPECT_EQ(Eval("never(1, m)"), "error: Argument 1 is an invalid type");
  EXPECT_EQ(Eval("never({\"a\", \"b\"})"), "error: Argument 0 is an invalid type");
  EXPECT_EQ(Eval("extern(\"never\", 1, 2, m)"), "error: Argument 3 is an invalid type");
  EXPECT_EQ(Eval("extern(1)"), "error: Expected function name");
  EXPECT_EQ(Eval("extern(\"nowhere\", 1)"), "error: extern: no external function named nowhere");
  parser_.policy().restricted = true;
  EXPECT_EQ(Eval("never(1)"), "error: never is not allowed in restricted mode");
  EXPECT_EQ(Eval("extern(\"never\", 1)"), "error: extern is not allowed in restricted mode");
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / "never.ran"));
}

TEST_F(ExternalTest, TheShippedExampleThroughAnAliasAndAsARegisteredFunction) {
  pk_registerexternalfunction("Twice", QUORVIX_EXTERN_EXAMPLES "/twice.py");
  EXPECT_EQ(Numbers("extern(\"Twice\", 1, {2, 3})"), "3x1 2 4 6");
  EXPECT_EQ(Numbers("twice(\"ab\", 0.25)"), "1x1 0.5");
  EXPECT_EQ(messages_.text.str(), "twice: strings are left out\n");
  EXPECT_EQ(Eval("twice(\"ab\", \"c\")"),
            "abab"
            "cc");
  EXPECT_EQ(Eval("extern(\"Twice\")"), "error: twice: nothing to double");
  // Not an alias of that spelling, but a registered function of that name.
  EXPECT_EQ(Numbers("extern(\"twice\", 1)"), "1x1 2");
}

TEST_F(ExternalTest, SharedLibraryFunctions) {
  MathParser::AddExtDLLFunc("libsum", QUORVIX_SAMPLE_EXTENSION, "sample_sum", 1, 2);
  MathParser::AddExtDLLFunc("greet", QUORVIX_SAMPLE_EXTENSION, "sample_greet", 1, 0);
  MathParser::AddExtDLLFunc("nosuch", QUORVIX_SAMPLE_EXTENSION, "sample_nosuch", 1, 0);
  MathParser::AddExtDLLFunc("nolib", "/nonexistent/lib.so", "f", 1, 0);
  EXPECT_EQ(Eval("libsum(1, {2, 3})"), "12");
  EXPECT_EQ(Eval("greet(\"bob\")"), "hello, bob");
  EXPECT_EQ(Eval("libsum()"), "error: libsum: no numbers to add");
  EXPECT_EQ(Eval("greet(1)"), "error: library function greet failed");
  EXPECT_EQ(Eval("nosuch(1)"),
            "error: entry point sample_nosuch not found in " QUORVIX_SAMPLE_EXTENSION);
  EXPECT_EQ(Eval("nolib(1)"),
            "error: could not load library /nonexistent/lib.so: /nonexistent/lib.so: cannot open "
            "shared object file: No such file or directory");
  parser_.policy().restricted = true;
  EXPECT_EQ(Eval("greet(\"bob\")"), "error: greet is not allowed in restricted mode");
}

}  // namespace
}  // namespace quorvix
