#include "expression/value_ops.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quorvix/math_parser.h"

namespace ops = quorvix::ops;

namespace {

// A value as a table row states it; Make() builds the record.
struct Val {
  unsigned short type = SYM_UNDEFINED;
  int rows = 0, cols = 0;
  std::vector<double> nums;
  std::vector<std::string> strs;

  symtab Make() const {
    symtab v;
    if (type == SYM_SCALAR) v.SetScalar(nums[0]);
    if (type == SYM_ARRAY) std::copy(nums.begin(), nums.end(), v.SetArray(rows, cols));
    if (type == SYM_STRINGS) {
      char** list = new char*[strs.size()];
      for (std::size_t i = 0; i < strs.size(); ++i) list[i] = newstrdup(strs[i].c_str());
      v.SetStrings(list, static_cast<int>(strs.size()));
    }
    return v;
  }
};
Val S(double x) { return {SYM_SCALAR, 0, 0, {x}, {}}; }
Val A(int r, int c, std::vector<double> v) { return {SYM_ARRAY, r, c, std::move(v), {}}; }
Val T(std::vector<std::string> s) { return {SYM_STRINGS, 0, 0, {}, std::move(s)}; }
Val U() { return {}; }

void ExpectValue(const symtab& got, const Val& want) {
  ASSERT_EQ(got.type, want.type);
  if (want.type == SYM_SCALAR) {
    EXPECT_NEAR(got.value, want.nums[0], 1e-12);
  }
  if (want.type == SYM_ARRAY) {
    ASSERT_EQ(got.rows, want.rows);
    ASSERT_EQ(got.cols, want.cols);
    for (std::size_t i = 0; i < want.nums.size(); ++i)
      EXPECT_NEAR(got.data[i], want.nums[i], 1e-12) << "element " << i;
  }
  if (want.type == SYM_STRINGS) {
    ASSERT_EQ(got.num_strings, static_cast<int>(want.strs.size()));
    for (std::size_t i = 0; i < want.strs.size(); ++i)
      EXPECT_STREQ(got.str_list[i], want.strs[i].c_str());
  }
}

using BinaryOp = bool (*)(symtab&, symtab&);
bool Less(symtab& a, symtab& b) { return ops::Compare(a, b, ops::kLess); }
bool Equal(symtab& a, symtab& b) { return ops::Compare(a, b, ops::kEqual); }
bool Greater(symtab& a, symtab& b) { return ops::Compare(a, b, ops::kGreater); }
bool LessEqual(symtab& a, symtab& b) { return ops::Compare(a, b, ops::kLess | ops::kEqual); }
bool GreaterEqual(symtab& a, symtab& b) { return ops::Compare(a, b, ops::kGreater | ops::kEqual); }
bool NotEqual(symtab& a, symtab& b) { return ops::Compare(a, b, ops::kLess | ops::kGreater); }

// One binary operation on two values: the expected result, or with
// `message` set the expected failure.
struct BinaryCase {
  const char* name;
  BinaryOp op;
  Val left, right, result;
  const char* message = nullptr;
};

class ValueOpsBinary : public ::testing::TestWithParam<BinaryCase> {
 protected:
  void SetUp() override { MathParser::ClearError(); }
  void TearDown() override { MathParser::ClearError(); }
};

TEST_P(ValueOpsBinary, GivesResultOrMessage) {
  const BinaryCase& c = GetParam();
  symtab left = c.left.Make();
  symtab right = c.right.Make();
  const bool ok = c.op(left, right);
  if (c.message != nullptr) {
    EXPECT_FALSE(ok);
    EXPECT_EQ(MathParser::ErrorText(), c.message);
  } else {
    ASSERT_TRUE(ok) << MathParser::ErrorText();
    EXPECT_FALSE(MathParser::ErrorPending());
    ExpectValue(left, c.result);
  }
}

std::string CaseName(const ::testing::TestParamInfo<BinaryCase>& info) { return info.param.name; }

constexpr const char* kDims = "Operands do not have compatible dimensions";

// clang-format off

INSTANTIATE_TEST_SUITE_P(Add, ValueOpsBinary, ::testing::Values(
    BinaryCase{"Scalars", ops::Add, S(2), S(3), S(5)},
    BinaryCase{"ScalarArray", ops::Add, S(10), A(2, 2, {1, 2, 3, 4}), A(2, 2, {11, 12, 13, 14})},
    BinaryCase{"ArrayScalar", ops::Add, A(1, 2, {1, 2}), S(1), A(1, 2, {2, 3})},
    BinaryCase{"Arrays", ops::Add, A(1, 2, {1, 2}), A(1, 2, {10, 20}), A(1, 2, {11, 22})},
    BinaryCase{"ArraysOfOtherShape", ops::Add, A(2, 1, {1, 2}), A(1, 2, {1, 2}), {}, kDims},
    BinaryCase{"IntegerJoinsString", ops::Add, S(3), T({"a"}), T({"3a"})},
    BinaryCase{"FractionJoinsString", ops::Add, S(2.5), T({"a"}), T({"2.5a"})},
    BinaryCase{"LargeNumberUsesG", ops::Add, S(3e10), T({"a"}), T({"3e+10a"})},
    BinaryCase{"ScalarPlusTwoStringsKeepsScalar", ops::Add, S(5), T({"a", "b"}), S(5)},
    BinaryCase{"StringPlusNumber", ops::Add, T({"a"}), S(3), T({"a3"})},
    BinaryCase{"ListPlusNumber", ops::Add, T({"a", "b"}), S(3), {}, kDims},
    BinaryCase{"ListsPairwise", ops::Add, T({"a", "b"}), T({"x", "y"}), T({"ax", "by"})},
    BinaryCase{"ListPlusOne", ops::Add, T({"a", "b"}), T({"x"}), T({"ax", "bx"})},
    BinaryCase{"OnePlusList", ops::Add, T({"x"}), T({"a", "b"}), T({"xa", "xb"})},
    BinaryCase{"ListsOfOtherCounts", ops::Add, T({"a", "b"}), T({"x", "y", "z"}), {}, kDims},
    BinaryCase{"ArrayPlusString", ops::Add, A(1, 1, {1}), T({"a"}), {}, "Invalid addition type"},
    BinaryCase{"StringPlusArray", ops::Add, T({"a"}), A(1, 1, {1}), {}, "Invalid addition type"},
    BinaryCase{"Undefined", ops::Add, U(), S(1), {}, "Invalid addition type"}), CaseName);

INSTANTIATE_TEST_SUITE_P(Subtract, ValueOpsBinary, ::testing::Values(
    BinaryCase{"Scalars", ops::Subtract, S(2), S(3), S(-1)},
    BinaryCase{"ScalarArray", ops::Subtract, S(10), A(1, 2, {1, 2}), A(1, 2, {9, 8})},
    BinaryCase{"ArrayScalar", ops::Subtract, A(1, 2, {5, 6}), S(1), A(1, 2, {4, 5})},
    BinaryCase{"Arrays", ops::Subtract, A(1, 2, {5, 6}), A(1, 2, {1, 1}), A(1, 2, {4, 5})},
    BinaryCase{"ArraysOfOtherShape", ops::Subtract, A(1, 2, {1, 2}), A(1, 3, {1, 2, 3}), {}, kDims},
    BinaryCase{"RemovalRepeatsOnNewMatches", ops::Subtract, T({"aabb"}), T({"ab"}), T({""})},
    BinaryCase{"RemovesFromEveryString", ops::Subtract, T({"banana", "cabana"}), T({"an"}),
               T({"ba", "caba"})},
    BinaryCase{"EmptyPatternKeepsText", ops::Subtract, T({"abc"}), T({""}), T({"abc"})},
    BinaryCase{"PatternListOfTwo", ops::Subtract, T({"abc"}), T({"a", "b"}), {}, kDims},
    BinaryCase{"StringMinusNumber", ops::Subtract, T({"a"}), S(1), {}, "Invalid subtraction type"},
    BinaryCase{"NumberMinusString", ops::Subtract, S(1), T({"a"}), {}, "Invalid subtraction type"}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(Multiply, ValueOpsBinary, ::testing::Values(
    BinaryCase{"Scalars", ops::Multiply, S(2), S(3), S(6)},
    BinaryCase{"ScalarArray", ops::Multiply, S(2), A(1, 2, {1, 2}), A(1, 2, {2, 4})},
    BinaryCase{"ArrayScalar", ops::Multiply, A(1, 2, {1, 2}), S(3), A(1, 2, {3, 6})},
    BinaryCase{"MatrixProduct", ops::Multiply, A(2, 2, {1, 2, 3, 4}), A(2, 2, {5, 6, 7, 8}),
               A(2, 2, {19, 22, 43, 50})},
    BinaryCase{"MatrixTimesColumn", ops::Multiply, A(2, 3, {1, 2, 3, 4, 5, 6}), A(3, 1, {1, 0, 2}),
               A(2, 1, {7, 16})},
    BinaryCase{"RowTimesColumnIsScalar", ops::Multiply, A(1, 3, {1, 2, 3}), A(3, 1, {4, 5, 6}),
               S(32)},
    BinaryCase{"InnerSizesDiffer", ops::Multiply, A(2, 3, {1, 2, 3, 4, 5, 6}),
               A(2, 3, {1, 2, 3, 4, 5, 6}), {}, kDims},
    BinaryCase{"StringLeft", ops::Multiply, T({"a"}), S(2), {}, "Invalid multiplication type"},
    BinaryCase{"StringRight", ops::Multiply, S(2), T({"a"}), {}, "Invalid multiplication type"}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(Divide, ValueOpsBinary, ::testing::Values(
    BinaryCase{"Scalars", ops::Divide, S(7), S(2), S(3.5)},
    BinaryCase{"ScalarByZero", ops::Divide, S(1), S(0), {}, "Divide by zero"},
    BinaryCase{"ArrayScalar", ops::Divide, A(1, 2, {3, 6}), S(3), A(1, 2, {1, 2})},
    BinaryCase{"ArrayByZero", ops::Divide, A(1, 2, {3, 6}), S(0), {}, "Divide by zero"},
    BinaryCase{"ScalarArray", ops::Divide, S(12), A(2, 1, {3, 4}), A(2, 1, {4, 3})},
    BinaryCase{"ScalarByArrayWithZero", ops::Divide, S(12), A(1, 2, {3, 0}), {}, "Divide by zero"},
    // [1 1; 0 1] has the inverse [1 -1; 0 1].
    BinaryCase{"RightDivision", ops::Divide, A(2, 2, {1, 2, 3, 4}), A(2, 2, {1, 1, 0, 1}),
               A(2, 2, {1, 1, 3, 1})},
    BinaryCase{"RowByMatrix", ops::Divide, A(1, 2, {2, 4}), A(2, 2, {2, 0, 0, 4}), A(1, 2, {1, 1})},
    BinaryCase{"RowByOneByOneIsScalar", ops::Divide, A(1, 1, {6}), A(1, 1, {3}), S(2)},
    BinaryCase{"NonSquareRight", ops::Divide, A(2, 2, {1, 2, 3, 4}), A(2, 3, {1, 2, 3, 4, 5, 6}),
               {}, kDims},
    BinaryCase{"SizeMismatch", ops::Divide, A(1, 3, {1, 2, 3}), A(2, 2, {1, 0, 0, 1}), {}, kDims},
    BinaryCase{"Singular", ops::Divide, A(2, 2, {1, 2, 3, 4}), A(2, 2, {1, 2, 2, 4}), {},
               "Right hand side is not invertible"},
    BinaryCase{"String", ops::Divide, T({"a"}), S(2), {}, "Invalid division type"}),
    CaseName);

INSTANTIATE_TEST_SUITE_P(Modulus, ValueOpsBinary, ::testing::Values(
    BinaryCase{"Scalars", ops::Modulus, S(7), S(3), S(1)},
    BinaryCase{"NegativeKeepsDividendSign", ops::Modulus, S(-7), S(3), S(-1)},
    BinaryCase{"ArrayScalar", ops::Modulus, A(1, 2, {5, 7}), S(4), A(1, 2, {1, 3})},
    BinaryCase{"ScalarArray", ops::Modulus, S(7), A(1, 2, {4, 5}), A(1, 2, {3, 2})},
    BinaryCase{"Arrays", ops::Modulus, A(1, 2, {7, 9}), A(1, 2, {4, 5}), A(1, 2, {3, 4})},
    BinaryCase{"ArraysOfOtherShape", ops::Modulus, A(1, 2, {7, 9}), A(2, 1, {4, 5}), {}, kDims},
    BinaryCase{"ZeroDivisor", ops::Modulus, S(7), S(0), {}, "Operand two cannot be zero"},
    BinaryCase{"ZeroInArrayDivisor", ops::Modulus, S(7), A(1, 2, {2, 0}), {},
               "Operand two cannot be zero"},
    BinaryCase{"StringLeft", ops::Modulus, T({"a"}), S(2), {}, "Invalid left hand side"},
    BinaryCase{"StringRight", ops::Modulus, S(2), T({"a"}), {}, "Invalid right hand side"},
    BinaryCase{"Undefined", ops::Modulus, S(2), U(), {}, "Invalid modulus type"}), CaseName);

INSTANTIATE_TEST_SUITE_P(Power, ValueOpsBinary, ::testing::Values(
    BinaryCase{"Scalars", ops::Power, S(2), S(10), S(1024)},
    BinaryCase{"NegativeBaseWholeExponent", ops::Power, S(-8), S(2), S(64)},
    BinaryCase{"NegativeBaseZeroExponent", ops::Power, S(-8), S(0), S(1)},
    BinaryCase{"NegativeBaseFraction", ops::Power, S(-8), S(0.5), {}, "Domain error"},
    BinaryCase{"NegativeBaseNegativeFraction", ops::Power, S(-8), S(-0.5), {}, "Domain error"},
    BinaryCase{"ZeroToNegative", ops::Power, S(0), S(-1), {}, "Domain error"},
    BinaryCase{"ArrayScalar", ops::Power, A(1, 3, {1, 2, 3}), S(2), A(1, 3, {1, 4, 9})},
    BinaryCase{"ArrayScalarDomain", ops::Power, A(1, 2, {4, -4}), S(0.5), {}, "Domain error"},
    BinaryCase{"ScalarArray", ops::Power, S(2), A(3, 1, {1, 2, 3}), A(3, 1, {2, 4, 8})},
    BinaryCase{"Arrays", ops::Power, A(1, 2, {2, 3}), A(1, 2, {3, 2}), A(1, 2, {8, 9})},
    BinaryCase{"ArraysOfOtherShape", ops::Power, A(1, 2, {2, 3}), A(1, 1, {3}), {}, kDims},
    BinaryCase{"String", ops::Power, S(2), T({"a"}), {}, "Invalid power type"}), CaseName);

INSTANTIATE_TEST_SUITE_P(DotCross, ValueOpsBinary, ::testing::Values(
    BinaryCase{"DotRowAndColumn", ops::Dot, A(1, 3, {1, 2, 3}), A(3, 1, {4, 5, 6}), S(32)},
    BinaryCase{"DotLeftNotVector", ops::Dot, A(2, 2, {1, 2, 3, 4}), A(1, 4, {1, 2, 3, 4}), {},
               "Operand 1 must be vector"},
    BinaryCase{"DotRightNotVector", ops::Dot, A(1, 2, {1, 2}), S(2), {},
               "Operand 2 must be vector"},
    BinaryCase{"DotLengthsDiffer", ops::Dot, A(1, 2, {1, 2}), A(1, 3, {1, 2, 3}), {}, kDims},
    BinaryCase{"Cross", ops::Cross, A(1, 3, {1, 2, 3}), A(1, 3, {4, 5, 6}), A(1, 3, {-3, 6, -3})},
    BinaryCase{"CrossLeftShort", ops::Cross, A(1, 2, {1, 2}), A(1, 3, {4, 5, 6}), {},
               "Operand 1 must have 3 elements"},
    BinaryCase{"CrossRightString", ops::Cross, A(1, 3, {1, 2, 3}), T({"a", "b", "c"}), {},
               "Operand 2 must have 3 elements"}), CaseName);

INSTANTIATE_TEST_SUITE_P(Compare, ValueOpsBinary, ::testing::Values(
    BinaryCase{"LessHolds", Less, S(1), S(2), S(1)},
    BinaryCase{"LessFails", Less, S(2), S(2), S(0)},
    BinaryCase{"LessEqualOnEqual", LessEqual, S(2), S(2), S(1)},
    BinaryCase{"GreaterEqualFails", GreaterEqual, S(1), S(2), S(0)},
    BinaryCase{"NotEqual", NotEqual, S(1), S(2), S(1)},
    BinaryCase{"OneElementArrayIsScalar", Equal, A(1, 1, {5}), S(5), S(1)},
    BinaryCase{"ArrayScalar", Less, A(3, 1, {1, 2, 3}), S(2), A(3, 1, {1, 0, 0})},
    BinaryCase{"ScalarArray", Less, S(2), A(1, 3, {1, 2, 3}), A(1, 3, {0, 0, 1})},
    BinaryCase{"TwoArrays", Equal, A(1, 2, {1, 2}), A(1, 2, {1, 2}), {},
               "At least one operand must be a scalar"},
    BinaryCase{"StringLeft", Equal, T({"a"}), S(1), {}, "Invalid left hand side"},
    BinaryCase{"StringRight", Equal, S(1), T({"a"}), {}, "Invalid right hand side"},
    BinaryCase{"EqualStrings", Equal, T({"abc"}), T({"abc"}), S(1)},
    BinaryCase{"StringOrder", Less, T({"a"}), T({"b"}), S(1)},
    BinaryCase{"LongerListIsGreater", Greater, T({"a", "b"}), T({"a"}), S(1)},
    BinaryCase{"FirstDifferenceDecides", Greater, T({"a", "b"}), T({"b"}), S(0)}), CaseName);

INSTANTIATE_TEST_SUITE_P(Logical, ValueOpsBinary, ::testing::Values(
    BinaryCase{"AndNonZeroIsTrue", ops::LogicalAnd, S(-2), S(0.5), S(1)},
    BinaryCase{"AndWithZero", ops::LogicalAnd, S(1), S(0), S(0)},
    BinaryCase{"OrWithZero", ops::LogicalOr, S(0), S(3), S(1)},
    BinaryCase{"OrOfZeros", ops::LogicalOr, S(0), S(0), S(0)},
    BinaryCase{"AndArrayScalar", ops::LogicalAnd, A(1, 3, {0, 1, 2}), S(1), A(1, 3, {0, 1, 1})},
    BinaryCase{"OrScalarArray", ops::LogicalOr, S(0), A(2, 1, {0, 3}), A(2, 1, {0, 1})},
    BinaryCase{"TwoArrays", ops::LogicalOr, A(1, 2, {1, 2}), A(1, 2, {1, 2}), {},
               "At least one operand must be a scalar"},
    BinaryCase{"StringLeft", ops::LogicalAnd, T({"a"}), S(1), {}, "Invalid left hand side"},
    BinaryCase{"StringRight", ops::LogicalOr, S(1), T({"a"}), {}, "Invalid right hand side"}),
    CaseName);
// clang-format on

// One-operand operations.
struct UnaryCase {
  const char* name;
  bool (*op)(symtab&);
  Val operand, result;
  const char* message = nullptr;
};

class ValueOpsUnary : public ::testing::TestWithParam<UnaryCase> {
 protected:
  void SetUp() override { MathParser::ClearError(); }
  void TearDown() override { MathParser::ClearError(); }
};

TEST_P(ValueOpsUnary, GivesResultOrMessage) {
  const UnaryCase& c = GetParam();
  symtab v = c.operand.Make();
  const bool ok = c.op(v);
  if (c.message != nullptr) {
    EXPECT_FALSE(ok);
    EXPECT_EQ(MathParser::ErrorText(), c.message);
  } else {
    ASSERT_TRUE(ok) << MathParser::ErrorText();
    ExpectValue(v, c.result);
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Unary, ValueOpsUnary, ::testing::Values(
    UnaryCase{"NegateScalar", ops::Negate, S(2), S(-2)},
    UnaryCase{"NegateArray", ops::Negate, A(1, 2, {1, -2}), A(1, 2, {-1, 2})},
    UnaryCase{"NegateString", ops::Negate, T({"a"}), {}, "Cannot negate string variable"},
    UnaryCase{"TransposeScalar", ops::Transpose, S(2), S(2)},
    UnaryCase{"TransposeRow", ops::Transpose, A(1, 3, {1, 2, 3}), A(3, 1, {1, 2, 3})},
    UnaryCase{"TransposeSquare", ops::Transpose, A(2, 2, {1, 2, 3, 4}), A(2, 2, {1, 3, 2, 4})},
    UnaryCase{"TransposeWide", ops::Transpose, A(2, 3, {1, 2, 3, 4, 5, 6}),
              A(3, 2, {1, 4, 2, 5, 3, 6})},
    UnaryCase{"TransposeString", ops::Transpose, T({"a"}), {},
              "Transpose operator is invalid for string variables"},
    UnaryCase{"NotScalar", ops::LogicalNot, S(0), S(1)},
    UnaryCase{"NotArray", ops::LogicalNot, A(1, 3, {0, 2, -1}), A(1, 3, {1, 0, 0})},
    UnaryCase{"NotString", ops::LogicalNot, T({"a"}), {}, "Invalid right hand side"}),
    [](const ::testing::TestParamInfo<UnaryCase>& info) { return std::string(info.param.name); });
// clang-format on

TEST(ValueOpsStorage, ScalarWithArrayReusesTheArraysStorage) {
  symtab left = S(1).Make();
  symtab right = A(1, 3, {1, 2, 3}).Make();
  const double* storage = right.data;
  ASSERT_TRUE(ops::Add(left, right));
  EXPECT_EQ(left.data, storage);
  EXPECT_EQ(right.data, nullptr);
}

TEST(ValueOpsStorage, ComparisonOfScalarWithArrayReusesTheArraysStorage) {
  symtab left = S(1).Make();
  symtab right = A(1, 3, {1, 2, 3}).Make();
  const double* storage = right.data;
  ASSERT_TRUE(ops::Compare(left, right, ops::kLess));
  EXPECT_EQ(left.data, storage);
}

TEST(ValueOpsStorage, ResultKeepsTheLeftName) {
  symtab left = S(1).Make();
  left.SetName("x");
  symtab right = T({"a"}).Make();
  ASSERT_TRUE(ops::Add(left, right));
  EXPECT_STREQ(left.name, "x");
}

TEST(ValueOpsNumberText, IntegralBelowLimitUsesD) {
  char buffer[64] = "n=";
  ops::AppendNumber(buffer, 2147483646.0);
  EXPECT_STREQ(buffer, "n=2147483646");
}

TEST(ValueOpsNumberText, LimitAndBeyondUseG) {
  char buffer[64] = "";
  ops::AppendNumber(buffer, -2147483647.0);
  EXPECT_STREQ(buffer, "-2.14748e+09");
}

}  // namespace
