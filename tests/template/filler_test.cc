// The engine's host operations: Fill, FillLabel, Evaluate and the return
// code, host macros, and what an engine keeps or resets from one fill to the next.
#include <memory>
#include <string>

#include "support/support.h"

namespace {

using qt::Fill;

// The label, or "<null>".
std::string Label(Filler& filler, const char* text) {
  char* out = filler.FillLabel(text);
  std::string r = out ? out : "<null>";
  delete[] out;
  return r;
}

// The expansion of a host macro call, or "<null>".
std::string Expand(Filler& filler, std::string call) {
  char* out = filler.EvaluateMacro(call.data());
  std::string r = out ? out : "<null>";
  delete[] out;
  return r;
}
int Define(Filler& filler, std::string definition) { return filler.DefineMacro(definition.data()); }

// A built-in that hands back a value of no kind.
symtab* UndefinedValue(sym_list*) { return new symtab; }

TEST(FillerTest, NullErrorsArgumentUndefinedValueAndMissingFile) {
  MathParser::AddFunc("tt_undefined_value", UndefinedValue, 0);
  Filler filler;
  char* out = filler.Fill("a{1/0}", nullptr);  // the errors argument may be null
  EXPECT_STREQ(out, "a");
  delete[] out;
  qt::Filled r = Fill(filler, "a{tt_undefined_value()}b");
  EXPECT_EQ(r.output, "a");
  EXPECT_EQ(r.errors, "Undefined value type\r\n");
  // FillFile of a missing file returns null and no errors.
  char* errors = reinterpret_cast<char*>(&filler);
  EXPECT_EQ(filler.FillFile("/nonexistent_dir_q/none.txt", &errors), nullptr);
  EXPECT_EQ(errors, nullptr);
}

TEST(FillerTest, LabelIsNullOnlyOnAnExpressionErrorOfThisLabel) {
  Filler filler;
  EXPECT_EQ(Label(filler, "a{1+1}"), "a2");
  EXPECT_EQ(Label(filler, "written{1/0}"), "<null>");
  // An error of an earlier evaluation does not count.
  ASSERT_EQ(filler.GetMathParser()->Evaluate("1/0"), nullptr);
  EXPECT_EQ(Label(filler, "ok"), "ok");
  // A statement error keeps the output.
  EXPECT_EQ(Label(filler, "a{endif}"), "a{error}");
}

TEST(FillerTest, EvaluateGivesTheReturnCodeWhichTheCallerMayTake) {
  Filler filler;
  symtab* v = filler.Evaluate("{return 6 * 7}", nullptr);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(qt::Text(*v), "42");
  // Text before the first brace is skipped: "return" there would end the
  // fill with 1 if it were read.
  v = filler.Evaluate("return 1 {return 2}", nullptr);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->value, 2.0);
  EXPECT_EQ(filler.Evaluate("return 3", nullptr), nullptr);
  char* errors = nullptr;
  EXPECT_EQ(filler.Evaluate("{return 1/0}", &errors), nullptr);
  EXPECT_EQ(errors, nullptr);  // "return" evaluates without a message of its own
  EXPECT_EQ(filler.Evaluate("{2/0}", &errors), nullptr);
  ASSERT_NE(errors, nullptr);
  EXPECT_STREQ(errors, "Divide by zero in expression:\r\n2/0\r\n");
  delete[] errors;

  symtab* held = filler.Evaluate("{return 5}", nullptr);
  EXPECT_EQ(filler.GetReturnCode(), held);
  EXPECT_EQ(filler.GetReturnCode(), nullptr);
  // The caller owns it now: it outlives the next fill.
  Fill(filler, "x");
  EXPECT_EQ(held->value, 5.0);
  held->Delete();
  // An untaken code is dropped by the next fill or evaluation.
  ASSERT_NE(filler.Evaluate("{return 5}", nullptr), nullptr);
  Fill(filler, "x");
  EXPECT_EQ(filler.GetReturnCode(), nullptr);
  ASSERT_NE(filler.Evaluate("{return 5}", nullptr), nullptr);
  EXPECT_EQ(filler.Evaluate("{x = 1}", nullptr), nullptr);
}

TEST(FillerTest, VariablesMacrosAndSwitchesSurviveFormatsConditionsAndErrorsReset) {
  Filler filler;
  const struct {
    const char *text, *output;
  } fills[] = {
      {"{kept_v = 3}{define m(a)}<{a}>{enddefine}", ""},
      {"{kept_v}{m(1)}", "3<1>"},
      {"{format %8.3f, array}{1}", "   1.000"},
      {"{1}|{ {1,2} }|{\"s\"}", "1|1, 2|s"},
      {"{format a5}[{\"s\"}]", "[s    ]"},
      {"[{\"s\"}]", "[s]"},
      {"{if 0}", nullptr},
      {"x", "x"},
      {"{while (1)}{break}", nullptr},  // its output is not the point
      {"y", "y"},
      {"{safe_quotes_on}{max_compatibility_on}", ""},
      {"\"{1}\"", "\"{1}\""},
      {"{if 1}A{else}B{else}C{endif}", "AC"},
  };
  for (const auto& f : fills) {
    const std::string output = Fill(filler, f.text).output;
    if (f.output) {
      EXPECT_EQ(output, f.output) << f.text;
    }
  }
  // The host switches safe quotes off again.
  filler.SafeQuotes(0);
  EXPECT_EQ(Fill(filler, "\"{1}\"").output, "\"1\"");
  // Only the first expression error of a fill is described: a new fill
  // describes its own again, and a fill without errors has none.
  EXPECT_FALSE(Fill(filler, "{1/0}").errors_null);
  EXPECT_EQ(Fill(filler, "{2/0}").errors, "Divide by zero in expression:\r\n2/0\r\n");
  EXPECT_TRUE(Fill(filler, "ok").errors_null);
}

