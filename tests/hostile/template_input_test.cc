// Templates written to break the engine. Each row is a fault once found,
// with the output and error text that the language's rules give.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "support/support.h"

namespace {

using namespace std::string_view_literals;

struct HostileTemplate {
  const char* name;
  // Filled as it stands (a literal: the fill must not write into it); null
  // fills `file` with FillFile instead.
  const char* text;
  const char* output;
  const char* errors;         // "{dir}" stands for the temporary directory
  long long work = 0;         // the work budget of the fill; 0: the default
  double seconds = 0;         // the time limit; 0: none
  std::size_t expansion = 0;  // the macro expansion limit; 0: the default
  bool errors_part = false;   // `errors` need only stand somewhere in the text
  // Written into the temporary directory first, or made a FIFO when
  // `file_text` is empty.
  const char* file = nullptr;
  std::string_view file_text = {};
};

const HostileTemplate kCases[] = {
    // A text that ends inside a loop goes on as if "endloop" stood there.
    // Here "exit" ends the body on every pass until the work budget is
    // spent; the report once read outside the text, and the loop head's '}'
    // was copied as text.
    {.name = "exit_in_a_loop_at_the_pass_limit",
     .text = "{for(i=0;i<11;i=i+1)}{endloop}{while(1)}{exit}{endloop}",
     .output = "{error}",
     .errors = "improperly terminated loop\r\n\r\n^\r\n"
               "work exceeds the limit (10 loop passes, includes, macro expansions and "
               "function calls)\r\n",
     .work = 10},
    {.name = "exit_in_a_loop_body",
     .text = "AB{while(1)}C{exit}{endloop}D",
     .output = "ABCCCCCC{error}",
     .errors = "improperly terminated loop\r\nimproperly terminated loop\r\n"
               "improperly terminated loop\r\nimproperly terminated loop\r\n"
               "improperly terminated loop\r\nimproperly terminated loop\r\n\r\n^\r\n"
               "work exceeds the limit (5 loop passes, includes, macro expansions and "
               "function calls)\r\n",
     .work = 5},
    {.name = "missing_endloop_after_statements_in_the_loop_head",
     .text = "A{for(i=0;i<3;i=i+1); x = i}B{x}",
     .output = "AB0B1B2",
     .errors = "improperly terminated loop\r\nimproperly terminated loop\r\n"
               "improperly terminated loop\r\n"},
    // The error text of such a loop is cut instead of growing without end.
    {.name = "error_text_is_cut",
     .text = "{while(1)}{exit}{endloop}",
     .output = "{error}",
     .errors = "improperly terminated loop\r\nimpr\r\n... cut at 1048576 bytes\r\n",
     .work = 100000,
     .errors_part = true},
    {.name = "length_modifier_before_s",
     .text = "{\"a\", %ls}",
     .output = "{error}",
     .errors = "{\"a\", %ls}\r\n        ^\r\nillegal format specifier 's'\r\n"},
    {.name = "length_modifier_in_the_format_statement",
     .text = "{format %ls}",
     .output = "{error}",
     .errors = "{format %ls}\r\n          ^\r\nillegal format specifier 's'\r\n"},
    {.name = "format_cut_off_at_the_end",
     .text = "{format %",
     .output = "{error}",
     .errors = "{format %\r\n         ^\r\nillegal format specifier ''\r\n"},
    {.name = "self_include_from_a_macro_restarts_the_file",
     .text = "{define m()}{include \"m.txt\"}{enddefine}{n = 0}{m()}",
     .output = "<1><2><3>",
     .errors = "",
     .file = "m.txt",
     .file_text = "{n = n + 1}<{n}>{if n < 3}{m()}{endif}"},
    {.name = "nul_byte_in_an_included_file",
     .text = "A{include \"nul.txt\"}B",
     .output = "A{error}",
     .errors = "in file:  {dir}/nul.txt\r\n1{2}\r\n    ^\r\nNUL byte in template\r\n",
     .file = "nul.txt",
     .file_text = "x\n1{2}\0rest"sv},
    {.name = "nul_byte_in_the_file_filled",
     .text = nullptr,
     .output = "{error}",
     .errors = "in file:  {dir}/nul_fill.txt\r\n}ok\r\n   ^\r\nNUL byte in template\r\n",
     .file = "nul_fill.txt",
     .file_text = "ok\0{1}"sv},
    // Elements are data: the first one is assigned as the others are.
    {.name = "foreach_element_with_quotes_is_not_run",
     .text = "{y = 0}{foreach (s = {\"a\\\" + y=5 + \\\"\", \"b\"})}[{s}]{endloop}{y}",
     .output = "[a\" + y=5 + \"][b]0",
     .errors = ""},
    {.name = "foreach_element_ending_in_a_backslash",
     .text = "{foreach (s = {\"x\\\\\", \"y\"})}[{s}]{endloop}",
     .output = "[x\\][y]",
     .errors = ""},
    // The condition without parentheses ends at the line end: found
    // without writing into the (read-only) text.
    {.name = "read_only_text",
     .text = "{x = 1}{if x == 1}yes{endif}\nnext\n",
     .output = "yes\r\nnext\r\n",
     .errors = ""},
    // Reading would block; the file is refused like a missing one.
    {.name = "include_of_a_fifo",
     .text = "{include \"fifo\"}",
     .output = "{error}",
     .errors = "{include \"fifo\"}\r\n               ^\r\n"
               "The file \"fifo\" is not in the include path\r\n",
     .file = "fifo"},
    // Work that branches stays under the one budget: two self-includes
    // behind a counter, and recursion that calls itself twice.
    {.name = "double_self_include",
     .text = "{d = 0}{include \"twice.txt\"}",
     .output = "{error}",
     .errors = "^\r\nwork exceeds the limit (1000 loop passes, includes, macro expansions and "
               "function calls)\r\n",
     .work = 1000,
     .errors_part = true,
     .file = "twice.txt",
     .file_text = "{d = d + 1}{if d < 60}{include \"twice.txt\"}{include \"twice.txt\"}{endif}"
                  "{d = d - 1}"},
    {.name = "branching_recursion",
     .text = "{function h(n){if n <= 0; return 1; endif; return h(n-1) + h(n-1)}}{h(60)}",
     .output = "",
     .errors = "work exceeds the limit (1000 loop passes, includes, macro expansions and "
               "function calls) in function h",
     .work = 1000,
     .errors_part = true},
    {.name = "time_limit",
     .text = "{while (1)}{endloop}",
     .output = "{error}",
     .errors = "}{endloop}\r\n         ^\r\ntime limit exceeded (0.2 s)\r\n",
     .seconds = 0.2},
    // Each macro doubles its argument on the way to the next.
    {.name = "doubling_macros",
     .text =
         "{define a(x)}{x}{enddefine}{define b(x)}{a(x x)}{enddefine}{define c(x)}{b(x "
         "x)}{enddefine}{define d(x)}{c(x x)}{enddefine}{define e(x)}{d(x x)}{enddefine}{define "
         "f(x)}{e(x x)}{enddefine}{define g(x)}{f(x x)}{enddefine}{define h(x)}{g(x "
         "x)}{enddefine}{define i(x)}{h(x x)}{enddefine}{define j(x)}{i(x x)}{enddefine}{define "
         "k(x)}{j(x x)}{enddefine}{define l(x)}{k(x x)}{enddefine}{l(ab)}",
     .output = "{error}",
     .errors = "macro expansion too large (limit 1000 bytes)\r\n",
     .expansion = 1000,
     .errors_part = true},
};

std::string Expand(std::string text, const std::string& dir) {
  for (std::size_t at = 0; (at = text.find("{dir}", at)) != std::string::npos; at += dir.size())
    text.replace(at, 5, dir);
  return text;
}

// Included names are relative: the fills run in the temporary directory.
class HostileTemplateTest : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    saved_ = std::filesystem::current_path();
    std::filesystem::current_path(dir_);
  }
  void TearDown() override {
    std::filesystem::current_path(saved_);
    TempDirTest::TearDown();
  }
  void RunRows();
  std::filesystem::path saved_;
};

