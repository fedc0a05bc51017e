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

std::string Label(Filler& filler, const char* text, bool* was_null) {
  char* out = filler.FillLabel(text);
  *was_null = out == nullptr;
  std::string r = out ? out : "";
  delete[] out;
  return r;
}

// A built-in that hands back a value of no kind.
symtab* UndefinedValue(sym_list*) { return new symtab; }

TEST(FillerFillTest, ErrorsArgumentMayBeNull) {
  Filler filler;
  char* out = filler.Fill("a{1/0}", nullptr);
  ASSERT_NE(out, nullptr);
  EXPECT_STREQ(out, "a");
  delete[] out;
}

TEST(FillerFillTest, ValueOfNoKindIsAnUndefinedValueType) {
  MathParser::AddFunc("tt_undefined_value", UndefinedValue, 0);
  Filler filler;
  Filled r = FillText(filler, "a{tt_undefined_value()}b");
  EXPECT_EQ(r.output, "a");
  EXPECT_EQ(r.errors, "Undefined value type\r\n");
}

TEST(FillerFillTest, FillFileOfAMissingFileReturnsNullAndNoErrors) {
  Filler filler;
  char* errors = reinterpret_cast<char*>(&filler);
  char* out = filler.FillFile("/nonexistent_dir_q/none.txt", &errors);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(errors, nullptr);
}

TEST(FillerLabelTest, ReturnsTheOutputWhenThereIsNoError) {
  Filler filler;
  bool was_null = true;
  EXPECT_EQ(Label(filler, "a{1+1}", &was_null), "a2");
  EXPECT_FALSE(was_null);
}

TEST(FillerLabelTest, ReturnsNullOnAnExpressionErrorAfterOutput) {
  Filler filler;
  bool was_null = false;
  Label(filler, "written{1/0}", &was_null);
  EXPECT_TRUE(was_null);
}

TEST(FillerLabelTest, ErrorOfAnEarlierEvaluationDoesNotCount) {
  Filler filler;
  symtab* v = filler.GetMathParser()->Evaluate("1/0");
  ASSERT_EQ(v, nullptr);
  bool was_null = true;
  EXPECT_EQ(Label(filler, "ok", &was_null), "ok");
  EXPECT_FALSE(was_null);
}

TEST(FillerLabelTest, StatementErrorKeepsTheOutput) {
  // Only errors of the expression service make the label null.
  Filler filler;
  bool was_null = true;
  EXPECT_EQ(Label(filler, "a{endif}", &was_null), "a{error}");
  EXPECT_FALSE(was_null);
}

TEST(FillerEvaluateTest, ReturnsTheReturnCode) {
  Filler filler;
  symtab* v = filler.Evaluate("{return 6 * 7}", nullptr);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->type, SYM_SCALAR);
  EXPECT_EQ(v->value, 42.0);
}

TEST(FillerEvaluateTest, TextBeforeTheFirstBraceIsSkipped) {
  // "return" in front of the brace would end the fill with 1 if it were read.
  Filler filler;
  symtab* v = filler.Evaluate("return 1 {return 2}", nullptr);
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(v->value, 2.0);
}

TEST(FillerEvaluateTest, TextWithoutBraceGivesNoReturnCode) {
  Filler filler;
  EXPECT_EQ(filler.Evaluate("return 3", nullptr), nullptr);
}

TEST(FillerEvaluateTest, ErrorsAreHandedOut) {
  Filler filler;
  char* errors = nullptr;
  EXPECT_EQ(filler.Evaluate("{return 1/0}", &errors), nullptr);
  // "return" evaluates without a message of its own.
  EXPECT_EQ(errors, nullptr);
  delete[] errors;
  EXPECT_EQ(filler.Evaluate("{2/0}", &errors), nullptr);
  ASSERT_NE(errors, nullptr);
  EXPECT_STREQ(errors, "Divide by zero in expression:\r\n2/0\r\n");
  delete[] errors;
}

TEST(FillerEvaluateTest, GetReturnCodeTransfersOwnership) {
  Filler filler;
  symtab* held = filler.Evaluate("{return 5}", nullptr);
  ASSERT_NE(held, nullptr);
  symtab* taken = filler.GetReturnCode();
  EXPECT_EQ(taken, held);
  EXPECT_EQ(filler.GetReturnCode(), nullptr);
  // The caller owns it now: it outlives the next fill.
  FillText(filler, "x");
  EXPECT_EQ(taken->value, 5.0);
  taken->Delete();
}

