// The engine's host operations: Fill, FillLabel, Evaluate and the return
// code, and what an engine keeps or resets from one fill to the next.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

struct Filled {
  bool output_null = true;
  std::string output;
  bool errors_null = true;
  std::string errors;
};

Filled FillText(Filler& filler, const char* text) {
  Filled r;
  char* errors = reinterpret_cast<char*>(&r);  // must be overwritten
  char* out = filler.Fill(text, &errors);
  r.output_null = out == nullptr;
  if (out != nullptr) r.output = out;
  r.errors_null = errors == nullptr;
  if (errors != nullptr) r.errors = errors;
  delete[] out;
  delete[] errors;
  return r;
}

// The label, or "<null>".
std::string Label(Filler& filler, const char* text) {
  char* out = filler.FillLabel(text);
  std::string r = out ? out : "<null>";
  delete[] out;
  return r;
}

// A built-in that hands back a value of no kind.
symtab* UndefinedValue(sym_list*) { return new symtab; }

TEST(FillerFillTest, NullErrorsArgumentUndefinedValueAndMissingFile) {
  MathParser::AddFunc("tt_undefined_value", UndefinedValue, 0);
  Filler filler;
  char* out = filler.Fill("a{1/0}", nullptr);  // the errors argument may be null
  EXPECT_STREQ(out, "a");
  delete[] out;
  Filled r = FillText(filler, "a{tt_undefined_value()}b");
  EXPECT_EQ(r.output, "a");
  EXPECT_EQ(r.errors, "Undefined value type\r\n");
  // FillFile of a missing file returns null and no errors.
  char* errors = reinterpret_cast<char*>(&filler);
  EXPECT_EQ(filler.FillFile("/nonexistent_dir_q/none.txt", &errors), nullptr);
  EXPECT_EQ(errors, nullptr);
}

TEST(FillerLabelTest, NullOnlyOnAnExpressionErrorOfThisLabel) {
  Filler filler;
  EXPECT_EQ(Label(filler, "a{1+1}"), "a2");
  EXPECT_EQ(Label(filler, "written{1/0}"), "<null>");
  // An error of an earlier evaluation does not count.
  ASSERT_EQ(filler.GetMathParser()->Evaluate("1/0"), nullptr);
  EXPECT_EQ(Label(filler, "ok"), "ok");
  // A statement error keeps the output.
  EXPECT_EQ(Label(filler, "a{endif}"), "a{error}");
}

TEST(FillerEvaluateTest, ReturnCodeAndErrors) {
  Filler filler;
  symtab* v = filler.Evaluate("{return 6 * 7}", nullptr);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->type, SYM_SCALAR);
  EXPECT_EQ(v->value, 42.0);
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
}

TEST(FillerEvaluateTest, GetReturnCodeTransfersOwnership) {
  Filler filler;
  symtab* held = filler.Evaluate("{return 5}", nullptr);
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(filler.GetReturnCode(), held);
  EXPECT_EQ(filler.GetReturnCode(), nullptr);
  // The caller owns it now: it outlives the next fill.
  FillText(filler, "x");
  EXPECT_EQ(held->value, 5.0);
  held->Delete();
  // An untaken code is dropped by the next fill or evaluation.
  ASSERT_NE(filler.Evaluate("{return 5}", nullptr), nullptr);
  FillText(filler, "x");
  EXPECT_EQ(filler.GetReturnCode(), nullptr);
  ASSERT_NE(filler.Evaluate("{return 5}", nullptr), nullptr);
  EXPECT_EQ(filler.Evaluate("{x = 1}", nullptr), nullptr);
}

TEST(FillerBetweenFillsTest, VariablesAndMacrosSurviveFormatsAndConditionsReset) {
  Filler filler;
  FillText(filler, "{kept_v = 3}");
  EXPECT_EQ(FillText(filler, "{kept_v}").output, "3");
  EXPECT_TRUE(FillText(filler, "{define m(a)}<{a}>{enddefine}").errors_null);
  EXPECT_EQ(FillText(filler, "{m(1)}").output, "<1>");
  // Formats and the condition state reset.
  EXPECT_EQ(FillText(filler, "{format %8.3f, array}{1}").output, "   1.000");
  EXPECT_EQ(FillText(filler, "{1}|{ {1,2} }|{\"s\"}").output, "1|1, 2|s");
  EXPECT_EQ(FillText(filler, "{format a5}[{\"s\"}]").output, "[s    ]");
  EXPECT_EQ(FillText(filler, "{1}|[{\"s\"}]").output, "1|[s]");
  FillText(filler, "{if 0}");
  EXPECT_EQ(FillText(filler, "x").output, "x");
  FillText(filler, "{while (1)}{break}");
  EXPECT_EQ(FillText(filler, "y").output, "y");
}

TEST(FillerBetweenFillsTest, ErrorsArePerFillSwitchesSurvive) {
  Filler filler;
  EXPECT_FALSE(FillText(filler, "{1/0}").errors_null);
  Filled r = FillText(filler, "ok");
  EXPECT_TRUE(r.errors_null);
  EXPECT_EQ(r.output, "ok");
  // Only the first expression error of a fill is described: a new fill
  // describes its own again.
  FillText(filler, "{1/0}");
  EXPECT_EQ(FillText(filler, "{2/0}").errors, "Divide by zero in expression:\r\n2/0\r\n");
  // Switches set by statements survive.
  FillText(filler, "{safe_quotes_on}{max_compatibility_on}");
  EXPECT_EQ(FillText(filler, "\"{1}\"").output, "\"{1}\"");
  EXPECT_EQ(FillText(filler, "{if 1}A{else}B{else}C{endif}").output, "AC");
  // The host switches safe quotes off again.
  filler.SafeQuotes(0);
  EXPECT_EQ(FillText(filler, "\"{1}\"").output, "\"1\"");
}

TEST(FillerCopyTest, CopyAndAssignmentHaveTheirOwnMacrosAndSwitches) {
  Filler original;
  FillText(original, "{define m()}one{enddefine}{safe_quotes_on}");
  Filler copy(original);
  Filler target;
  target = original;
  FillText(original, "{define m()}two{enddefine}");
  EXPECT_EQ(FillText(copy, "{m()}").output, "one");
  EXPECT_EQ(FillText(target, "{m()}\"{1}\"").output, "one\"{1}\"");
  EXPECT_EQ(FillText(original, "{m()}").output, "two");
}

TEST(FillerParserTest, SharedParserIsNotOwned) {
  auto parser = std::make_unique<MathParser>();
  {
    Filler filler(parser.get());
    EXPECT_EQ(filler.GetMathParser(), parser.get());
    FillText(filler, "{shared_v = 8}");
  }
  // The filler is gone; the parser and its variables are still there.
  symtab* v = parser->Evaluate("shared_v");
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->value, 8.0);
  v->Delete();
}

}  // namespace