TEST_F(HostileTemplateTest, RowsGiveWhatTheRulesSay) {
  qt::RunOnSmallStack([&] { RunRows(); });
}

void HostileTemplateTest::RunRows() {
  for (const HostileTemplate& c : kCases) {
    SCOPED_TRACE(c.name);
    std::string path;
    if (c.file != nullptr) {
      path = (dir_ / c.file).string();
      if (c.file_text.empty())
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
      else
        Write(c.file, std::string(c.file_text));
    }
    Filler filler;
    quorvix::Limits& limits = filler.GetMathParser()->policy().limits;
    if (c.work != 0) limits.work = c.work;
    if (c.expansion != 0) limits.expansion_bytes = c.expansion;
    limits.seconds = c.seconds;
    char* errors = nullptr;
    char* out =
        c.text != nullptr ? filler.Fill(c.text, &errors) : filler.FillFile(path.c_str(), &errors);
    EXPECT_EQ(std::string(out ? out : "<null>"), c.output);
    const std::string expected = Expand(c.errors, dir_.string());
    const std::string got = errors ? errors : "";
    if (c.errors_part)
      EXPECT_NE(got.find(expected), std::string::npos) << got;
    else
      EXPECT_EQ(got, expected);
    delete[] out;
    delete[] errors;
  }
}

}  // namespace
