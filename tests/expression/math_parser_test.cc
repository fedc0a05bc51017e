// The MathParser facade: error reporting, variables, hooks, options and
// parsed expressions.
#include "quorvix/math_parser.h"

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

// Functions registered under a test name for the duration of one test.
symtab* TwoErrors(sym_list*) {
  MathParser::Error("first message");
  MathParser::Error("second message");
  return nullptr;
}
symtab* ErrorButValue(sym_list*) {
  MathParser::Error("reported anyway");
  return qt::New(qt::Scalar(1));
}
symtab* ThrowInt(sym_list*) { throw 7; }
symtab* ThrowRuntime(sym_list*) { throw std::runtime_error("boom"); }
MathParser* g_seen_parser = nullptr;
symtab* RecordCurrentParser(sym_list*) {
  g_seen_parser = MathParser::current_parser;
  return qt::New(qt::Scalar(0));
}
symtab* AnswerFortyTwo(char* name) {
  return std::string(name) == "answer" ? qt::New(qt::Scalar(42)) : nullptr;
}
symtab* AnswerSeven(char* name) {
  const std::string n = name;
  return n == "answer" || n == "seven" ? qt::New(qt::Scalar(7)) : nullptr;
}
std::vector<std::string> g_stores;
int RecordStore(char* name, symtab* value) {
  g_stores.push_back(std::string(name) + "=" + qt::Text(*value));
  return 0;
}

const struct Fn {
  const char* name;
  BuiltinHandler fn;
} kFns[] = {{"qvmp_twoerrors", TwoErrors},
            {"qvmp_errorbutvalue", ErrorButValue},
            {"qvmp_throwint", ThrowInt},
            {"qvmp_throwruntime", ThrowRuntime},
            {"qvmp_current", RecordCurrentParser}};

class MathParserTest : public qt::ParserTest {
 protected:
  void SetUp() override {
    for (const Fn& f : kFns) ASSERT_EQ(MathParser::AddFunc(f.name, f.fn, 1), 0);
  }
  void TearDown() override {
    for (const Fn& f : kFns) MathParser::RemoveFunc(f.name);
  }
  // Evaluates texts that must all give the empty string (assignments).
  void Set(MathParser& p, std::initializer_list<const char*> texts) {
    for (const char* t : texts) EXPECT_EQ(Eval(p, t), "") << t;
  }
  // Hands `p` a named record.
  void AddVar(MathParser& p, const char* name, symtab v) {
    v.SetName(name);
    p.AddVariable(&v);
  }
};

// ---- Errors -----------------------------------------------------------------

TEST_F(MathParserTest, FirstErrorIsTheOneReportedOnceAndFailsEvenAValue) {
  MathParser p;
  for (const char* text : {"", " ", " \t\r\n\v\f "}) {
    EXPECT_EQ(Eval(p, text), "error: Syntax error") << "[" << text << "]";
    EXPECT_EQ(errors_.count, 1);
  }
  EXPECT_EQ(Eval(p, "1 + qvmp_twoerrors(1)"), "error: first message");
  EXPECT_EQ(errors_.count, 1);
  // A later failing operation of the same evaluation does not replace it.
  EXPECT_EQ(Eval(p, "qvmp_twoerrors(1) + \"a\" * 2"), "error: first message");
  EXPECT_EQ(Eval(p, "qvmp_errorbutvalue(1)"), "error: reported anyway");
  MathParser::ClearError();
  MathParser::Error("one");
  MathParser::Error("two");
  EXPECT_EQ(MathParser::ErrorText(), "one");
  // Without an error function a failure is silent.
  MathParser::SetErrorFunction(nullptr);
  errors_.Clear();
  EXPECT_EQ(p.Evaluate("1+"), nullptr);
  EXPECT_EQ(errors_.count, 0);
}

TEST_F(MathParserTest, EachEvaluationStartsClean) {
  MathParser p;
  MathParser::Error("stale");
  EXPECT_EQ(Eval(p, "1+1"), "2");
  EXPECT_EQ(errors_.count, 0);
  EXPECT_FALSE(MathParser::ErrorPending());
  EXPECT_EQ(Eval(p, "1/0"), "error: Divide by zero");
  EXPECT_EQ(Eval(p, "2*3"), "6");
  EXPECT_EQ(errors_.count, 0);
}

