#include "values/value_ops.h"

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

// One operation on one or two values: the expected result, or with
// `message` set the expected failure (left in the error text).
struct Case {
  BinaryOp op;
  Val left, right, result;
  const char* message = nullptr;
};

void Check(bool ok, const symtab& got, const Val& want, const char* message, int row) {
  if (message != nullptr) {
    EXPECT_FALSE(ok) << "row " << row;
    EXPECT_EQ(MathParser::ErrorText(), message) << "row " << row;
  } else {
    ASSERT_TRUE(ok) << "row " << row << ": " << MathParser::ErrorText();
    EXPECT_FALSE(MathParser::ErrorPending()) << "row " << row;
    SCOPED_TRACE("row " + std::to_string(row));
    ExpectValue(got, want);
  }
  MathParser::ClearError();
}

constexpr const char* kDims = "Operands do not have compatible dimensions";
constexpr const char* kLeft = "Invalid left hand side";
constexpr const char* kRight = "Invalid right hand side";
constexpr const char* kOneScalar = "At least one operand must be a scalar";
constexpr const char* kZero = "Operand two cannot be zero";
constexpr const char* kDomain = "Domain error";

TEST(ValueOps, BinaryOperationsGiveResultOrMessage) {
  // clang-format off
  const std::vector<Case> cases = {
      {ops::Add, S(10), A(2, 2, {1, 2, 3, 4}), A(2, 2, {11, 12, 13, 14})},
      {ops::Add, A(1, 2, {1, 2}), S(1), A(1, 2, {2, 3})},
      {ops::Add, A(1, 2, {1, 2}), A(1, 2, {10, 20}), A(1, 2, {11, 22})},
      {ops::Add, A(2, 1, {1, 2}), A(1, 2, {1, 2}), {}, kDims},
      // A number joins a string as %d below 2^31-1, else as %g.
      {ops::Add, S(3), T({"a"}), T({"3a"})},
      {ops::Add, S(2.5), T({"a"}), T({"2.5a"})},
      {ops::Add, S(3e10), T({"a"}), T({"3e+10a"})},
      {ops::Add, S(5), T({"a", "b"}), S(5)},
      {ops::Add, T({"a"}), S(3), T({"a3"})},
      {ops::Add, T({"a", "b"}), S(3), {}, kDims},
      {ops::Add, T({"a", "b"}), T({"x", "y"}), T({"ax", "by"})},
      {ops::Add, T({"a", "b"}), T({"x"}), T({"ax", "bx"})},
      {ops::Add, T({"x"}), T({"a", "b"}), T({"xa", "xb"})},
      {ops::Add, T({"a", "b"}), T({"x", "y", "z"}), {}, kDims},
      {ops::Add, A(1, 1, {1}), T({"a"}), {}, "Invalid addition type"},
      {ops::Add, T({"a"}), A(1, 1, {1}), {}, "Invalid addition type"},
      {ops::Add, U(), S(1), {}, "Invalid addition type"},
      {ops::Subtract, S(10), A(1, 2, {1, 2}), A(1, 2, {9, 8})},
      {ops::Subtract, A(1, 2, {5, 6}), S(1), A(1, 2, {4, 5})},
      {ops::Subtract, A(1, 2, {5, 6}), A(1, 2, {1, 1}), A(1, 2, {4, 5})},
      {ops::Subtract, A(1, 2, {1, 2}), A(1, 3, {1, 2, 3}), {}, kDims},
      // Removal repeats on new matches, in every string.
      {ops::Subtract, T({"aabb"}), T({"ab"}), T({""})},
      {ops::Subtract, T({"banana", "cabana"}), T({"an"}), T({"ba", "caba"})},
      {ops::Subtract, T({"abc"}), T({""}), T({"abc"})},
      {ops::Subtract, T({"abc"}), T({"a", "b"}), {}, kDims},
      {ops::Subtract, T({"a"}), S(1), {}, "Invalid subtraction type"},
      {ops::Subtract, S(1), T({"a"}), {}, "Invalid subtraction type"},
      {ops::Multiply, S(2), A(1, 2, {1, 2}), A(1, 2, {2, 4})},
      {ops::Multiply, A(1, 2, {1, 2}), S(3), A(1, 2, {3, 6})},
      {ops::Multiply, A(2, 2, {1, 2, 3, 4}), A(2, 2, {5, 6, 7, 8}), A(2, 2, {19, 22, 43, 50})},
      {ops::Multiply, A(2, 3, {1, 2, 3, 4, 5, 6}), A(3, 1, {1, 0, 2}), A(2, 1, {7, 16})},
      {ops::Multiply, A(1, 3, {1, 2, 3}), A(3, 1, {4, 5, 6}), S(32)},
      {ops::Multiply, A(2, 3, {1, 2, 3, 4, 5, 6}), A(2, 3, {1, 2, 3, 4, 5, 6}), {}, kDims},
      {ops::Multiply, T({"a"}), S(2), {}, "Invalid multiplication type"},
      {ops::Multiply, S(2), T({"a"}), {}, "Invalid multiplication type"},
      {ops::Divide, S(1), S(0), {}, "Divide by zero"},
      {ops::Divide, A(1, 2, {3, 6}), S(3), A(1, 2, {1, 2})},
      {ops::Divide, A(1, 2, {3, 6}), S(0), {}, "Divide by zero"},
      {ops::Divide, S(12), A(2, 1, {3, 4}), A(2, 1, {4, 3})},
      {ops::Divide, S(12), A(1, 2, {3, 0}), {}, "Divide by zero"},
      // [1 1; 0 1] has the inverse [1 -1; 0 1].
      {ops::Divide, A(2, 2, {1, 2, 3, 4}), A(2, 2, {1, 1, 0, 1}), A(2, 2, {1, 1, 3, 1})},
      {ops::Divide, A(1, 2, {2, 4}), A(2, 2, {2, 0, 0, 4}), A(1, 2, {1, 1})},
      {ops::Divide, A(1, 1, {6}), A(1, 1, {3}), S(2)},
      {ops::Divide, A(2, 2, {1, 2, 3, 4}), A(2, 3, {1, 2, 3, 4, 5, 6}), {}, kDims},
      {ops::Divide, A(1, 3, {1, 2, 3}), A(2, 2, {1, 0, 0, 1}), {}, kDims},
      {ops::Divide, A(2, 2, {1, 2, 3, 4}), A(2, 2, {1, 2, 2, 4}), {}, "Right hand side is not invertible"},
      {ops::Divide, T({"a"}), S(2), {}, "Invalid division type"},
      {ops::Modulus, S(-7), S(3), S(-1)},
      {ops::Modulus, A(1, 2, {5, 7}), S(4), A(1, 2, {1, 3})},
      {ops::Modulus, S(7), A(1, 2, {4, 5}), A(1, 2, {3, 2})},
      {ops::Modulus, A(1, 2, {7, 9}), A(1, 2, {4, 5}), A(1, 2, {3, 4})},
      {ops::Modulus, A(1, 2, {7, 9}), A(2, 1, {4, 5}), {}, kDims},
      {ops::Modulus, S(7), S(0), {}, kZero},
      {ops::Modulus, S(7), A(1, 2, {2, 0}), {}, kZero},
      {ops::Modulus, T({"a"}), S(2), {}, kLeft},
      {ops::Modulus, S(2), T({"a"}), {}, kRight},
      {ops::Modulus, S(2), U(), {}, "Invalid modulus type"},
      {ops::Power, S(-8), S(2), S(64)},
      {ops::Power, S(-8), S(0), S(1)},
      {ops::Power, S(-8), S(0.5), {}, kDomain},
      {ops::Power, S(-8), S(-0.5), {}, kDomain},
      {ops::Power, S(0), S(-1), {}, kDomain},
      {ops::Power, A(1, 3, {1, 2, 3}), S(2), A(1, 3, {1, 4, 9})},
      {ops::Power, A(1, 2, {4, -4}), S(0.5), {}, kDomain},
      {ops::Power, S(2), A(3, 1, {1, 2, 3}), A(3, 1, {2, 4, 8})},
      {ops::Power, A(1, 2, {2, 3}), A(1, 2, {3, 2}), A(1, 2, {8, 9})},
      {ops::Power, A(1, 2, {2, 3}), A(1, 1, {3}), {}, kDims},
      {ops::Power, S(2), T({"a"}), {}, "Invalid power type"},
      {ops::Dot, A(1, 3, {1, 2, 3}), A(3, 1, {4, 5, 6}), S(32)},
      {ops::Dot, A(2, 2, {1, 2, 3, 4}), A(1, 4, {1, 2, 3, 4}), {}, "Operand 1 must be vector"},
      {ops::Dot, A(1, 2, {1, 2}), S(2), {}, "Operand 2 must be vector"},
      {ops::Dot, A(1, 2, {1, 2}), A(1, 3, {1, 2, 3}), {}, kDims},
      {ops::Cross, A(1, 3, {1, 2, 3}), A(1, 3, {4, 5, 6}), A(1, 3, {-3, 6, -3})},
      {ops::Cross, A(1, 2, {1, 2}), A(1, 3, {4, 5, 6}), {}, "Operand 1 must have 3 elements"},
      {ops::Cross, A(1, 3, {1, 2, 3}), T({"a", "b", "c"}), {}, "Operand 2 must have 3 elements"},
      {Equal, A(1, 1, {5}), S(5), S(1)},
      {Less, A(3, 1, {1, 2, 3}), S(2), A(3, 1, {1, 0, 0})},
      {Less, S(2), A(1, 3, {1, 2, 3}), A(1, 3, {0, 0, 1})},
      {Equal, A(1, 2, {1, 2}), A(1, 2, {1, 2}), {}, kOneScalar},
      {Equal, T({"a"}), S(1), {}, kLeft},
      {Equal, S(1), T({"a"}), {}, kRight},
      {Equal, T({"abc"}), T({"abc"}), S(1)},
      {Less, T({"a"}), T({"b"}), S(1)},
      // A longer list is greater; otherwise the first difference decides.
      {Greater, T({"a", "b"}), T({"a"}), S(1)},
      {Greater, T({"a", "b"}), T({"b"}), S(0)},
      {ops::LogicalAnd, S(-2), S(0.5), S(1)},
      {ops::LogicalAnd, A(1, 3, {0, 1, 2}), S(1), A(1, 3, {0, 1, 1})},
      {ops::LogicalOr, S(0), A(2, 1, {0, 3}), A(2, 1, {0, 1})},
      {ops::LogicalOr, A(1, 2, {1, 2}), A(1, 2, {1, 2}), {}, kOneScalar},
      {ops::LogicalAnd, T({"a"}), S(1), {}, kLeft},
      {ops::LogicalOr, S(1), T({"a"}), {}, kRight},
  };
  // clang-format on
  MathParser::ClearError();
  for (std::size_t i = 0; i < cases.size(); ++i) {
    symtab left = cases[i].left.Make(), right = cases[i].right.Make();
    const bool ok = cases[i].op(left, right);
    Check(ok, left, cases[i].result, cases[i].message, static_cast<int>(i));
  }
}

