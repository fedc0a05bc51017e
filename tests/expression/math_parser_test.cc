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

#include "template/value_format.h"

namespace {

std::vector<std::string>& Reports() {
  static std::vector<std::string> reports;
  return reports;
}
void CaptureReport(const char* message) { Reports().push_back(message ? message : "(null)"); }

symtab* NewScalar(const char* name, double v) {
  auto* s = new symtab;
  s->SetName(name);
  s->SetScalar(v);
  return s;
}

symtab* NewArray(const char* name, int rows, int cols, std::vector<double> values) {
  auto* s = new symtab;
  s->SetName(name);
  double* d = s->SetArray(rows, cols);
  for (std::size_t i = 0; i < values.size(); ++i) d[i] = values[i];
  return s;
}

class MathParserTest : public testing::Test {
 protected:
  void SetUp() override {
    saved_ = MathParser::err_fun;
    MathParser::SetErrorFunction(CaptureReport);
    Reports().clear();
  }
  void TearDown() override {
    MathParser::SetErrorFunction(saved_);
    MathParser::ClearError();
  }

  // The value as the template engine writes it, or "error: <message>".
  std::string Eval(MathParser& p, const char* text) {
    Reports().clear();
    symtab* v = p.Evaluate(text);
    return Describe(v);
  }
  std::string Run(MathParser& p, MathParserExpression* e) {
    Reports().clear();
    return Describe(p.Evaluate(e));
  }
  static std::string Describe(symtab* v) {
    if (v == nullptr)
      return Reports().empty() ? "null without report" : "error: " + Reports().front();
    std::string out;
    if (!quorvix::FormatValue(*v, quorvix::ValueFormat{}, out)) out = "(no text)";
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

symtab* TwoErrors(sym_list*) {
  MathParser::Error("first message");
  MathParser::Error("second message");
  return nullptr;
}

symtab* ErrorButValue(sym_list*) {
  MathParser::Error("reported anyway");
  auto* s = new symtab;
  s->SetScalar(1);
  return s;
}

TEST_F(MathParserTest, FirstErrorOfAnEvaluationIsTheOneReported) {
  MathParser p;
  ASSERT_EQ(MathParser::AddFunc("qvmp_twoerrors", TwoErrors, 1), 0);
  EXPECT_EQ(Eval(p, "1 + qvmp_twoerrors(1)"), "error: first message");
  EXPECT_EQ(Reports().size(), 1u);
  // A later failing operation of the same evaluation does not replace it.
  EXPECT_EQ(Eval(p, "qvmp_twoerrors(1) + \"a\" * 2"), "error: first message");
  MathParser::RemoveFunc("qvmp_twoerrors");
}

TEST_F(MathParserTest, ErrorPendingAfterACallFailsItEvenWithAValue) {
  MathParser p;
  ASSERT_EQ(MathParser::AddFunc("qvmp_errorbutvalue", ErrorButValue, 1), 0);
  EXPECT_EQ(Eval(p, "qvmp_errorbutvalue(1)"), "error: reported anyway");
  MathParser::RemoveFunc("qvmp_errorbutvalue");
}

TEST_F(MathParserTest, ErrorKeepsTheFirstMessage) {
  MathParser::ClearError();
  MathParser::Error("one");
  MathParser::Error("two");
  EXPECT_EQ(MathParser::ErrorText(), "one");
}

TEST_F(MathParserTest, ErrorLeftFromBeforeDoesNotFailTheNextEvaluation) {
  MathParser p;
  MathParser::Error("stale");
  EXPECT_EQ(Eval(p, "1+1"), "2");
  EXPECT_TRUE(Reports().empty());
  EXPECT_FALSE(MathParser::ErrorPending());
}

TEST_F(MathParserTest, EvaluationAfterAFailureStartsClean) {
  MathParser p;
  EXPECT_EQ(Eval(p, "1/0"), "error: Divide by zero");
  EXPECT_EQ(Eval(p, "2*3"), "6");
  EXPECT_TRUE(Reports().empty());
  EXPECT_EQ(Eval(p, "{1,\"a\"}"), "error: Array contains both numeric and string elements");
}

TEST_F(MathParserTest, UnknownSymbolIsReportedAndLeftInTheTableAsUndefined) {
  MathParser p;
  EXPECT_EQ(Eval(p, "x"), "error: Unknown symbol \"x\"");
  auto it = p.Variables().find("x");
  ASSERT_NE(it, p.Variables().end());
  EXPECT_EQ(it->second->type, SYM_UNDEFINED);
  EXPECT_EQ(p.GetVariable("x"), nullptr);
}

TEST_F(MathParserTest, ErrorPositionCountsFromTheStartOfTheGivenText) {
  MathParser p;
  EXPECT_EQ(Eval(p, "   1 + #"), "error: Syntax error");
  EXPECT_EQ(p.ErrorPosition(), 7);
  EXPECT_EQ(Eval(p, "\t(1"), "error: Unmatched '('");
  EXPECT_EQ(p.ErrorPosition(), 1);
}

symtab* ThrowInt(sym_list*) { throw 7; }
symtab* ThrowRuntime(sym_list*) { throw std::runtime_error("boom"); }

TEST_F(MathParserTest, IntegerThrownInsideEndsTheEvaluationSilently) {
  MathParser p;
  ASSERT_EQ(MathParser::AddFunc("qvmp_throwint", ThrowInt, 1), 0);
  Reports().clear();
  EXPECT_EQ(p.Evaluate("qvmp_throwint(1)"), nullptr);
  EXPECT_TRUE(Reports().empty());
  MathParser::RemoveFunc("qvmp_throwint");
}

TEST_F(MathParserTest, OtherExceptionThrownInsideIsAnInternalError) {
  MathParser p;
  ASSERT_EQ(MathParser::AddFunc("qvmp_throwruntime", ThrowRuntime, 1), 0);
  EXPECT_EQ(Eval(p, "qvmp_throwruntime(1)"), "error: Internal error");
  EXPECT_EQ(Reports().size(), 1u);
  MathParser::RemoveFunc("qvmp_throwruntime");
}

MathParser* g_seen_parser = nullptr;
symtab* RecordCurrentParser(sym_list*) {
  g_seen_parser = MathParser::current_parser;
  auto* s = new symtab;
  s->SetScalar(0);
  return s;
}

TEST_F(MathParserTest, CurrentParserIsTheEvaluatingOneAndIsRestoredAfterwards) {
  MathParser outer, inner;
  ASSERT_EQ(MathParser::AddFunc("qvmp_current", RecordCurrentParser, 1), 0);
  MathParser* before = MathParser::current_parser;
  EXPECT_EQ(Eval(inner, "qvmp_current(1)"), "0");
  EXPECT_EQ(g_seen_parser, &inner);
  EXPECT_EQ(MathParser::current_parser, before);
  g_seen_parser = nullptr;
  EXPECT_EQ(Eval(outer, "qvmp_current(1) + #"), "error: Syntax error");
  EXPECT_EQ(MathParser::current_parser, before);
  MathParser::RemoveFunc("qvmp_current");
}

TEST_F(MathParserTest, ExpressionTextIsACopyOfTheLastText) {
  MathParser p;
  char text[] = "  1+2";
  symtab* v = p.Evaluate(text);
  ASSERT_NE(v, nullptr);
  v->Delete();
  text[2] = '9';
  EXPECT_STREQ(p.ExpressionText(), "  1+2");
}

// ---- Variables ----------------------------------------------------------------

TEST_F(MathParserTest, AddVariableStoresADeepCopy) {
  MathParser p;
  symtab* v = NewArray("v", 1, 3, {1, 2, 3});
  EXPECT_EQ(p.AddVariable(v), 0);
  v->data[0] = 100;
  v->SetName("w");
  EXPECT_EQ(Eval(p, "v"), "1, 2, 3");
  EXPECT_EQ(Eval(p, "w"), "error: Unknown symbol \"w\"");
  v->Delete();
  EXPECT_EQ(Eval(p, "v[2]"), "3");
}

TEST_F(MathParserTest, AddVariableReplacesTheRecordOfTheSameName) {
  MathParser p;
  symtab* a = NewScalar("a", 1);
  symtab* b = NewArray("a", 1, 2, {5, 6});
  p.AddVariable(a);
  p.AddVariable(b);
  EXPECT_EQ(Eval(p, "a"), "5, 6");
  a->Delete();
  b->Delete();
}

TEST_F(MathParserTest, AddVariableIgnoresARecordWithoutName) {
  MathParser p;
  symtab* anon = NewScalar(nullptr, 1);
  EXPECT_EQ(p.AddVariable(anon), 0);
  EXPECT_TRUE(p.Variables().empty());
  anon->Delete();
}

TEST_F(MathParserTest, GetVariableReturnsACopyOwnedByTheCaller) {
  MathParser p;
  EXPECT_EQ(Eval(p, "v={1,2}"), "");
  symtab* got = p.GetVariable("v");
  ASSERT_NE(got, nullptr);
  ASSERT_EQ(got->type, SYM_ARRAY);
  EXPECT_EQ(got->shared, 0);
  got->data[0] = 9;
  got->Delete();
  EXPECT_EQ(Eval(p, "v"), "1, 2");
}

TEST_F(MathParserTest, GetVariableOfAnUnknownNameIsNullAndEntersTheName) {
  MathParser p;
  EXPECT_EQ(p.GetVariable("nothing"), nullptr);
  EXPECT_EQ(p.Variables().count("nothing"), 1u);
}

TEST_F(MathParserTest, VariableNamesAreCaseSensitive) {
  MathParser p;
  symtab* a = NewScalar("a", 1);
  p.AddVariable(a);
  a->Delete();
  EXPECT_EQ(p.GetVariable("A"), nullptr);
  EXPECT_EQ(Eval(p, "A"), "error: Unknown symbol \"A\"");
}

TEST_F(MathParserTest, SetVariableWritesScalarAndArrayValuesInPlace) {
  MathParser p;
  EXPECT_EQ(Eval(p, "s=1"), "");
  EXPECT_EQ(Eval(p, "m={{1,2},{3,4}}"), "");
  double s = 2.5;
  symtab* rec = p.SetVariable("s", &s);
  ASSERT_NE(rec, nullptr);
  EXPECT_EQ(rec, p.Variables().at("s"));
  const double m[] = {5, 6, 7, 8};
  p.SetVariable("m", m);
  EXPECT_EQ(Eval(p, "s"), "2.5");
  EXPECT_EQ(Eval(p, "m"), "{ 5, 6 }, { 7, 8 }");
}

TEST_F(MathParserTest, SetVariableLeavesOtherKindsAlone) {
  MathParser p;
  EXPECT_EQ(Eval(p, "t=\"text\""), "");
  double d = 3;
  p.SetVariable("t", &d);
  EXPECT_EQ(Eval(p, "t"), "text");
  symtab* fresh = p.SetVariable("fresh", &d);
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(fresh->type, SYM_UNDEFINED);
}

TEST_F(MathParserTest, ClearVariableRemovesOnlyThatName) {
  MathParser p;
  EXPECT_EQ(Eval(p, "a=1"), "");
  EXPECT_EQ(Eval(p, "b=2"), "");
  p.ClearVariable("a");
  p.ClearVariable("not_there");
  EXPECT_EQ(Eval(p, "a"), "error: Unknown symbol \"a\"");
  EXPECT_EQ(Eval(p, "b"), "2");
}

TEST_F(MathParserTest, ClearVariablesExceptWithAnEmptySetKeepsEveryVariable) {
  MathParser p;
  EXPECT_EQ(Eval(p, "a=1"), "");
  EXPECT_EQ(Eval(p, "b=2"), "");
  p.ClearVariablesExcept({});
  EXPECT_EQ(p.Variables().size(), 2u);
  EXPECT_EQ(Eval(p, "a+b"), "3");
}

TEST_F(MathParserTest, ClearVariablesExceptKeepsExactlyTheNamedOnes) {
  MathParser p;
  for (const char* t : {"a=1", "b=2", "B=3", "c=4"}) EXPECT_EQ(Eval(p, t), "");
  p.ClearVariablesExcept({"b", "c", "not_there"});
  EXPECT_EQ(p.Variables().size(), 2u);
  EXPECT_EQ(Eval(p, "b+c"), "6");
  EXPECT_EQ(Eval(p, "B"), "error: Unknown symbol \"B\"");
  EXPECT_EQ(Eval(p, "a"), "error: Unknown symbol \"a\"");
}

TEST_F(MathParserTest, ClearStackRemovesEveryVariable) {
  MathParser p;
  EXPECT_EQ(Eval(p, "a=1"), "");
  EXPECT_EQ(Eval(p, "s={\"x\",\"y\"}"), "");
  p.ClearStack();
  EXPECT_TRUE(p.Variables().empty());
  EXPECT_EQ(Eval(p, "s"), "error: Unknown symbol \"s\"");
}

TEST_F(MathParserTest, ShowMathParserStackListsNamesAndScalarValues) {
  MathParser p;
  EXPECT_EQ(Eval(p, "b=2.5"), "");
  EXPECT_EQ(Eval(p, "a=\"x\""), "");
  testing::internal::CaptureStderr();
  MathParser::ShowMathParserStack(&p);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "a\nb\n2.5\n");
}

symtab* AnswerFortyTwo(char* name) {
  if (std::string(name) != "answer") return nullptr;
  auto* s = new symtab;
  s->SetScalar(42);
  return s;
}

TEST_F(MathParserTest, CopyConstructorCopiesVariablesHooksAndOptions) {
  MathParser p;
  EXPECT_EQ(Eval(p, "v={1,2}"), "");
  p.AddGetFunc(AnswerFortyTwo);
  p.AllowEscapeCharactersInStrings(false);
  MathParser copy(p);
  EXPECT_EQ(Eval(p, "v[0]=7"), "");
  EXPECT_EQ(Eval(copy, "v"), "1, 2");
  EXPECT_EQ(Eval(copy, "answer"), "42");
  EXPECT_FALSE(copy.AllowEscapeCharactersInStrings());
}

TEST_F(MathParserTest, CopyAssignmentReplacesTheVariables) {
  MathParser p, q;
  EXPECT_EQ(Eval(p, "a=1"), "");
  EXPECT_EQ(Eval(q, "b=2"), "");
  q = p;
  EXPECT_EQ(Eval(q, "a"), "1");
  EXPECT_EQ(Eval(q, "b"), "error: Unknown symbol \"b\"");
  EXPECT_EQ(Eval(q, "a=5"), "");
  EXPECT_EQ(Eval(p, "a"), "1");
}

// ---- Assignments switched off ---------------------------------------------------

TEST_F(MathParserTest, WithAssignmentsOffTableVariablesAreNotSeen) {
  MathParser p;
  symtab* a = NewScalar("a", 1);
  p.AddVariable(a);
  a->Delete();
  p.AllowAssign(0);
  EXPECT_EQ(p.AllowAssign(), 0);
  EXPECT_EQ(p.GetVariable("a"), nullptr);
  EXPECT_EQ(Eval(p, "a"), "error: Unknown symbol \"a\"");
  // Nothing is entered into the table either.
  EXPECT_EQ(p.GetVariable("other"), nullptr);
  EXPECT_EQ(Eval(p, "other"), "error: Unknown symbol \"other\"");
  EXPECT_EQ(p.Variables().size(), 1u);
  p.AllowAssign(1);
  EXPECT_EQ(Eval(p, "a"), "1");
}

TEST_F(MathParserTest, WithAssignmentsOffEveryStoreIsRefused) {
  MathParser p;
  EXPECT_EQ(Eval(p, "v={1,2}"), "");
  p.AllowAssign(0);
  p.AddGetFunc(MathParser::GetDataPi);
  EXPECT_EQ(Eval(p, "a=1"), "error: Assignments not allowed");
  EXPECT_EQ(Eval(p, "pi+=1"), "error: Assignments not allowed");
  EXPECT_EQ(Eval(p, "pi++"), "error: Assignments not allowed");
  EXPECT_EQ(Eval(p, "v[0]=1"), "error: Assignments not allowed");
  EXPECT_EQ(p.ErrorPosition(), 1);
  // Get functions still answer.
  EXPECT_EQ(Eval(p, "pi*2"), "6.28319");
  p.AllowAssign(1);
  EXPECT_EQ(Eval(p, "v"), "1, 2");
  EXPECT_EQ(Eval(p, "a"), "error: Unknown symbol \"a\"");
}

// ---- Get and set functions --------------------------------------------------------

TEST_F(MathParserTest, GetFunctionsAnswerForUndefinedNames) {
  MathParser p;
  EXPECT_EQ(Eval(p, "pi"), "error: Unknown symbol \"pi\"");
  p.AddGetFunc(MathParser::GetDataPi);
  Reports().clear();
  symtab* v = p.Evaluate("pi");
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->type, SYM_SCALAR);
  EXPECT_DOUBLE_EQ(v->value, 4 * std::atan(1.0));
  EXPECT_EQ(v->name, nullptr);
  v->Delete();
  EXPECT_EQ(Eval(p, "PI*2"), "6.28319");
  EXPECT_EQ(Eval(p, "Pi"), "error: Unknown symbol \"Pi\"");
}

TEST_F(MathParserTest, GetDataPiAnswersExactlyPiAndPI) {
  for (const char* name : {"pi", "PI"}) {
    std::string n = name;
    symtab* v = MathParser::GetDataPi(n.data());
    ASSERT_NE(v, nullptr) << name;
    EXPECT_DOUBLE_EQ(v->value, 3.14159265358979323846);
    v->Delete();
  }
  for (const char* name : {"Pi", "pI", "pi2", "p", ""}) {
    std::string n = name;
    EXPECT_EQ(MathParser::GetDataPi(n.data()), nullptr) << name;
  }
}

symtab* AnswerSeven(char* name) {
  if (std::string(name) != "answer" && std::string(name) != "seven") return nullptr;
  auto* s = new symtab;
  s->SetScalar(7);
  return s;
}

TEST_F(MathParserTest, GetFunctionsAreAskedInTheOrderOfAddition) {
  MathParser p;
  p.AddGetFunc(AnswerFortyTwo);
  p.AddGetFunc(AnswerSeven);
  EXPECT_EQ(Eval(p, "answer"), "42");
  EXPECT_EQ(Eval(p, "seven"), "7");
}

TEST_F(MathParserTest, AddGetFuncIgnoresAFunctionAlreadyThere) {
  MathParser p;
  p.AddGetFunc(MathParser::GetDataPi);
  p.AddGetFunc(AnswerFortyTwo);
  p.AddGetFunc(MathParser::GetDataPi);
  EXPECT_EQ(p.NumGetFuncs(), 2);
}

TEST_F(MathParserTest, CopyGetFuncsAddsTheOtherParsersGetFunctions) {
  MathParser p, q;
  p.AddGetFunc(AnswerFortyTwo);
  q.AddGetFunc(MathParser::GetDataPi);
  q.AddGetFunc(AnswerFortyTwo);
  p.CopyGetFuncs(&q);
  EXPECT_EQ(p.NumGetFuncs(), 2);
  EXPECT_EQ(Eval(p, "pi > 3"), "1");
}

struct Store {
  std::string name;
  std::string value;
};
std::vector<Store>& Stores() {
  static std::vector<Store> stores;
  return stores;
}
int RecordStore(char* name, symtab* value) {
  std::string text;
  if (!quorvix::FormatValue(*value, quorvix::ValueFormat{}, text)) text = "(no text)";
  Stores().push_back({name, text});
  return 0;
}

TEST_F(MathParserTest, SetFunctionsHearEveryStoreWithTheNewValue) {
  MathParser p;
  p.AddSetFunc(RecordStore);
  Stores().clear();
  EXPECT_EQ(Eval(p, "a=4"), "");
  EXPECT_EQ(Eval(p, "a+=1"), "");
  EXPECT_EQ(Eval(p, "a++"), "5");
  EXPECT_EQ(Eval(p, "v={1,2}"), "");
  EXPECT_EQ(Eval(p, "v[1]=9"), "");
  ASSERT_EQ(Stores().size(), 5u);
  EXPECT_EQ(Stores()[0].name, "a");
  EXPECT_EQ(Stores()[0].value, "4");
  EXPECT_EQ(Stores()[1].value, "5");
  EXPECT_EQ(Stores()[2].value, "6");
  EXPECT_EQ(Stores()[3].name, "v");
  EXPECT_EQ(Stores()[4].name, "v");
  EXPECT_EQ(Stores()[4].value, "1, 9");
}

TEST_F(MathParserTest, SetFunctionsAreNotCalledWhenTheStoreFails) {
  MathParser p;
  EXPECT_EQ(Eval(p, "v={1,2}"), "");
  p.AddSetFunc(RecordStore);
  Stores().clear();
  EXPECT_EQ(Eval(p, "v[5]=1"), "error: Subscript out of range");
  EXPECT_EQ(Eval(p, "1=2"), "error: Invalid assignment");
  EXPECT_EQ(Eval(p, "@printable(a=1)"), "a = 1");
  EXPECT_TRUE(Stores().empty());
}

TEST_F(MathParserTest, AddSetFuncDoesNotTestForDuplicates) {
  MathParser p;
  p.AddSetFunc(RecordStore);
  p.AddSetFunc(RecordStore);
  EXPECT_EQ(p.NumSetFuncs(), 2);
  Stores().clear();
  EXPECT_EQ(Eval(p, "a=1"), "");
  EXPECT_EQ(Stores().size(), 2u);
}

// ---- Options ------------------------------------------------------------------------

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
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(Eval(p, "a=1"), "");
  EXPECT_EQ(Eval(p, "b=0"), "");
  EXPECT_EQ(Run(p, e.get()), "2");
  symtab* a = NewScalar("a", 5);
  p.AddVariable(a);
  a->Delete();
  EXPECT_EQ(Run(p, e.get()), "10");
  p.ClearVariable("b");
  EXPECT_EQ(Run(p, e.get()), "error: Invalid addition type");
  EXPECT_EQ(Eval(p, "b={1,2}"), "");
  EXPECT_EQ(Run(p, e.get()), "11, 12");
}