TEST_F(MathParserTest, UnknownNamesAreLeftInTheTableAsUndefined) {
  MathParser p;
  EXPECT_EQ(Eval(p, "x"), "error: Unknown symbol \"x\"");
  auto it = p.Variables().find("x");
  ASSERT_NE(it, p.Variables().end());
  EXPECT_EQ(it->second->type, SYM_UNDEFINED);
  EXPECT_EQ(p.GetVariable("x"), nullptr);
  EXPECT_EQ(p.GetVariable("nothing"), nullptr);
  EXPECT_EQ(p.Variables().count("nothing"), 1u);
  // Names are case sensitive.
  AddVar(p, "a", qt::Scalar(1));
  EXPECT_EQ(p.GetVariable("A"), nullptr);
  EXPECT_EQ(Eval(p, "A"), "error: Unknown symbol \"A\"");
}

TEST_F(MathParserTest, ExpressionTextIsACopyOfTheLastText) {
  MathParser p;
  char text[] = "  1+2";
  EXPECT_EQ(Eval(p, text), "3");
  text[2] = '9';
  EXPECT_STREQ(p.ExpressionText(), "  1+2");
}

TEST_F(MathParserTest, ThrownIntegerEndsSilentlyAndOtherExceptionsAreInternalErrors) {
  MathParser p;
  EXPECT_EQ(Eval(p, "qvmp_throwint(1)"), "null without report");
  EXPECT_EQ(Eval(p, "qvmp_throwruntime(1)"), "error: Internal error");
  EXPECT_EQ(errors_.count, 1);
}

TEST_F(MathParserTest, CurrentParserIsTheEvaluatingOneAndIsRestoredAfterwards) {
  MathParser outer, inner;
  MathParser* before = MathParser::current_parser;
  EXPECT_EQ(Eval(inner, "qvmp_current(1)"), "0");
  EXPECT_EQ(g_seen_parser, &inner);
  EXPECT_EQ(MathParser::current_parser, before);
  EXPECT_EQ(Eval(outer, "qvmp_current(1) + #"), "error: Syntax error");
  EXPECT_EQ(MathParser::current_parser, before);
}

// ---- Variables ----------------------------------------------------------------

TEST_F(MathParserTest, AddVariableStoresADeepCopyReplacingTheSameName) {
  MathParser p;
  auto* v = qt::New(qt::Array(1, 3, {1, 2, 3}));
  v->SetName("v");
  EXPECT_EQ(p.AddVariable(v), 0);
  v->data[0] = 100;
  v->SetName("w");
  EXPECT_EQ(Eval(p, "v"), "1, 2, 3");
  EXPECT_EQ(Eval(p, "w"), "error: Unknown symbol \"w\"");
  v->Delete();
  EXPECT_EQ(Eval(p, "v[2]"), "3");
  AddVar(p, "a", qt::Scalar(1));
  AddVar(p, "a", qt::Array(1, 2, {5, 6}));
  EXPECT_EQ(Eval(p, "a"), "5, 6");
  // A record without name is ignored.
  p.ClearStack();
  symtab anon = qt::Scalar(1);
  EXPECT_EQ(p.AddVariable(&anon), 0);
  EXPECT_TRUE(p.Variables().empty());
}

TEST_F(MathParserTest, GetVariableReturnsACopyOwnedByTheCaller) {
  MathParser p;
  Set(p, {"v={1,2}"});
  symtab* got = p.GetVariable("v");
  ASSERT_NE(got, nullptr);
  ASSERT_EQ(got->type, SYM_ARRAY);
  EXPECT_EQ(got->shared, 0);
  got->data[0] = 9;
  got->Delete();
  EXPECT_EQ(Eval(p, "v"), "1, 2");
}

TEST_F(MathParserTest, SetVariableWritesNumbersInPlaceAndLeavesOtherKindsAlone) {
  MathParser p;
  Set(p, {"s=1", "m={{1,2},{3,4}}", "t=\"text\""});
  double s = 2.5;
  symtab* rec = p.SetVariable("s", &s);
  ASSERT_NE(rec, nullptr);
  EXPECT_EQ(rec, p.Variables().at("s"));
  const double m[] = {5, 6, 7, 8};
  p.SetVariable("m", m);
  EXPECT_EQ(Eval(p, "s"), "2.5");
  EXPECT_EQ(Eval(p, "m"), "{ 5, 6 }, { 7, 8 }");
  p.SetVariable("t", &s);
  EXPECT_EQ(Eval(p, "t"), "text");
  symtab* fresh = p.SetVariable("fresh", &s);
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(fresh->type, SYM_UNDEFINED);
}

