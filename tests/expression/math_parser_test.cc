// The MathParser facade: error reporting, variables, hooks, options and
// parsed expressions.
#include "quorvix/math_parser.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "quorvix/value_format.h"

namespace {

std::vector<std::string>& Reports() {
  static std::vector<std::string> reports;
  return reports;
}
void CaptureReport(const char* message) { Reports().push_back(message ? message : "(null)"); }

std::string Text(const symtab& v) {
  std::string out;
  if (!quorvix::FormatValue(v, quorvix::ValueFormat{}, out)) out = "(no text)";
  return out;
}

// Hands `p` a named record holding `values` (one value: a scalar).
void AddVar(MathParser& p, const char* name, std::vector<double> values) {
  symtab s;
  s.SetName(name);
  if (values.size() == 1) s.SetScalar(values[0]);
  else std::copy(values.begin(), values.end(), s.SetArray(1, static_cast<int>(values.size())));
  p.AddVariable(&s);
}

symtab* NewScalar(double v) {
  auto* s = new symtab;
  s->SetScalar(v);
  return s;
}

// Functions registered under a test name for the duration of one test.
symtab* TwoErrors(sym_list*) {
  MathParser::Error("first message");
  MathParser::Error("second message");
  return nullptr;
}
symtab* ErrorButValue(sym_list*) {
  MathParser::Error("reported anyway");
  return NewScalar(1);
}
symtab* ThrowInt(sym_list*) { throw 7; }
symtab* ThrowRuntime(sym_list*) { throw std::runtime_error("boom"); }
MathParser* g_seen_parser = nullptr;
symtab* RecordCurrentParser(sym_list*) {
  g_seen_parser = MathParser::current_parser;
  return NewScalar(0);
}

const struct Fn {
  const char* name;
  BuiltinHandler fn;
} kFns[] = {{"qvmp_twoerrors", TwoErrors}, {"qvmp_errorbutvalue", ErrorButValue},
            {"qvmp_throwint", ThrowInt}, {"qvmp_throwruntime", ThrowRuntime},
            {"qvmp_current", RecordCurrentParser}};

class MathParserTest : public testing::Test {
 protected:
  void SetUp() override {
    saved_ = MathParser::err_fun;
    MathParser::SetErrorFunction(CaptureReport);
    Reports().clear();
    MathParser first;  // the built-ins go in before the test functions
    for (const Fn& f : kFns) ASSERT_EQ(MathParser::AddFunc(f.name, f.fn, 1), 0);
  }
  void TearDown() override {
    for (const Fn& f : kFns) MathParser::RemoveFunc(f.name);
    MathParser::SetErrorFunction(saved_);
    MathParser::ClearError();
  }

  // The value as the template engine writes it, or "error: <message>".
  std::string Eval(MathParser& p, const char* text) {
    Reports().clear();
    return Describe(p.Evaluate(text));
  }
  std::string Run(MathParser& p, MathParserExpression* e) {
    Reports().clear();
    return Describe(p.Evaluate(e));
  }
  // Evaluates texts that must all give the empty string (assignments).
  void Set(MathParser& p, std::initializer_list<const char*> texts) {
    for (const char* t : texts) EXPECT_EQ(Eval(p, t), "") << t;
  }
  static std::string Describe(symtab* v) {
    if (v == nullptr)
      return Reports().empty() ? "null without report" : "error: " + Reports().front();
    std::string out = Text(*v);
    v->Delete();
    return out;
  }

