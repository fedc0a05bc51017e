// Elementary built-ins called directly through an argument list, the way the
// function-call node calls them.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "expression/builtin_table.h"
#include "quorvix/math_parser.h"

namespace quorvix {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

symtab* Scalar(double x, const char* name = nullptr) {
  auto* s = new symtab;
  s->SetScalar(x);
  s->SetName(name);
  return s;
}

symtab* Array(int rows, int cols, std::vector<double> values, const char* name = nullptr) {
  auto* s = new symtab;
  double* d = s->SetArray(rows, cols);
  for (std::size_t i = 0; i < values.size(); ++i) d[i] = values[i];
  s->SetName(name);
  return s;
}

symtab* Strings(std::vector<const char*> texts) {
  auto* s = new symtab;
  char** list = new char*[texts.size()];
  for (std::size_t i = 0; i < texts.size(); ++i) list[i] = newstrdup(texts[i]);
  s->SetStrings(list, static_cast<int>(texts.size()));
  return s;
}

std::vector<double> Elements(const symtab& s) {
  return std::vector<double>(s.data, s.data + s.rows * s.cols);
}

BuiltinHandler Handler(std::string_view name) {
  for (const BuiltinEntry& e : ElementaryBuiltins())
    if (name == e.name) return e.handler;
  ADD_FAILURE() << "no built-in " << name;
  return nullptr;
}

// Owns the list and the result of one call.
class ElementaryTest : public ::testing::Test {
 protected:
  void SetUp() override { MathParser::ClearError(); }
  void TearDown() override {
    if (result_ != nullptr) result_->Delete();
    MathParser::ClearError();
  }

  // Frees the previous call's result, so one test can make several calls.
  symtab* Call(std::string_view name, std::vector<symtab*> args) {
    if (result_ != nullptr) result_->Delete();
    result_ = nullptr;
    list_ = std::make_unique<sym_list>(static_cast<int>(args.size()));
    for (std::size_t i = 0; i < args.size(); ++i) list_->args[i] = args[i];
    BuiltinHandler h = Handler(name);
    result_ = h != nullptr ? h(list_.get()) : nullptr;
    return result_;
  }

  double CallScalar(std::string_view name, double x) {
    symtab* r = Call(name, {Scalar(x)});
    EXPECT_NE(r, nullptr) << name << "(" << x << ")";
    if (r == nullptr) return kNaN;
    EXPECT_EQ(r->type, SYM_SCALAR);
    return r->value;
  }

  std::string Error() const { return MathParser::ErrorText(); }
  symtab* Slot(int i) const { return list_->args[i]; }

  std::unique_ptr<sym_list> list_;
  symtab* result_ = nullptr;
};

// ---- Contract shared by every one-argument function -------------------------

const char* const kOneArgument[] = {"abs",  "acos", "asin", "atan",  "cint", "cos",  "cosh", "dtor",
                                    "exp",  "int",  "ln",   "log",   "log10", "mag", "maxindex",
                                    "numpts", "rtod", "sin", "sinh", "sqrt", "tan",  "tanh"};

TEST_F(ElementaryTest, WrongCountReportsAndLeavesTheListOwningEverything) {
  for (const char* name : kOneArgument) {
    MathParser::ClearError();
    symtab* a = Scalar(1);
    symtab* b = Scalar(2);
    EXPECT_EQ(Call(name, {a, b}), nullptr) << name;
    EXPECT_EQ(Error(), "Invalid number of arguments") << name;
    EXPECT_EQ(Slot(0), a) << name;
    EXPECT_EQ(Slot(1), b) << name;
  }
}

TEST_F(ElementaryTest, NoArgumentIsAWrongCount) {
  EXPECT_EQ(Call("sqrt", {}), nullptr);
  EXPECT_EQ(Error(), "Invalid number of arguments");
}

TEST_F(ElementaryTest, ResultIsTheTakenRecordWithoutItsName) {
  symtab* arg = Scalar(4, "x");
  symtab* r = Call("sqrt", {arg});
  EXPECT_EQ(r, arg);
  EXPECT_EQ(r->name, nullptr);
  EXPECT_EQ(Slot(0), nullptr);
  EXPECT_EQ(r->value, 2.0);
}

TEST_F(ElementaryTest, EmptyArrayComesBackUnchanged) {
  for (const char* name : {"acos", "sqrt", "log", "int", "rtod", "sin", "exp", "abs"}) {
    MathParser::ClearError();
    symtab* arg = Array(1, 0, {});
    symtab* r = Call(name, {arg});
    ASSERT_EQ(r, arg) << name;
    EXPECT_EQ(r->type, SYM_ARRAY) << name;
    EXPECT_EQ(r->rows, 1) << name;
    EXPECT_EQ(r->cols, 0) << name;
    EXPECT_EQ(Error(), "") << name;
  }
}

// ---- Functions with their own domain checks --------------------------------

TEST_F(ElementaryTest, ArrayIsConvertedElementByElementInRowMajorOrder) {
  symtab* r = Call("int", {Array(2, 2, {1.5, -1.5, 2.7, -0.2})});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->rows, 2);
  EXPECT_EQ(r->cols, 2);
  EXPECT_EQ(Elements(*r), (std::vector<double>{1, -2, 2, -1}));
}