TEST_F(MathParserTest, ClearingVariables) {
  MathParser p;
  Set(p, {"a=1", "b=2", "B=3", "c=4"});
  p.ClearVariablesExcept({});  // an empty set keeps every variable
  EXPECT_EQ(p.Variables().size(), 4u);
  p.ClearVariable("a");
  p.ClearVariable("not_there");
  EXPECT_EQ(Eval(p, "a"), "error: Unknown symbol \"a\"");
  EXPECT_EQ(Eval(p, "b+B+c"), "9");
  p.ClearVariablesExcept({"b", "c", "not_there"});
  EXPECT_EQ(p.Variables().size(), 2u);
  EXPECT_EQ(Eval(p, "b+c"), "6");
  EXPECT_EQ(Eval(p, "B"), "error: Unknown symbol \"B\"");
  Set(p, {"s={\"x\",\"y\"}"});
  p.ClearStack();
  EXPECT_TRUE(p.Variables().empty());
  EXPECT_EQ(Eval(p, "s"), "error: Unknown symbol \"s\"");
}

TEST_F(MathParserTest, ShowMathParserStackListsNamesAndScalarValues) {
  MathParser p;
  Set(p, {"b=2.5", "a=\"x\""});
  testing::internal::CaptureStderr();
  MathParser::ShowMathParserStack(&p);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a\nb\n2.5\n");
}

TEST_F(MathParserTest, CopiesTakeVariablesHooksAndOptions) {
  MathParser p;
  Set(p, {"v={1,2}"});
  p.AddGetFunc(AnswerFortyTwo);
  p.AllowEscapeCharactersInStrings(false);
  MathParser copy(p);
  Set(p, {"v[0]=7"});
  EXPECT_EQ(Eval(copy, "v"), "1, 2");
  EXPECT_EQ(Eval(copy, "answer"), "42");
  EXPECT_FALSE(copy.AllowEscapeCharactersInStrings());

  MathParser q, r;
  Set(q, {"a=1"});
  Set(r, {"b=2"});
  r = q;
  EXPECT_EQ(Eval(r, "a"), "1");
  EXPECT_EQ(Eval(r, "b"), "error: Unknown symbol \"b\"");
  Set(r, {"a=5"});
  EXPECT_EQ(Eval(q, "a"), "1");
}

TEST_F(MathParserTest, WithAssignmentsOffTheTableIsNeitherReadNorWritten) {
  MathParser p;
  AddVar(p, "a", qt::Scalar(1));
  Set(p, {"v={1,2}"});
  p.AllowAssign(0);
  EXPECT_EQ(p.AllowAssign(), 0);
  EXPECT_EQ(p.GetVariable("a"), nullptr);
  EXPECT_EQ(Eval(p, "a"), "error: Unknown symbol \"a\"");
  EXPECT_EQ(p.GetVariable("other"), nullptr);  // nothing is entered either
  EXPECT_EQ(Eval(p, "other"), "error: Unknown symbol \"other\"");
  EXPECT_EQ(p.Variables().size(), 2u);
  p.AddGetFunc(MathParser::GetDataPi);
  for (const char* t : {"b=1", "pi+=1", "pi++", "v[0]=1"})
    EXPECT_EQ(Eval(p, t), "error: Assignments not allowed") << t;
  EXPECT_EQ(p.ErrorPosition(), 1);
  EXPECT_EQ(Eval(p, "pi*2"), "6.28319");  // get functions still answer
  p.AllowAssign(1);
  EXPECT_EQ(Eval(p, "v"), "1, 2");
  EXPECT_EQ(Eval(p, "a"), "1");
  EXPECT_EQ(Eval(p, "b"), "error: Unknown symbol \"b\"");
}

// ---- Get and set functions --------------------------------------------------------