  ErrorFunc saved_ = nullptr;
};

// ---- Errors -----------------------------------------------------------------

TEST_F(MathParserTest, EmptyOrBlankTextIsASyntaxError) {
  MathParser p;
  for (const char* text : {"", " ", " \t\r\n\v\f "}) {
    Reports().clear();
    EXPECT_EQ(p.Evaluate(text), nullptr) << "[" << text << "]";
    ASSERT_EQ(Reports().size(), 1u) << "[" << text << "]";
    EXPECT_EQ(Reports()[0], "Syntax error");
  }
}

TEST_F(MathParserTest, WithoutErrorFunctionAFailureIsSilent) {
  MathParser p;
  MathParser::SetErrorFunction(nullptr);
  EXPECT_EQ(p.Evaluate("1+"), nullptr);
  MathParser::SetErrorFunction(CaptureReport);
  EXPECT_TRUE(Reports().empty());
}

TEST_F(MathParserTest, FirstErrorIsTheOneReportedAndFailsEvenAValue) {
  MathParser p;
  EXPECT_EQ(Eval(p, "1 + qvmp_twoerrors(1)"), "error: first message");
  EXPECT_EQ(Reports().size(), 1u);
  // A later failing operation of the same evaluation does not replace it.
  EXPECT_EQ(Eval(p, "qvmp_twoerrors(1) + \"a\" * 2"), "error: first message");
  EXPECT_EQ(Eval(p, "qvmp_errorbutvalue(1)"), "error: reported anyway");
  MathParser::ClearError();
  MathParser::Error("one");
  MathParser::Error("two");
  EXPECT_EQ(MathParser::ErrorText(), "one");
}

TEST_F(MathParserTest, EachEvaluationStartsClean) {
  MathParser p;
  MathParser::Error("stale");
  EXPECT_EQ(Eval(p, "1+1"), "2");
  EXPECT_TRUE(Reports().empty());
  EXPECT_FALSE(MathParser::ErrorPending());
  EXPECT_EQ(Eval(p, "1/0"), "error: Divide by zero");
  EXPECT_EQ(Eval(p, "2*3"), "6");
  EXPECT_TRUE(Reports().empty());
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
  AddVar(p, "a", {1});
  EXPECT_EQ(p.GetVariable("A"), nullptr);
  EXPECT_EQ(Eval(p, "A"), "error: Unknown symbol \"A\"");
}

TEST_F(MathParserTest, ErrorPositionCountsFromTheStartOfTheGivenText) {
  MathParser p;
  EXPECT_EQ(Eval(p, "   1 + #"), "error: Syntax error");
  EXPECT_EQ(p.ErrorPosition(), 7);
  EXPECT_EQ(Eval(p, "\t(1"), "error: Unmatched '('");
  EXPECT_EQ(p.ErrorPosition(), 1);
}

TEST_F(MathParserTest, ThrownIntegerEndsSilentlyAndOtherExceptionsAreInternalErrors) {
  MathParser p;
  EXPECT_EQ(p.Evaluate("qvmp_throwint(1)"), nullptr);
  EXPECT_TRUE(Reports().empty());
  EXPECT_EQ(Eval(p, "qvmp_throwruntime(1)"), "error: Internal error");
  EXPECT_EQ(Reports().size(), 1u);
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

TEST_F(MathParserTest, ExpressionTextIsACopyOfTheLastText) {
  MathParser p;
  char text[] = "  1+2";
  EXPECT_EQ(Eval(p, text), "3");
  text[2] = '9';
  EXPECT_STREQ(p.ExpressionText(), "  1+2");
}

// ---- Variables ----------------------------------------------------------------

TEST_F(MathParserTest, AddVariableStoresADeepCopyReplacingTheSameName) {
  MathParser p;
  auto* v = new symtab;
  v->SetName("v");
  std::copy_n(std::vector<double>{1, 2, 3}.begin(), 3, v->SetArray(1, 3));
  EXPECT_EQ(p.AddVariable(v), 0);
  v->data[0] = 100;
  v->SetName("w");
  EXPECT_EQ(Eval(p, "v"), "1, 2, 3");
  EXPECT_EQ(Eval(p, "w"), "error: Unknown symbol \"w\"");
  v->Delete();
  EXPECT_EQ(Eval(p, "v[2]"), "3");
  AddVar(p, "a", {1});
  AddVar(p, "a", {5, 6});
  EXPECT_EQ(Eval(p, "a"), "5, 6");
  // A record without name is ignored.
  p.ClearStack();
  symtab anon;
  anon.SetScalar(1);
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

symtab* AnswerFortyTwo(char* name) { return std::string(name) == "answer" ? NewScalar(42) : nullptr; }
symtab* AnswerSeven(char* name) {
  return std::string(name) == "answer" || std::string(name) == "seven" ? NewScalar(7) : nullptr;
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
  AddVar(p, "a", {1});
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

TEST_F(MathParserTest, GetFunctionsAnswerForUndefinedNames) {
  MathParser p;
  EXPECT_EQ(Eval(p, "pi"), "error: Unknown symbol \"pi\"");
  p.AddGetFunc(MathParser::GetDataPi);
  symtab* v = p.Evaluate("pi");
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->type, SYM_SCALAR);
  EXPECT_DOUBLE_EQ(v->value, 4 * std::atan(1.0));
  EXPECT_EQ(v->name, nullptr);
  v->Delete();
  EXPECT_EQ(Eval(p, "PI*2"), "6.28319");
  for (const char* name : {"Pi", "pI", "pi2", "p", ""}) {
    std::string n = name;
    EXPECT_EQ(MathParser::GetDataPi(n.data()), nullptr) << name;
  }
}

TEST_F(MathParserTest, GetFunctionsAreAskedInOrderAndAddedOnce) {
  MathParser p, q;
  p.AddGetFunc(AnswerFortyTwo);
  p.AddGetFunc(AnswerSeven);
  p.AddGetFunc(AnswerFortyTwo);
  EXPECT_EQ(p.NumGetFuncs(), 2);
  EXPECT_EQ(Eval(p, "answer"), "42");
  EXPECT_EQ(Eval(p, "seven"), "7");
  q.AddGetFunc(MathParser::GetDataPi);
  q.AddGetFunc(AnswerFortyTwo);
  p.CopyGetFuncs(&q);
  EXPECT_EQ(p.NumGetFuncs(), 3);
  EXPECT_EQ(Eval(p, "pi > 3"), "1");
}

std::vector<std::string>& Stores() {
  static std::vector<std::string> stores;
  return stores;
}
int RecordStore(char* name, symtab* value) {
  Stores().push_back(std::string(name) + "=" + Text(*value));
  return 0;
}

TEST_F(MathParserTest, SetFunctionsHearEverySuccessfulStoreWithTheNewValue) {
  MathParser p;
  p.AddSetFunc(RecordStore);
  Stores().clear();
  Set(p, {"a=4", "a+=1"});
  EXPECT_EQ(Eval(p, "a++"), "5");
  Set(p, {"v={1,2}", "v[1]=9"});
  EXPECT_EQ(Stores(), (std::vector<std::string>{"a=4", "a=5", "a=6", "v=1, 2", "v=1, 9"}));
  Stores().clear();
  EXPECT_EQ(Eval(p, "v[5]=1"), "error: Subscript out of range");
  EXPECT_EQ(Eval(p, "1=2"), "error: Invalid assignment");
  EXPECT_EQ(Eval(p, "@printable(a=1)"), "a = 1");
  EXPECT_TRUE(Stores().empty());
  // Duplicates are not tested for.
  p.AddSetFunc(RecordStore);
  EXPECT_EQ(p.NumSetFuncs(), 2);
  Set(p, {"a=1"});
  EXPECT_EQ(Stores().size(), 2u);
}

TEST_F(MathParserTest, EscapeOptionBelongsToEachParser) {
  MathParser on, off;
  off.AllowEscapeCharactersInStrings(false);
  EXPECT_TRUE(on.AllowEscapeCharactersInStrings());
  // The same text, alternately, so that no parse result is carried over.
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(Eval(on, "\"a\\\\b\""), "a\\b");
    EXPECT_EQ(Eval(off, "\"a\\\\b\""), "a\\\\b");
  }
}

// ---- Parsed expressions ---------------------------------------------------------------

TEST_F(MathParserTest, ParsedExpressionSeesTheVariablesOfEachEvaluation) {
  MathParser p;
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("  a*2+b"));
  std::unique_ptr<MathParserExpression> inc(p.CreateExpression("n++"));
  ASSERT_NE(e, nullptr);
  ASSERT_NE(inc, nullptr);
  Set(p, {"a=1", "b=0", "n=0"});
  EXPECT_EQ(Run(p, e.get()), "2");
  AddVar(p, "a", {5});
  EXPECT_EQ(Run(p, e.get()), "10");
  p.ClearVariable("b");
  EXPECT_EQ(Run(p, e.get()), "error: Invalid addition type");
  Set(p, {"b={1,2}"});
  EXPECT_EQ(Run(p, e.get()), "11, 12");
  EXPECT_EQ(Run(p, inc.get()), "0");
  EXPECT_EQ(Run(p, inc.get()), "1");
  EXPECT_EQ(Eval(p, "n"), "2");
}

TEST_F(MathParserTest, NullOrFailingExpressions) {
  MathParser p;
  EXPECT_EQ(p.Evaluate(static_cast<MathParserExpression*>(nullptr)), nullptr);
  for (const char* text : {"", "   ", "1+", "(1", "#", "a ? b", "nosuchfunction(1)"}) {
    MathParserExpression* e = p.CreateExpression(text);
    EXPECT_EQ(e, nullptr) << text;
    delete e;
  }
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("1/a"));
  ASSERT_NE(e, nullptr);
  Set(p, {"a=0"});
  EXPECT_EQ(Run(p, e.get()), "error: Divide by zero");
  Set(p, {"a=4"});
  EXPECT_EQ(Run(p, e.get()), "0.25");
}

}  // namespace

// Reaches the private text preprocessing for high characters.
class MathParserTestPeer {
 public:
  static std::string Preprocess(const std::string& text) {
    char* out = MathParser::_PreprocessForHiChar(text.c_str());
    std::string result = out ? out : "(null)";
    delete[] out;
    return result;
  }
};

namespace {

TEST(PreprocessForHiCharTest, TakesHighCharactersOutOfStringLiteralsOnly) {
  const struct {
    const char *in, *out;
  } rows[] = {
      {"\"a\xE9" "b\"", "\"a\"+chr(-23)+\"b\""},
      // Right before the closing quote the string is not reopened.
      {"\"a\xE9\"+x", "\"a\"+chr(-23)+x"},
      {"\"\xFF\xE8\"", "\"\"+chr(-1)+\"\"+chr(-24)"},
      {"", ""},
      {"a\xE9 + \"plain\"", "a\xE9 + \"plain\""},
      {"\"x\" + \xE9 + \"y\"", "\"x\" + \xE9 + \"y\""},
  };
  for (const auto& r : rows) EXPECT_EQ(MathParserTestPeer::Preprocess(r.in), r.out) << r.in;
}

}  // namespace