TEST_F(ElementaryTest, ArcFunctionsAcceptTheClosedUnitInterval) {
  EXPECT_EQ(CallScalar("acos", 1.0), 0.0);
  EXPECT_DOUBLE_EQ(CallScalar("asin", -1.0), -std::acos(0.0));
  EXPECT_EQ(Error(), "");
}

TEST_F(ElementaryTest, ArcFunctionsRejectValuesBeyondOneAndNaN) {
  for (const char* name : {"acos", "asin"}) {
    for (double x : {1.0000001, -1.0000001, kNaN}) {
      MathParser::ClearError();
      EXPECT_EQ(Call(name, {Scalar(x)}), nullptr) << name << " " << x;
      EXPECT_EQ(Error(), "Domain violation") << name << " " << x;
      EXPECT_EQ(Slot(0), nullptr);
    }
  }
}

TEST_F(ElementaryTest, ArcFunctionOnArrayWithBadElementReturnsNull) {
  EXPECT_EQ(Call("acos", {Array(1, 3, {0.5, 1.0, 2.0})}), nullptr);
  EXPECT_EQ(Error(), "Domain violation");
}

TEST_F(ElementaryTest, SqrtOfVectorStopsAtTheNegativeElementAndKeepsTheVector) {
  symtab* arg = Array(1, 4, {4, 9, -1, 16});
  symtab* r = Call("sqrt", {arg});
  ASSERT_EQ(r, arg);
  EXPECT_EQ(Error(), "Domain violation");
  EXPECT_EQ(Elements(*r), (std::vector<double>{2, 3, -1, 16}));
}

TEST_F(ElementaryTest, LogarithmsOfArrayStopAtTheFirstNonPositiveElement) {
  for (const char* name : {"log", "ln", "log10"}) {
    MathParser::ClearError();
    symtab* r = Call(name, {Array(3, 1, {1, 0, 10})});
    ASSERT_NE(r, nullptr) << name;
    EXPECT_EQ(Error(), "Domain violation") << name;
    EXPECT_EQ(Elements(*r), (std::vector<double>{0, 0, 10})) << name;
  }
}

TEST_F(ElementaryTest, ScalarOutsideTheDomainOfSqrtAndLogIsNull) {
  for (auto [name, x] : {std::pair{"sqrt", -1.0}, {"log", 0.0}, {"ln", -2.0}, {"log10", 0.0}}) {
    MathParser::ClearError();
    EXPECT_EQ(Call(name, {Scalar(x)}), nullptr) << name;
    EXPECT_EQ(Error(), "Domain violation") << name;
  }
}

TEST_F(ElementaryTest, NaNPassesTheSqrtAndLogTests) {
  EXPECT_TRUE(std::isnan(CallScalar("log", kNaN)));
  EXPECT_TRUE(std::isnan(CallScalar("sqrt", kNaN)));
  EXPECT_EQ(Error(), "");
}

TEST_F(ElementaryTest, LnAndLogAreOneHandler) { EXPECT_EQ(Handler("ln"), Handler("log")); }

TEST_F(ElementaryTest, LogarithmValues) {
  EXPECT_DOUBLE_EQ(CallScalar("log", std::exp(2.0)), 2.0);
  EXPECT_DOUBLE_EQ(CallScalar("log10", 1000.0), 3.0);
  EXPECT_DOUBLE_EQ(CallScalar("sqrt", 2.25), 1.5);
  EXPECT_DOUBLE_EQ(CallScalar("atan", 1.0), std::acos(0.0) / 2);
}

TEST_F(ElementaryTest, IntRoundsTowardMinusInfinity) {
  EXPECT_EQ(CallScalar("int", -0.5), -1.0);
  EXPECT_EQ(CallScalar("int", -2.5), -3.0);
  EXPECT_EQ(CallScalar("int", 2.9), 2.0);
}