TEST(FillerEvaluateTest, NextFillDropsAnUntakenReturnCode) {
  Filler filler;
  ASSERT_NE(filler.Evaluate("{return 5}", nullptr), nullptr);
  FillText(filler, "x");
  EXPECT_EQ(filler.GetReturnCode(), nullptr);
}

TEST(FillerEvaluateTest, NewEvaluateReplacesTheReturnCode) {
  Filler filler;
  ASSERT_NE(filler.Evaluate("{return 5}", nullptr), nullptr);
  EXPECT_EQ(filler.Evaluate("{x = 1}", nullptr), nullptr);
}

TEST(FillerBetweenFillsTest, VariablesSurvive) {
  Filler filler;
  FillText(filler, "{kept_v = 3}");
  EXPECT_EQ(FillText(filler, "{kept_v}").output, "3");
}

TEST(FillerBetweenFillsTest, MacrosSurvive) {
  Filler filler;
  EXPECT_TRUE(FillText(filler, "{define m(a)}<{a}>{enddefine}").errors_null);
  EXPECT_EQ(FillText(filler, "{m(1)}").output, "<1>");
}

TEST(FillerBetweenFillsTest, FormatsResetToTheDefaults) {
  Filler filler;
  EXPECT_EQ(FillText(filler, "{format %8.3f, array}{1}").output, "   1.000");
  EXPECT_EQ(FillText(filler, "{1}|{ {1,2} }|{\"s\"}").output, "1|1, 2|s");
  EXPECT_EQ(FillText(filler, "{format a5}[{\"s\"}]").output, "[s    ]");
  EXPECT_EQ(FillText(filler, "{1}|[{\"s\"}]").output, "1|[s]");
}

TEST(FillerBetweenFillsTest, ConditionStateResets) {
  Filler filler;
  FillText(filler, "{if 0}");
  EXPECT_EQ(FillText(filler, "x").output, "x");
  FillText(filler, "{while (1)}{break}");
  EXPECT_EQ(FillText(filler, "y").output, "y");
}

TEST(FillerBetweenFillsTest, ErrorTextIsPerFill) {
  Filler filler;
  EXPECT_FALSE(FillText(filler, "{1/0}").errors_null);
  Filled r = FillText(filler, "ok");
  EXPECT_TRUE(r.errors_null);
  EXPECT_EQ(r.output, "ok");
}

TEST(FillerBetweenFillsTest, ErrorFlagIsPerFill) {
  // Only the first expression error of a fill is described: a new fill
  // describes its own again.
  Filler filler;
  FillText(filler, "{1/0}");
  EXPECT_EQ(FillText(filler, "{2/0}").errors, "Divide by zero in expression:\r\n2/0\r\n");
}

TEST(FillerBetweenFillsTest, SwitchesSetByStatementsSurvive) {
  Filler filler;
  FillText(filler, "{safe_quotes_on}{max_compatibility_on}");
  EXPECT_EQ(FillText(filler, "\"{1}\"").output, "\"{1}\"");
  EXPECT_EQ(FillText(filler, "{if 1}A{else}B{else}C{endif}").output, "AC");
}

TEST(FillerBetweenFillsTest, SafeQuotesFromTheHost) {
  Filler filler;
  filler.SafeQuotes(1);
  EXPECT_EQ(FillText(filler, "\"{1}\" {2}").output, "\"{1}\" 2");
  filler.SafeQuotes(0);
  EXPECT_EQ(FillText(filler, "\"{1}\"").output, "\"1\"");
}

TEST(FillerCopyTest, CopyHasItsOwnMacros) {
  Filler original;
  FillText(original, "{define m()}one{enddefine}");
  Filler copy(original);
  FillText(original, "{define m()}two{enddefine}");
  EXPECT_EQ(FillText(copy, "{m()}").output, "one");
  EXPECT_EQ(FillText(original, "{m()}").output, "two");
}

TEST(FillerCopyTest, AssignmentCopiesMacrosAndSwitches) {
  Filler original;
  FillText(original, "{define m()}M{enddefine}{safe_quotes_on}");
  Filler target;
  target = original;
  EXPECT_EQ(FillText(target, "{m()}\"{1}\"").output, "M\"{1}\"");
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
