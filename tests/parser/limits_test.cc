// Deep or huge input ends with a value or with one of the parser's own limit
// messages, never with a crash. Run under the sanitizers too.
#include <gtest/gtest.h>

#include <string>

#include "quorvix/math_parser.h"
#include "template/value_format.h"

namespace {

constexpr const char* kBrackets = "brackets nested too deeply (limit 200)";
constexpr const char* kDepth = "expression nested too deeply (limit 1000)";

std::string g_message;
void Capture(const char* m) { g_message = m ? m : ""; }

std::string Repeat(const std::string& s, int n) {
  std::string out;
  out.reserve(s.size() * static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

class LimitsTest : public testing::Test {
 protected:
  void SetUp() override {
    saved_ = MathParser::err_fun;
    MathParser::SetErrorFunction(Capture);
  }
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

TEST_F(LimitsTest, ParenthesesUpToTheLimitAreFine) {
  EXPECT_EQ(Eval(Repeat("(", 200) + "7" + Repeat(")", 200)), "7");
}

TEST_F(LimitsTest, ParenthesesBeyondTheLimitAreRefused) {
  EXPECT_EQ(Eval(Repeat("(", 201) + "7" + Repeat(")", 201)), std::string("error: ") + kBrackets);
  EXPECT_EQ(parser_.ErrorPosition(), 200);
}

TEST_F(LimitsTest, HundredThousandNestedParentheses) {
  EXPECT_EQ(Eval(Repeat("(", 100000) + "1" + Repeat(")", 100000)),
            std::string("error: ") + kBrackets);
}

TEST_F(LimitsTest, HundredThousandUnclosedParentheses) {
  EXPECT_EQ(Eval(Repeat("(", 100000)), std::string("error: ") + kBrackets);
}

TEST_F(LimitsTest, NestedNegationsInParentheses) {
  EXPECT_EQ(Eval(Repeat("-(", 100000) + "1" + Repeat(")", 100000)),
            std::string("error: ") + kBrackets);
}

TEST_F(LimitsTest, NestedCurlyBraces) {
  EXPECT_EQ(Eval(Repeat("{", 100000) + "1" + Repeat("}", 100000)),
            std::string("error: ") + kBrackets);
}

TEST_F(LimitsTest, NestedSubscripts) {
  EXPECT_EQ(Eval("a={0}"), "");
  EXPECT_EQ(Eval(Repeat("a[", 150) + "0" + Repeat("]", 150)), "0");
  EXPECT_EQ(Eval(Repeat("a[", 100000) + "0" + Repeat("]", 100000)),
            std::string("error: ") + kBrackets);
}

TEST_F(LimitsTest, NestedFunctionCalls) {
  EXPECT_EQ(Eval(Repeat("abs(", 100000) + "-1" + Repeat(")", 100000)),
            std::string("error: ") + kBrackets);
}

TEST_F(LimitsTest, NestedConditionalsInTheMiddleOperand) {
  EXPECT_EQ(Eval(Repeat("1?", 100000) + "1" + Repeat(":0", 100000)),
            std::string("error: ") + kBrackets);
}

// A flat chain of one left-grouping operator is built without recursion;
// the result is either the value or the depth limit.
TEST_F(LimitsTest, TwoHundredThousandTermSum) {
  std::string text = "1" + Repeat("+1", 199999);
  std::string got = Eval(text);
  EXPECT_TRUE(got == "200000" || got == std::string("error: ") + kDepth) << got;
}

TEST_F(LimitsTest, ExpressionUpToTheDepthLimitIsFine) {
  EXPECT_EQ(Eval("1" + Repeat("+1", 999)), "1000");
  EXPECT_EQ(Eval(Repeat("!", 999) + "0"), "1");
}

TEST_F(LimitsTest, ExpressionBeyondTheDepthLimitIsRefused) {
  EXPECT_EQ(Eval(Repeat("!", 1000) + "0"), std::string("error: ") + kDepth);
  EXPECT_EQ(Eval("1" + Repeat("+1", 1000)), std::string("error: ") + kDepth);
}

TEST_F(LimitsTest, LongPowerChain) {
  EXPECT_EQ(Eval("1" + Repeat("^1", 100000)), std::string("error: ") + kDepth);
}

TEST_F(LimitsTest, LongPrefixChains) {
  EXPECT_EQ(Eval("x=1"), "");
  EXPECT_EQ(Eval(Repeat("!", 100000) + "x"), std::string("error: ") + kDepth);
  EXPECT_EQ(Eval(Repeat("- ", 100000) + "x"), std::string("error: ") + kDepth);
}

TEST_F(LimitsTest, LongPostfixChain) {
  EXPECT_EQ(Eval("x=1"), "");
  EXPECT_EQ(Eval("x" + Repeat("'", 100000)), std::string("error: ") + kDepth);
}

TEST_F(LimitsTest, LongRightNestedConditional) {
  EXPECT_EQ(Eval(Repeat("0?0:", 100000) + "5"), std::string("error: ") + kDepth);
}

TEST_F(LimitsTest, TenThousandElementLiteralInACall) {
  std::string text = "mag({1" + Repeat(",1", 9999) + "})";
  EXPECT_EQ(Eval(text), "100");
}

TEST_F(LimitsTest, LongCommaListAtTopLevel) {
  EXPECT_EQ(Eval("n=0"), "");
  EXPECT_EQ(Eval("n++" + Repeat(",n++", 99999)).rfind("error", 0), std::string::npos);
  EXPECT_EQ(Eval("n"), "100000");
}

TEST_F(LimitsTest, CallWithManyArguments) {
  std::string text = "atan2(1" + Repeat(",1", 9999) + ")";
  EXPECT_EQ(Eval(text), "error: Invalid number of arguments");
}

TEST_F(LimitsTest, MegabyteStringLiteral) {
  g_message.clear();
  std::string text = "\"" + std::string(1 << 20, 'x') + "\"";
  symtab* v = parser_.Evaluate(text.c_str());
  ASSERT_NE(v, nullptr) << g_message;
  ASSERT_EQ(v->type, SYM_STRINGS);
  EXPECT_EQ(std::string(v->str_list[0]).size(), 1u << 20);
  v->Delete();
}

TEST_F(LimitsTest, DerivativeOfALongProduct) {
  EXPECT_EQ(Eval("x=1"), "");
  EXPECT_EQ(Eval("@derivative(x" + Repeat("*x", 899) + ")"), "900");
}

TEST_F(LimitsTest, PrintingADeepExpressionGivesTextThatReadsBack) {
  std::string inner = Repeat("1+(", 199) + "1" + Repeat(")", 199);
  std::string printed = Eval("@printable(" + inner + ")");
  ASSERT_EQ(printed.rfind("error", 0), std::string::npos) << printed;
  EXPECT_EQ(Eval(printed), "200");
}

}  // namespace