TEST_F(ElementaryTest, CintRoundsHalvesUpward) {
  EXPECT_EQ(CallScalar("cint", 0.5), 1.0);
  EXPECT_EQ(CallScalar("cint", -0.5), 0.0);
  EXPECT_EQ(CallScalar("cint", -2.5), -2.0);
  EXPECT_EQ(CallScalar("cint", 2.4), 2.0);
}

TEST_F(ElementaryTest, AngleConversions) {
  const double pi = 4 * std::atan(1.0);
  EXPECT_DOUBLE_EQ(CallScalar("rtod", pi), 180.0);
  EXPECT_DOUBLE_EQ(CallScalar("dtor", 90.0), pi / 2);
  EXPECT_DOUBLE_EQ(CallScalar("dtor", -45.0), -pi / 4);
}

TEST_F(ElementaryTest, CheckedFunctionOfStringIsFreedAndNull) {
  for (const char* name : {"sqrt", "acos", "int", "cint", "rtod"}) {
    MathParser::ClearError();
    EXPECT_EQ(Call(name, {Strings({"a"})}), nullptr) << name;
    EXPECT_EQ(Error(), "Invalid argument type") << name;
    EXPECT_EQ(Slot(0), nullptr) << name;
  }
}

// ---- Thin wrappers ------------------------------------------------------------

TEST_F(ElementaryTest, WrappersComputeTheStandardFunctions) {
  const double x = 0.7;
  EXPECT_DOUBLE_EQ(CallScalar("sin", x), std::sin(x));
  EXPECT_DOUBLE_EQ(CallScalar("cos", x), std::cos(x));
  EXPECT_DOUBLE_EQ(CallScalar("tan", x), std::tan(x));
  EXPECT_DOUBLE_EQ(CallScalar("sinh", x), std::sinh(x));
  EXPECT_DOUBLE_EQ(CallScalar("cosh", x), std::cosh(x));
  EXPECT_DOUBLE_EQ(CallScalar("tanh", x), std::tanh(x));
  EXPECT_DOUBLE_EQ(CallScalar("exp", x), std::exp(x));
  EXPECT_EQ(CallScalar("abs", -x), x);
}