TEST(ValueOps, UnaryOperationsGiveResultOrMessage) {
  const struct {
    bool (*op)(symtab&);
    Val operand, result;
    const char* message = nullptr;
  } cases[] = {
      {ops::Negate, A(1, 2, {1, -2}), A(1, 2, {-1, 2})},
      {ops::Negate, T({"a"}), {}, "Cannot negate string variable"},
      {ops::Transpose, A(1, 3, {1, 2, 3}), A(3, 1, {1, 2, 3})},
      {ops::Transpose, A(2, 3, {1, 2, 3, 4, 5, 6}), A(3, 2, {1, 4, 2, 5, 3, 6})},
      {ops::Transpose, T({"a"}), {}, "Transpose operator is invalid for string variables"},
      {ops::LogicalNot, A(1, 3, {0, 2, -1}), A(1, 3, {1, 0, 0})},
      {ops::LogicalNot, T({"a"}), {}, kRight},
  };
  MathParser::ClearError();
  int row = 0;
  for (const auto& c : cases) {
    symtab v = c.operand.Make();
    const bool ok = c.op(v);
    Check(ok, v, c.result, c.message, row++);
  }
}

TEST(ValueOps, ScalarWithArrayReusesTheArraysStorageAndResultKeepsTheLeftName) {
  for (bool compare : {false, true}) {
    symtab left = S(1).Make(), right = A(1, 3, {1, 2, 3}).Make();
    const double* storage = right.data;
    ASSERT_TRUE(compare ? ops::Compare(left, right, ops::kLess) : ops::Add(left, right));
    EXPECT_EQ(left.data, storage);
    if (!compare) {
      EXPECT_EQ(right.data, nullptr);
    }
  }
  symtab left = S(1).Make(), right = T({"a"}).Make();
  left.SetName("x");
  ASSERT_TRUE(ops::Add(left, right));
  EXPECT_STREQ(left.name, "x");
}

TEST(ValueOps, AppendNumberUsesDBelowTheLimitAndGFromIt) {
  char buffer[64] = "n=";
  ops::AppendNumber(buffer, 2147483646.0);
  EXPECT_STREQ(buffer, "n=2147483646");
  buffer[0] = '\0';
  ops::AppendNumber(buffer, -2147483647.0);
  EXPECT_STREQ(buffer, "-2.14748e+09");
}

}  // namespace
