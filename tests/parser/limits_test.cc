// Deep or huge input ends with a value or with one of the parser's own limit
// messages, never with a crash. Run under the sanitizers too.
#include <string>

#include "support/support.h"

namespace {

using qt::Repeat;
using LimitsTest = qt::ParserTest;

const std::string kBrackets = "error: brackets nested too deeply (limit 200)";
const std::string kDepth = "error: expression nested too deeply (limit 1000)";

TEST_F(LimitsTest, NestingAndChainLimits) {
  const int big = 100000;
  ASSERT_EQ(Eval("a={0}"), "");
  ASSERT_EQ(Eval("x=1"), "");
  const struct {
    std::string text, want;
  } rows[] = {
      {Repeat("(", 200) + "7" + Repeat(")", 200), "7"},
      {Repeat("a[", 150) + "0" + Repeat("]", 150), "0"},
      {"1" + Repeat("+1", 999), "1000"},
      {Repeat("!", 999) + "0", "1"},
      {"mag({1" + Repeat(",1", 9999) + "})", "100"},
      {"@derivative(x" + Repeat("*x", 899) + ")", "900"},
      {"atan2(1" + Repeat(",1", 9999) + ")", "error: Invalid number of arguments"},
      {Repeat("(", big) + "1" + Repeat(")", big), kBrackets},
      {Repeat("(", big), kBrackets},
      {Repeat("-(", big) + "1" + Repeat(")", big), kBrackets},
      {Repeat("{", big) + "1" + Repeat("}", big), kBrackets},
      {Repeat("a[", big) + "0" + Repeat("]", big), kBrackets},
      {Repeat("abs(", big) + "-1" + Repeat(")", big), kBrackets},
      {Repeat("1?", big) + "1" + Repeat(":0", big), kBrackets},
      {Repeat("!", 1000) + "0", kDepth},
      {"1" + Repeat("+1", 1000), kDepth},
      {"1" + Repeat("^1", big), kDepth},
      {Repeat("!", big) + "x", kDepth},
      {Repeat("- ", big) + "x", kDepth},
      {"x" + Repeat("'", big), kDepth},
      {Repeat("0?0:", big) + "5", kDepth},
  };
  for (const auto& r : rows) EXPECT_EQ(Eval(r.text), r.want) << r.text.substr(0, 40);
  EXPECT_EQ(Eval(Repeat("(", 201) + "7" + Repeat(")", 201)), kBrackets);
  EXPECT_EQ(parser_.ErrorPosition(), 200);
}

// A flat chain of one left-grouping operator is built without recursion;
// the result is either the value or the depth limit.
TEST_F(LimitsTest, TwoHundredThousandTermSum) {
  std::string got = Eval("1" + Repeat("+1", 199999));
  EXPECT_TRUE(got == "200000" || got == kDepth) << got;
}

TEST_F(LimitsTest, LongCommaListAtTopLevel) {
  EXPECT_EQ(Eval("n=0"), "");
  EXPECT_EQ(Eval("n++" + Repeat(",n++", 99999)).rfind("error", 0), std::string::npos);
  EXPECT_EQ(Eval("n"), "100000");
}

TEST_F(LimitsTest, MegabyteStringLiteral) {
  symtab* v = parser_.Evaluate(("\"" + std::string(1 << 20, 'x') + "\"").c_str());
  ASSERT_NE(v, nullptr) << errors_.first;
  EXPECT_EQ(std::string(v->str_list[0]).size(), 1u << 20);
  v->Delete();
}

TEST_F(LimitsTest, PrintingADeepExpressionGivesTextThatReadsBack) {
  std::string printed = Eval("@printable(" + Repeat("1+(", 199) + "1" + Repeat(")", 199) + ")");
  ASSERT_EQ(printed.rfind("error", 0), std::string::npos) << printed;
  EXPECT_EQ(Eval(printed), "200");
}

}  // namespace