TEST_F(ElementaryTest, WrapperMapsEveryMatrixElement) {
  symtab* r = Call("abs", {Array(2, 3, {-1, 2, -3, 4, -5, 6})});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(Elements(*r), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(ElementaryTest, WrapperOfStringReportsButReturnsTheString) {
  symtab* arg = Strings({"text"});
  symtab* r = Call("sin", {arg});
  EXPECT_EQ(r, arg);
  EXPECT_EQ(Error(), "Invalid argument type");
  ASSERT_EQ(r->type, SYM_STRINGS);
  EXPECT_STREQ(r->str_list[0], "text");
}

TEST_F(ElementaryTest, WrappersHaveNoDomainChecks) {
  EXPECT_EQ(CallScalar("exp", 1000.0), std::numeric_limits<double>::infinity());
  EXPECT_EQ(Error(), "");
}

// ---- atan2 ----------------------------------------------------------------------

TEST_F(ElementaryTest, Atan2OfTwoScalars) {
  symtab* r = Call("atan2", {Scalar(1), Scalar(-1)});
  ASSERT_NE(r, nullptr);
  EXPECT_DOUBLE_EQ(r->value, std::atan2(1.0, -1.0));
}

TEST_F(ElementaryTest, Atan2OfTwoVectorsIsElementWiseInTheFirst) {
  symtab* y = Array(1, 3, {1, -1, 0}, "y");
  symtab* x = Array(3, 1, {1, 1, -1});
  symtab* r = Call("atan2", {y, x});
  ASSERT_EQ(r, y);
  EXPECT_EQ(r->name, nullptr);
  EXPECT_EQ(Slot(1), x);
  EXPECT_EQ(Elements(*r), (std::vector<double>{std::atan2(1.0, 1.0), std::atan2(-1.0, 1.0),
                                                std::atan2(0.0, -1.0)}));
}

TEST_F(ElementaryTest, Atan2OfVectorsOfDifferentLengthReturnsTheFirstUnchanged) {
  symtab* y = Array(1, 3, {1, 2, 3});
  symtab* r = Call("atan2", {y, Array(1, 2, {1, 1})});
  ASSERT_EQ(r, y);
  EXPECT_EQ(Error(), "");
  EXPECT_EQ(Elements(*r), (std::vector<double>{1, 2, 3}));
}

TEST_F(ElementaryTest, Atan2OfVectorAndScalarUsesTheScalarForEveryElement) {
  symtab* r = Call("atan2", {Array(1, 2, {1, -1}), Scalar(2)});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(Elements(*r), (std::vector<double>{std::atan2(1.0, 2.0), std::atan2(-1.0, 2.0)}));
}

TEST_F(ElementaryTest, Atan2OfScalarAndVectorReturnsTheSecondAndSwapsTheFirstIntoTheList) {
  symtab* y = Scalar(1);
  symtab* x = Array(1, 2, {1, -1}, "x");
  symtab* r = Call("atan2", {y, x});
  ASSERT_EQ(r, x);
  EXPECT_EQ(r->name, nullptr);
  EXPECT_EQ(Slot(0), nullptr);
  EXPECT_EQ(Slot(1), y);
  EXPECT_EQ(Elements(*r), (std::vector<double>{std::atan2(1.0, 1.0), std::atan2(1.0, -1.0)}));
}

TEST_F(ElementaryTest, Atan2RejectsAMatrixOrStringAsFirstArgument) {
  EXPECT_EQ(Call("atan2", {Array(2, 2, {1, 2, 3, 4}), Scalar(1)}), nullptr);
  EXPECT_EQ(Error(), "Invalid type for argument 1");
  MathParser::ClearError();
  EXPECT_EQ(Call("atan2", {Strings({"y"}), Scalar(1)}), nullptr);
  EXPECT_EQ(Error(), "Invalid type for argument 1");
}

TEST_F(ElementaryTest, Atan2RejectsAStringAsSecondArgumentAndFreesTheFirst) {
  symtab* x = Strings({"x"});
  EXPECT_EQ(Call("atan2", {Scalar(1), x}), nullptr);
  EXPECT_EQ(Error(), "Invalid type for argument 2");
  EXPECT_EQ(Slot(0), nullptr);
  EXPECT_EQ(Slot(1), x);
}

TEST_F(ElementaryTest, Atan2NeedsTwoArguments) {
  EXPECT_EQ(Call("atan2", {Scalar(1)}), nullptr);
  EXPECT_EQ(Error(), "Invalid number of arguments");
}

// ---- mag, numpts, maxindex ------------------------------------------------------

TEST_F(ElementaryTest, MagOfArrayIsTheEuclideanNormAsScalar) {
  symtab* r = Call("mag", {Array(2, 2, {1, 2, 2, 4})});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->type, SYM_SCALAR);
  EXPECT_EQ(r->data, nullptr);
  EXPECT_EQ(r->rows, 1);
  EXPECT_EQ(r->cols, 1);
  EXPECT_EQ(r->value, 5.0);
}

TEST_F(ElementaryTest, MagOfScalarIsItsAbsoluteValue) { EXPECT_EQ(CallScalar("mag", -3), 3.0); }

TEST_F(ElementaryTest, MagOfStringIsInvalid) {
  EXPECT_EQ(Call("mag", {Strings({"s"})}), nullptr);
  EXPECT_EQ(Error(), "Invalid argument type");
}

TEST_F(ElementaryTest, CountsOfAMatrix) {
  symtab* r = Call("numpts", {Array(3, 4, std::vector<double>(12, 0.0))});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->type, SYM_SCALAR);
  EXPECT_EQ(r->value, 12.0);
  r = Call("maxindex", {Array(3, 4, std::vector<double>(12, 0.0))});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->value, 11.0);
}

TEST_F(ElementaryTest, CountsOfAScalar) {
  EXPECT_EQ(CallScalar("numpts", 7), 1.0);
  EXPECT_EQ(CallScalar("maxindex", 7), 0.0);
}

TEST_F(ElementaryTest, CountsOfAStringListAreTheNumberOfStrings) {
  symtab* r = Call("numpts", {Strings({"a", "bb", "ccc"})});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->type, SYM_SCALAR);
  EXPECT_EQ(r->str_list, nullptr);
  EXPECT_EQ(r->value, 3.0);
  r = Call("maxindex", {Strings({"a", "bb", "ccc"})});
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->value, 2.0);
}

TEST_F(ElementaryTest, CountsOfAnUndefinedValueAreInvalid) {
  for (const char* name : {"numpts", "maxindex"}) {
    MathParser::ClearError();
    EXPECT_EQ(Call(name, {new symtab}), nullptr) << name;
    EXPECT_EQ(Error(), "Invalid argument type") << name;
  }
}

TEST(ElementaryTable, EveryNameIsRegisteredOnceWithItsArgumentWord) {
  std::vector<std::string> names;
  for (const BuiltinEntry& e : ElementaryBuiltins()) {
    EXPECT_NE(e.handler, nullptr) << e.name;
    EXPECT_EQ(e.nargs, std::string_view(e.name) == "atan2" ? 2 : 1) << e.name;
    names.emplace_back(e.name);
  }
  EXPECT_EQ(names.size(), 23u);
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

}  // namespace
}  // namespace quorvix