TEST(FillerTest, CopyAndAssignmentHaveTheirOwnMacrosAndSwitches) {
  Filler original;
  Fill(original, "{define m()}one{enddefine}{safe_quotes_on}");
  Filler copy(original);
  Filler target;
  target = original;
  Fill(original, "{define m()}two{enddefine}");
  EXPECT_EQ(Fill(copy, "{m()}").output, "one");
  EXPECT_EQ(Fill(target, "{m()}\"{1}\"").output, "one\"{1}\"");
  EXPECT_EQ(Fill(original, "{m()}").output, "two");
}

TEST(FillerTest, SharedParserIsNotOwned) {
  auto parser = std::make_unique<MathParser>();
  {
    Filler filler(parser.get());
    EXPECT_EQ(filler.GetMathParser(), parser.get());
    Fill(filler, "{shared_v = 8}");
  }
  // The filler is gone; the parser and its variables are still there.
  symtab* v = parser->Evaluate("shared_v");
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->value, 8.0);
  v->Delete();
}

TEST(FillerTest, HostMacroDefinitionsAndCalls) {
  // Each case defines in a fresh engine (unless `definition` is null) and
  // expands `call` unfilled.
  const struct {
    const char* definition;
    int defined;
    const char *call, *expansion;
  } cases[] = {
      // Parameters are replaced inside brace groups; the result is not filled.
      {"m,a,b)a <{a}|{b}> b", 1, "m,1,2)", "a <{1}|{2}> b"},
      {"m,a)<{a + 1}>", 1, "m,x)", "<{x + 1}>"},
      // Not inside a string literal.
      {"m,a){\"a\" + a}", 1, "m,5)", "{\"a\" + 5}"},
      // Missing arguments become a quoted null.
      {"m,a,b){a}{b}", 1, "m,1)", "{1}{\"(null)\"}"},
      {"m,)body {1}", 1, "m,)", "body {1}"},
      {nullptr, 0, "nothing_here,1)", "<null>"},
      // A call without comma, with too many arguments or left open.
      {"m,a){a}", 1, "m", "<null>"},
      {"m,a){a}", 1, "m,1,2)", "<null>"},
      {"m,a){a}", 1, "m,1", "<null>"},
      // A definition without comma stores nothing; an open parameter list
      // leaves an empty macro.
      {"m", 0, "m,)", "<null>"},
      {"m,a body", 0, "m,)", ""},
  };
  for (const auto& c : cases) {
    Filler filler;
    if (c.definition) {
      EXPECT_EQ(Define(filler, c.definition), c.defined) << c.definition;
    }
    EXPECT_EQ(Expand(filler, c.call), c.expansion) << c.call;
  }
}

TEST(FillerTest, HostMacrosAreApartFromTemplateMacros) {
  Filler filler;
  ASSERT_EQ(Define(filler, "m,)one"), 1);
  ASSERT_EQ(Define(filler, "m,)two"), 1);
  EXPECT_EQ(Expand(filler, "m,)"), "two");
  std::string name = "m";
  filler.RemoveMacro(name.data());
  EXPECT_EQ(Expand(filler, "m,)"), "<null>");
  name = "never_defined";
  filler.RemoveMacro(name.data());  // harmless
  ASSERT_EQ(Define(filler, "hm,)x"), 1);
  Fill(filler, "{define tm()}T{enddefine}");
  filler.ResetMacros();
  EXPECT_EQ(Expand(filler, "hm,)"), "<null>");
  EXPECT_EQ(Fill(filler, "{tm()}").errors, "Syntax error in expression:\r\ntm()\r\n");
  ASSERT_EQ(Define(filler, "hm,a)X{a}"), 1);
  EXPECT_EQ(Fill(filler, "{hm(1)}").errors, "Syntax error in expression:\r\nhm(1)\r\n");
  Fill(filler, "{define tm(a)}T{a}{enddefine}");
  EXPECT_EQ(Expand(filler, "tm,1)"), "<null>");
  name = "tm";
  filler.RemoveMacro(name.data());  // does not touch the template macro
  EXPECT_EQ(Fill(filler, "{tm(1)}").output, "T1");
  ASSERT_EQ(Define(filler, "same,)host"), 1);
  Fill(filler, "{define same()}template{enddefine}");
  EXPECT_EQ(Expand(filler, "same,)"), "host");
  EXPECT_EQ(Fill(filler, "{same()}").output, "template");
  // A bad parameter list in a template definition is reported without the
  // error header and without "{error}" in the output.
  qt::Filled r = Fill(filler, "{define m(a b)}x{enddefine}");
  EXPECT_EQ(r.output, "");
  EXPECT_EQ(r.errors,
            "illegal parameter speci"
            "fication in macro definition\r\n");
}

}  // namespace