TEST_F(MathParserTest, ParsedExpressionReportsItsErrors) {
  MathParser p;
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("1/a"));
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(Eval(p, "a=0"), "");
  EXPECT_EQ(Run(p, e.get()), "error: Divide by zero");
  EXPECT_EQ(Eval(p, "a=4"), "");
  EXPECT_EQ(Run(p, e.get()), "0.25");
}

TEST_F(MathParserTest, ParsedExpressionWithAnAssignmentStoresEachTime) {
  MathParser p;
  std::unique_ptr<MathParserExpression> e(p.CreateExpression("n++"));
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(Eval(p, "n=0"), "");
  EXPECT_EQ(Run(p, e.get()), "0");
  EXPECT_EQ(Run(p, e.get()), "1");
  EXPECT_EQ(Eval(p, "n"), "2");
}

TEST_F(MathParserTest, EvaluatingANullExpressionYieldsNull) {
  MathParser p;
  EXPECT_EQ(p.Evaluate(static_cast<MathParserExpression*>(nullptr)), nullptr);
}

TEST_F(MathParserTest, CreateExpressionOfTextThatDoesNotParseIsNull) {
  MathParser p;
  for (const char* text : {"", "   ", "1+", "(1", "#", "a ? b", "nosuchfunction(1)"}) {
    MathParserExpression* e = p.CreateExpression(text);
    EXPECT_EQ(e, nullptr) << text;
    delete e;
  }
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

TEST(PreprocessForHiCharTest, TakesHighCharactersOutOfStringLiterals) {
  using P = MathParserTestPeer;
  EXPECT_EQ(P::Preprocess("\"a\xE9" "b\""), "\"a\"+chr(-23)+\"b\"");
  // Right before the closing quote the string is not reopened.
  EXPECT_EQ(P::Preprocess("\"a\xE9\"+x"), "\"a\"+chr(-23)+x");
  EXPECT_EQ(P::Preprocess("\"\xFF\xE8\""), "\"\"+chr(-1)+\"\"+chr(-24)");
}

TEST(PreprocessForHiCharTest, LeavesEverythingElseAlone) {
  using P = MathParserTestPeer;
  EXPECT_EQ(P::Preprocess(""), "");
  EXPECT_EQ(P::Preprocess("a\xE9 + \"plain\""), "a\xE9 + \"plain\"");
  EXPECT_EQ(P::Preprocess("\"x\" + \xE9 + \"y\""), "\"x\" + \xE9 + \"y\"");
}

}  // namespace
