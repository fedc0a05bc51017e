// The cache of parsed texts: results do not depend on it, and whatever can
// change a parse (the registry, the escape option) is seen at once.
#include "expression/parse_cache.h"

#include <memory>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

symtab* Tripled(sym_list* args) {
  symtab* s = args->Take(0);
  s->DropName();
  s->value *= 3;
  return s;
}

class ParseCacheTest : public qt::ParserTest {
 protected:
  void TearDown() override {
    quorvix::EnableParseCache(true);
    MathParser::RemoveFunc("qvcache_fn");
  }
};

const char* const kTexts[] = {"n=2",
                              "n*3+1",
                              "v={1,2,3}",
                              "v[1]",
                              "v[{2,0}]",
                              "n++",
                              "n",
                              "s=\"a\\tb\"",
                              "s+\"c\"",
                              "1 ? n : 0",
                              "0:1:0.25",
                              "@printable(n^2)",
                              "@derivative(n^3)",
                              "1+",
                              "(n",
                              "v[5]",
                              "x",
                              "n+=1",
                              "n"};

TEST_F(ParseCacheTest, ResultsAreTheSameWithTheCacheOnAndOff) {
  auto run = [this](bool cache) {
    quorvix::EnableParseCache(cache);
    MathParser p;
    std::vector<std::string> out;
    for (const char* t : kTexts) out.push_back(Eval(p, t));
    return out;
  };
  const std::vector<std::string> uncached = run(false);
  EXPECT_EQ(run(true), uncached);  // filling the cache
  EXPECT_EQ(run(true), uncached);  // reading it
}

TEST_F(ParseCacheTest, RegisteringAFunctionIsSeenAtOnceButAVariableStaysAVariable) {
  MathParser p;
  EXPECT_EQ(Eval(p, "qvcache_fn(2)"), "error: Syntax error");
  EXPECT_EQ(Eval(p, "qvcache_fn=4"), "");
  ASSERT_EQ(MathParser::AddFunc("qvcache_fn", Tripled, 1), 0);
  EXPECT_EQ(Eval(p, "qvcache_fn(2)"), "6");
  EXPECT_EQ(Eval(p, "qvcache_fn"), "4");
  EXPECT_EQ(Eval(p, "qvcache_fn(qvcache_fn)"), "12");
  MathParser::RemoveFunc("qvcache_fn");
  EXPECT_EQ(Eval(p, "qvcache_fn(2)"), "error: Syntax error");
}

TEST_F(ParseCacheTest, KeptExpressionOfARemovedFunctionFailsCleanly) {
  MathParser p;
  ASSERT_EQ(MathParser::AddFunc("qvcache_fn", Tripled, 1), 0);
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("qvcache_fn(5)"));
  ASSERT_NE(e, nullptr);
  MathParser::RemoveFunc("qvcache_fn");
  EXPECT_EQ(Eval(p, e.get()), "error: Unknown function");
  ASSERT_EQ(MathParser::AddFunc("qvcache_fn", Tripled, 1), 0);
  EXPECT_EQ(Eval(p, e.get()), "15");
}

// The text evaluated last is recognised by the parser's copy of it: a host
// that rewrites its buffer in place, or a registry change between two
// evaluations of the same bytes, must each lead to a new parse.
TEST_F(ParseCacheTest, SameBufferAgainIsParsedAgainWhenItsBytesOrTheRegistryChange) {
  MathParser p;
  char text[] = "1+2";
  EXPECT_EQ(Describe(p.Evaluate(text)), "3");
  EXPECT_EQ(Describe(p.Evaluate(text)), "3");
  text[0] = '5';
  EXPECT_EQ(Describe(p.Evaluate(text)), "7");
  EXPECT_STREQ(p.ExpressionText(), "5+2");
  ASSERT_EQ(MathParser::AddFunc("qvcache_fn", Tripled, 1), 0);
  EXPECT_EQ(Eval(p, "qvcache_fn(2)"), "6");
  EXPECT_EQ(Eval(p, "qvcache_fn(2)"), "6");
  MathParser::RemoveFunc("qvcache_fn");
  EXPECT_EQ(Eval(p, "qvcache_fn(2)"), "error: Syntax error");
}

// The same text, alternately in two parsers and after switching, so that no
// parse is carried over from one setting of the escape option to the other.
TEST_F(ParseCacheTest, EscapeOptionChangesTheParseOfTheSameText) {
  MathParser on, off;
  off.AllowEscapeCharactersInStrings(false);
  EXPECT_TRUE(on.AllowEscapeCharactersInStrings());
  const std::string text = "\"a\\\\\"+\"b\"";  // "a\\"+"b"
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Eval(on, text), "a\\b");
    EXPECT_EQ(Eval(off, text), "a\\\\b");
  }
  off.AllowEscapeCharactersInStrings(true);
  EXPECT_EQ(Eval(off, text), "a\\b");
}

// One cached tree serves every parser: each evaluation must read the
// variables of the parser that evaluates it.
TEST_F(ParseCacheTest, SharedTreeReadsTheVariablesOfEachParser) {
  MathParser p, q;
  EXPECT_EQ(Eval(p, "qvc_a=1"), "");
  EXPECT_EQ(Eval(q, "qvc_a=2"), "");
  EXPECT_EQ(Eval(p, "qvc_a*10"), "10");
  EXPECT_EQ(Eval(q, "qvc_a*10"), "20");
  EXPECT_EQ(Eval(p, "qvc_a*10"), "10");
  p.ClearVariable("qvc_a");
  EXPECT_EQ(Eval(p, "qvc_a*10"), "error: Invalid multiplication type");
  EXPECT_EQ(Eval(p, "qvc_a=3"), "");
  EXPECT_EQ(Eval(p, "qvc_a*10"), "30");
  q.ClearStack();
  EXPECT_EQ(Eval(q, "qvc_a*10"), "error: Invalid multiplication type");
}

TEST_F(ParseCacheTest, ParserMadeAfterAnotherIsGoneDoesNotSeeItsVariables) {
  for (int round = 0; round < 3; ++round) {
    MathParser p;
    EXPECT_EQ(Eval(p, "qvc_gone"), "error: Unknown symbol \"qvc_gone\"") << round;
    EXPECT_EQ(Eval(p, "qvc_gone=7"), "");
    EXPECT_EQ(Eval(p, "qvc_gone"), "7");
  }
}

TEST_F(ParseCacheTest, ClearingTheCacheKeepsKeptExpressionsAlive) {
  MathParser p;
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("{1,2,3}[2]"));
  ASSERT_NE(e, nullptr);
  quorvix::ClearParseCache();
  EXPECT_EQ(Eval(p, e.get()), "3");
}

}  // namespace
