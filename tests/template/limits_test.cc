// Limits of our own: nesting of sources, of fills and of conditions ends
// the fill with a message instead of exhausting memory or the stack.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "quorvix/filler.h"

namespace {

namespace fs = std::filesystem;

struct Filled {
  std::string output;
  std::string errors;
};

Filled FillText(Filler& filler, const std::string& text) {
  char* errors = nullptr;
  char* out = filler.Fill(text.c_str(), &errors);
  Filled r{out ? out : "", errors ? errors : ""};
  delete[] out;
  delete[] errors;
  return r;
}

std::string Repeat(const std::string& s, int n) {
  std::string r;
  for (int i = 0; i < n; ++i) r += s;
  return r;
}

class TemplateLimitsTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "quorvix_tlimits_XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = fs::canonical(pattern);
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }
  std::string Write(const std::string& name, const std::string& text) {
    const fs::path path = dir_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  fs::path dir_;
  Filler filler_;
};

TEST_F(TemplateLimitsTest, IncludeWithoutEndStopsAtTheSourceLimit) {
  const std::string path = dir_.string() + "/forever.txt";
  const std::string text = "x{include \"" + path + "\"}";
  Write("forever.txt", text);
  Filled r = FillText(filler_, "{include \"" + path + "\"}");
  // The top-level text and 999 file levels below it; the next push fails.
  EXPECT_EQ(r.output, Repeat("x", 1000) + "{error}");
  EXPECT_EQ(r.errors, "in file:  " + path + "\r\n}" + text + "\r\n" +
                          std::string(text.size(), ' ') + "^\r\n" +
                          "sources nested too deeply (limit 1000)\r\n");
}

TEST_F(TemplateLimitsTest, MacroCallingItselfStopsAtTheSourceLimit) {
  Filled r = FillText(filler_, "{define r()}x{r()}{enddefine}{r()}");
  EXPECT_EQ(r.output, Repeat("x", 1000) + "{error}");
  EXPECT_EQ(r.errors, "}x{r()}{\r\n       ^\r\nsources nested too deeply (limit 1000)\r\n");
}

TEST_F(TemplateLimitsTest, SourcesClosedOneAfterAnotherDoNotCount) {
  // 3000 includes in a row, each closed before the next.
  const std::string path = Write("one.txt", "i");
  Filled r =
      FillText(filler_, "{for (k = 0; k < 3000; k = k + 1)}{include \"" + path + "\"}{endloop}");
  EXPECT_EQ(r.errors, "");
  EXPECT_EQ(r.output, Repeat("i", 3000));
}

TEST_F(TemplateLimitsTest, LoopPassesDoNotCount) {
  Filled r = FillText(
      filler_, "{define m()}.{enddefine}{n = 0}{while (n < 2500)}{n = n + 1}{m()}{endloop}{n}");
  EXPECT_EQ(r.errors, "");
  EXPECT_EQ(r.output, Repeat(".", 2500) + "2500");
}

TEST_F(TemplateLimitsTest, FunctionRecursionWithoutEndEndsWithAMessage) {
  Filled r = FillText(filler_, "{function lim_inf(n){return lim_inf(n + 1)}}{lim_inf(1)}");
  // The innermost of 64 nested fills is refused and says why; every level
  // names the function on the way out.
  EXPECT_EQ(r.output, "{error}");
  EXPECT_EQ(r.errors, "fills nested too deeply (limit 64) in function lim_inf" +
                          Repeat(" in function lim_inf", 63) +
                          " in expression:\r\nlim_inf(1)\r\n");
}

TEST_F(TemplateLimitsTest, FunctionRecursionBelowTheLimitWorks) {
  Filled r = FillText(filler_,
                      "{function lim_sum(n){if n <= 0; return 0; endif; return n + lim_sum(n - 1)}}"
                      "{lim_sum(60)}");
  EXPECT_EQ(r.errors, "");
  EXPECT_EQ(r.output, "1830");
}

TEST_F(TemplateLimitsTest, LoopWithoutEndStopsAtThePassLimit) {
  const long long saved = FillerBase::LoopPassLimit();
  FillerBase::SetLoopPassLimit(5);
  Filled r = FillText(filler_, "{i = 0}{while (1)}{i = i + 1}{i}{endloop}after");
  FillerBase::SetLoopPassLimit(saved);
  // Five repeats after the first pass, then the sixth is refused; the
  // report quotes the loop body's text, which begins behind the loop head.
  EXPECT_EQ(r.output, "123456{error}");
  EXPECT_EQ(r.errors,
            "}{i = i + 1}{i}{endloop}after\r\n"
            "                       ^\r\n"
            "loop passes exceed the limit (5)\r\n");
}

TEST_F(TemplateLimitsTest, PassesCountPerFill) {
  const long long saved = FillerBase::LoopPassLimit();
  FillerBase::SetLoopPassLimit(3);
  Filled first = FillText(filler_, "{foreach (v = {1,2,3,4})}{v}{endloop}");
  Filled second = FillText(filler_, "{foreach (v = {1,2,3,4})}{v}{endloop}");
  FillerBase::SetLoopPassLimit(saved);
  EXPECT_EQ(first.output, "1234");
  EXPECT_EQ(second.output, "1234");
  EXPECT_EQ(second.errors, "");
}

TEST_F(TemplateLimitsTest, EngineIsUsableAfterHittingALimit) {
  FillText(filler_, "{define r()}{r()}{enddefine}{r()}");
  Filled r = FillText(filler_, "ok{1+1}");
  EXPECT_EQ(r.errors, "");
  EXPECT_EQ(r.output, "ok2");
}

TEST_F(TemplateLimitsTest, ConditionsUpToTheStackSizeAreFine) {
  // Level 0 is the text outside any "if": 1,023 levels remain.
  Filled r = FillText(filler_, Repeat("{if 1}", 1023) + "x" + Repeat("{endif}", 1023) + "y");
  EXPECT_EQ(r.errors, "");
  EXPECT_EQ(r.output, "xy");
}

TEST_F(TemplateLimitsTest, ConditionsBeyondTheStackSizeAreRefused) {
  const std::string text = Repeat("{if 1}", 1030) + "x" + Repeat("{endif}", 1030);
  Filled r = FillText(filler_, text);
  EXPECT_EQ(r.output, "{error}");
  // The caret stands after the condition of the 1,024th "if".
  EXPECT_EQ(r.errors, text + "\r\n" + std::string(1023 * 6 + 5, ' ') +
                          "^\r\nconditions nested too deeply (limit 1024)\r\n");
}

TEST_F(TemplateLimitsTest, ConditionsInSwitchedOffTextAreCountedToo) {
  const std::string text = "{if 0}" + Repeat("{if 1}", 1029) + "{endif}";
  Filled r = FillText(filler_, text);
  EXPECT_EQ(r.output, "{error}");
  EXPECT_EQ(r.errors, text + "\r\n" + std::string(1023 * 6 + 5, ' ') +
                          "^\r\nconditions nested too deeply (limit 1024)\r\n");
}

}  // namespace
