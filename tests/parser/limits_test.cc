// Deep or huge input ends with a value or with one of the parser's own limit
// messages, never with a crash. Run under the sanitizers too.
#include <gtest/gtest.h>

#include <string>

#include "quorvix/math_parser.h"
#include "quorvix/value_format.h"

namespace {

const std::string kBrackets = "error: brackets nested too deeply (limit 200)";
const std::string kDepth = "error: expression nested too deeply (limit 1000)";

std::string g_message;
void Capture(const char* m) { g_message = m ? m : ""; }

std::string Rep(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

class LimitsTest : public testing::Test {
 protected:
  void SetUp() override { saved_ = MathParser::err_fun, MathParser::SetErrorFunction(Capture); }
  void TearDown() override { MathParser::SetErrorFunction(saved_); }

  // The value as text, or "error: <message>".
  std::string Eval(const std::string& text) {
    g_message.clear();
    symtab* v = parser_.Evaluate(text.c_str());
    if (v == nullptr) return "error: " + g_message;
    std::string out;
    quorvix::FormatValue(*v, quorvix::ValueFormat{}, out);
    v->Delete();
    return out;
  }

  MathParser parser_;
  ErrorFunc saved_ = nullptr;
};

TEST_F(LimitsTest, NestingAndChainLimits) {
  const int big = 100000;
  ASSERT_EQ(Eval("a={0}"), "");
  ASSERT_EQ(Eval("x=1"), "");
  const struct {
    std::string text, want;
  } rows[] = {
      {Rep("(", 200) + "7" + Rep(")", 200), "7"},
      {Rep("a[", 150) + "0" + Rep("]", 150), "0"},
      {"1" + Rep("+1", 999), "1000"},
      {Rep("!", 999) + "0", "1"},
      {"mag({1" + Rep(",1", 9999) + "})", "100"},
      {"@derivative(x" + Rep("*x", 899) + ")", "900"},
      {"atan2(1" + Rep(",1", 9999) + ")", "error: Invalid number of arguments"},
      {Rep("(", big) + "1" + Rep(")", big), kBrackets},
      {Rep("(", big), kBrackets},
      {Rep("-(", big) + "1" + Rep(")", big), kBrackets},
      {Rep("{", big) + "1" + Rep("}", big), kBrackets},
      {Rep("a[", big) + "0" + Rep("]", big), kBrackets},
      {Rep("abs(", big) + "-1" + Rep(")", big), kBrackets},
      {Rep("1?", big) + "1" + Rep(":0", big), kBrackets},
      {Rep("!", 1000) + "0", kDepth},
      {"1" + Rep("+1", 1000), kDepth},
      {"1" + Rep("^1", big), kDepth},
      {Rep("!", big) + "x", kDepth},
      {Rep("- ", big) + "x", kDepth},
      {"x" + Rep("'", big), kDepth},
      {Rep("0?0:", big) + "5", kDepth},
  };
  for (const auto& r : rows) EXPECT_EQ(Eval(r.text), r.want) << r.text.substr(0, 40);
  EXPECT_EQ(Eval(Rep("(", 201) + "7" + Rep(")", 201)), kBrackets);
  EXPECT_EQ(parser_.ErrorPosition(), 200);
}

// A flat chain of one left-grouping operator is built without recursion;
// the result is either the value or the depth limit.
TEST_F(LimitsTest, TwoHundredThousandTermSum) {
  std::string got = Eval("1" + Rep("+1", 199999));
  EXPECT_TRUE(got == "200000" || got == kDepth) << got;
}

TEST_F(LimitsTest, LongCommaListAtTopLevel) {
  EXPECT_EQ(Eval("n=0"), "");
  EXPECT_EQ(Eval("n++" + Rep(",n++", 99999)).rfind("error", 0), std::string::npos);
  EXPECT_EQ(Eval("n"), "100000");
}

TEST_F(LimitsTest, MegabyteStringLiteral) {
  symtab* v = parser_.Evaluate(("\"" + std::string(1 << 20, 'x') + "\"").c_str());
  ASSERT_NE(v, nullptr) << g_message;
  ASSERT_EQ(v->type, SYM_STRINGS);
  EXPECT_EQ(std::string(v->str_list[0]).size(), 1u << 20);
  v->Delete();
}

TEST_F(LimitsTest, PrintingADeepExpressionGivesTextThatReadsBack) {
  std::string printed = Eval("@printable(" + Rep("1+(", 199) + "1" + Rep(")", 199) + ")");
  ASSERT_EQ(printed.rfind("error", 0), std::string::npos) << printed;
  EXPECT_EQ(Eval(printed), "200");
}

}  // namespace
