// Sources of a fill: included files are read anew at every inclusion except
// by themselves, and nesting of sources, fills, conditions and loop passes
// ends the fill with a message instead of exhausting memory or the stack.
#include <fstream>
#include <string>

#include "support/support.h"

namespace {

using qt::Repeat;

// The file that the built-in tt_rewrite_file() overwrites with "CHANGED".
std::string g_rewrite_path;
symtab* RewriteFile(sym_list*) {
  std::ofstream(g_rewrite_path, std::ios::binary | std::ios::trunc) << "CHANGED";
  return qt::New(qt::Scalar(1));
}

class SourcesTest : public TempDirTest {
 protected:
  qt::Filled Fill(const std::string& text) { return qt::Fill(filler_, text); }
  // Fills `text` with the loop pass limit set to `limit`.
  qt::Filled FillWithPassLimit(long long limit, const std::string& text) {
    long long& work = filler_.GetMathParser()->policy().limits.work;
    const long long saved = work;
    work = limit;
    qt::Filled r = Fill(text);
    work = saved;
    return r;
  }
  Filler filler_;
};

TEST_F(SourcesTest, FileIncludingItselfIsNotReadAgainButAnyOtherIs) {
  MathParser::AddFunc("tt_rewrite_file", RewriteFile, 0);
  g_rewrite_path = (dir_ / "self.txt").string();
  Write("self.txt",
        "{n = n + 1}<{n}>{if n == 1}{done = tt_rewrite_file()}{endif}"
        "{if n < 3}{include \"" +
            g_rewrite_path + "\"}{endif}");
  EXPECT_EQ(Fill("{n = 0}{include \"" + g_rewrite_path + "\"}").output, "<1><2><3>");
  g_rewrite_path = Write("other.txt", "original");
  const std::string include = "{include \"" + g_rewrite_path + "\"}";
  const qt::Filled r = Fill(include + "|{done = tt_rewrite_file()}" + include);
  EXPECT_EQ(r.output, "original|CHANGED");
  EXPECT_TRUE(r.errors_null);
}

TEST_F(SourcesTest, PathAddsADirectoryOnce) {
  Write("sub/found.txt", "found");
  std::vector<std::string>& path = FillerBase::IncludePath();
  const std::size_t before = path.size();
  const std::string dir = (dir_ / "sub").string();
  EXPECT_EQ(Fill("{for (i = 0; i < 3; i = i + 1)}{path \"" + dir +
                 "\"}{endloop}"
                 "{include \"found.txt\"}")
                .output,
            "found");
  EXPECT_EQ(path.size(), before + 1);
  path.resize(before);
}

TEST_F(SourcesTest, EndlessIncludeOrMacroStopsAtTheSourceLimit) {
  const std::string path = dir_.string() + "/forever.txt";
  const std::string text = "x{include \"" + path + "\"}";
  Write("forever.txt", text);
  qt::Filled r = Fill("{include \"" + path + "\"}");
  // The top-level text and 999 file levels below it; the next push fails.
  EXPECT_EQ(r.output, Repeat("x", 1000) + "{error}");
  EXPECT_EQ(r.errors, "in file:  " + path + "\r\n}" + text + "\r\n" +
                          std::string(text.size(), ' ') + "^\r\n" +
                          "sources nested too deeply (limit 1000)\r\n");
  r = Fill("{define r()}x{r()}{enddefine}{r()}");
  EXPECT_EQ(r.output, Repeat("x", 1000) + "{error}");
  EXPECT_EQ(r.errors, "}x{r()}{\r\n       ^\r\nsources nested too deeply (limit 1000)\r\n");
  r = Fill("ok{1+1}");  // the engine is still usable
  EXPECT_TRUE(r.errors_null);
  EXPECT_EQ(r.output, "ok2");
}

TEST_F(SourcesTest, WorkBelowTheLimitsIsFine) {
  const std::string path = Write("one.txt", "i");
  const struct {
    std::string text, output;
  } cases[] = {
      // 3000 includes in a row, each closed before the next.
      {"{for (k = 0; k < 3000; k = k + 1)}{include \"" + path + "\"}{endloop}", Repeat("i", 3000)},
      // Loop passes do not count as nesting.
      {"{define m()}.{enddefine}{n = 0}{while (n < 2500)}{n = n + 1}{m()}{endloop}{n}",
       Repeat(".", 2500) + "2500"},
      {"{function lim_sum(n){if n <= 0; return 0; endif; return n + lim_sum(n - 1)}}"
       "{lim_sum(60)}",
       "1830"},
      // Level 0 is the text outside any "if": 1,023 levels remain.
      {Repeat("{if 1}", 1023) + "x" + Repeat("{endif}", 1023) + "y", "xy"},
  };
  for (const auto& c : cases) {
    qt::Filled r = Fill(c.text);
    EXPECT_TRUE(r.errors_null) << c.text.substr(0, 80) << r.errors;
    EXPECT_EQ(r.output, c.output) << c.text.substr(0, 80);
  }
}

TEST_F(SourcesTest, FunctionRecursionWithoutEndEndsWithAMessage) {
  qt::Filled r = Fill("{function lim_inf(n){return lim_inf(n + 1)}}{lim_inf(1)}");
  // The innermost of 64 nested fills is refused and says why; every level
  // names the function on the way out.
  EXPECT_EQ(r.output, "{error}");
  EXPECT_EQ(r.errors, "fills nested too deeply (limit 64) in function lim_inf" +
                          Repeat(" in function lim_inf", 63) + " in expression:\r\nlim_inf(1)\r\n");
}

TEST_F(SourcesTest, LoopWithoutEndStopsAtThePassLimitWhichCountsPerFill) {
  qt::Filled r = FillWithPassLimit(5, "{i = 0}{while (1)}{i = i + 1}{i}{endloop}after");
  // Five repeats after the first pass, then the sixth is refused; the
  // report quotes the loop body's text, which begins behind the loop head.
  EXPECT_EQ(r.output, "123456{error}");
  EXPECT_EQ(r.errors,
            "}{i = i + 1}{i}{endloop}after\r\n                       ^\r\n"
            "work exceeds the limit (5 loop passes, includes, macro expansions and function "
            "calls)\r\n");
  const std::string text = "{foreach (v = {1,2,3,4})}{v}{endloop}";
  EXPECT_EQ(FillWithPassLimit(3, text).output, "1234");
  r = FillWithPassLimit(3, text);
  EXPECT_EQ(r.output, "1234");
  EXPECT_TRUE(r.errors_null);
}

TEST_F(SourcesTest, ConditionsBeyondTheStackSizeAreRefusedEvenInSwitchedOffText) {
  for (const std::string& text : {Repeat("{if 1}", 1030) + "x" + Repeat("{endif}", 1030),
                                  "{if 0}" + Repeat("{if 1}", 1029) + "{endif}"}) {
    qt::Filled r = Fill(text);
    EXPECT_EQ(r.output, "{error}");
    // The caret stands after the condition of the 1,024th "if".
    EXPECT_EQ(r.errors, text + "\r\n" + std::string(1023 * 6 + 5, ' ') +
                            "^\r\nconditions nested too deeply (limit 1024)\r\n");
  }
}

}  // namespace