TEST_F(MathParserTest, GetFunctionsAnswerForUndefinedNamesInOrderAndAreAddedOnce) {
  MathParser p, q;
  EXPECT_EQ(Eval(p, "pi"), "error: Unknown symbol \"pi\"");
  q.AddGetFunc(MathParser::GetDataPi);
  symtab* v = q.Evaluate("pi");
  ASSERT_NE(v, nullptr);
  EXPECT_DOUBLE_EQ(v->value, 4 * std::atan(1.0));
  EXPECT_EQ(v->name, nullptr);
  v->Delete();
  EXPECT_EQ(Eval(q, "PI*2"), "6.28319");
  for (const char* name : {"Pi", "pI", "pi2", "p", ""}) {
    std::string n = name;
    EXPECT_EQ(MathParser::GetDataPi(n.data()), nullptr) << name;
  }
  p.AddGetFunc(AnswerFortyTwo);
  p.AddGetFunc(AnswerSeven);
  p.AddGetFunc(AnswerFortyTwo);
  EXPECT_EQ(p.NumGetFuncs(), 2);
  EXPECT_EQ(Eval(p, "answer"), "42");
  EXPECT_EQ(Eval(p, "seven"), "7");
  q.AddGetFunc(AnswerFortyTwo);
  p.CopyGetFuncs(&q);
  EXPECT_EQ(p.NumGetFuncs(), 3);
  EXPECT_EQ(Eval(p, "pi > 3"), "1");
}

TEST_F(MathParserTest, SetFunctionsHearEverySuccessfulStoreWithTheNewValue) {
  MathParser p;
  p.AddSetFunc(RecordStore);
  g_stores.clear();
  Set(p, {"a=4", "a+=1"});
  EXPECT_EQ(Eval(p, "a++"), "5");
  Set(p, {"v={1,2}", "v[1]=9"});
  EXPECT_EQ(g_stores, (std::vector<std::string>{"a=4", "a=5", "a=6", "v=1, 2", "v=1, 9"}));
  g_stores.clear();
  EXPECT_EQ(Eval(p, "v[5]=1"), "error: Subscript out of range");
  EXPECT_EQ(Eval(p, "1=2"), "error: Invalid assignment");
  EXPECT_EQ(Eval(p, "@printable(a=1)"), "a = 1");
  EXPECT_TRUE(g_stores.empty());
  // Duplicates are not tested for.
  p.AddSetFunc(RecordStore);
  EXPECT_EQ(p.NumSetFuncs(), 2);
  Set(p, {"a=1"});
  EXPECT_EQ(g_stores.size(), 2u);
}

// ---- Parsed expressions ---------------------------------------------------------------

TEST_F(MathParserTest, ParsedExpressionSeesTheVariablesOfEachEvaluation) {
  MathParser p;
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("  a*2+b"));
  std::unique_ptr<MathParserExpression> inc(p.CreateExpression("n++"));
  ASSERT_NE(e, nullptr);
  ASSERT_NE(inc, nullptr);
  Set(p, {"a=1", "b=0", "n=0"});
  EXPECT_EQ(Eval(p, e.get()), "2");
  AddVar(p, "a", qt::Scalar(5));
  EXPECT_EQ(Eval(p, e.get()), "10");
  p.ClearVariable("b");
  EXPECT_EQ(Eval(p, e.get()), "error: Invalid addition type");
  Set(p, {"b={1,2}"});
  EXPECT_EQ(Eval(p, e.get()), "11, 12");
  EXPECT_EQ(Eval(p, inc.get()), "0");
  EXPECT_EQ(Eval(p, inc.get()), "1");
  EXPECT_EQ(Eval(p, "n"), "2");
}

TEST_F(MathParserTest, NullOrFailingExpressions) {
  MathParser p;
  EXPECT_EQ(p.Evaluate(static_cast<MathParserExpression*>(nullptr)), nullptr);
  for (const char* text : {"", "   ", "1+", "(1", "#", "a ? b", "nosuchfunction(1)"}) {
    std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
    EXPECT_EQ(e, nullptr) << text;
  }
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("1/a"));
  ASSERT_NE(e, nullptr);
  Set(p, {"a=0"});
  EXPECT_EQ(Eval(p, e.get()), "error: Divide by zero");
  Set(p, {"a=4"});
  EXPECT_EQ(Eval(p, e.get()), "0.25");
}

}  // namespace
