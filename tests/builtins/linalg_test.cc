// Linear-algebra built-ins called directly through an argument list.
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "expression/builtin_table.h"
#include "quorvix/math_parser.h"

namespace quorvix {
namespace {

symtab* Scalar(double x) {
  auto* s = new symtab;
  s->SetScalar(x);
  return s;
}

symtab* Matrix(int rows, int cols, const std::vector<double>& values) {
  auto* s = new symtab;
  double* d = s->SetArray(rows, cols);
  for (std::size_t i = 0; i < values.size(); ++i) d[i] = values[i];
  return s;
}

BuiltinHandler Handler(std::string_view name) {
  for (const BuiltinEntry& e : LinalgBuiltins())
    if (name == e.name) return e.handler;
  ADD_FAILURE() << "no built-in " << name;
  return nullptr;
}

class LinalgTest : public ::testing::Test {
 protected:
  void SetUp() override { MathParser::ClearError(); }
  void TearDown() override {
    Release();
    MathParser::ClearError();
  }

  void Release() {
    if (result_ != nullptr) result_->Delete();
    result_ = nullptr;
  }

  // One call with a single argument; frees the previous call's result.
  symtab* Call(std::string_view name, symtab* arg) {
    Release();
    list_ = std::make_unique<sym_list>(1);
    list_->args[0] = arg;
    BuiltinHandler h = Handler(name);
    result_ = h != nullptr ? h(list_.get()) : nullptr;
    return result_;
  }

  std::vector<double> Elements() const {
    return std::vector<double>(result_->data, result_->data + result_->rows * result_->cols);
  }

  std::string Error() const { return MathParser::ErrorText(); }

  std::unique_ptr<sym_list> list_;
  symtab* result_ = nullptr;
};

const char* const kAllNames[] = {"inverse",    "determinant", "eigvalreal",
                                 "eigvalimag", "eigvecreal",  "eigvecimag"};

TEST_F(LinalgTest, WrongCountLeavesTheListOwningTheArguments) {
  for (const char* name : kAllNames) {
    MathParser::ClearError();
    sym_list list(2);
    list.args[0] = Scalar(1);
    list.args[1] = Scalar(2);
    EXPECT_EQ(Handler(name)(&list), nullptr) << name;
    EXPECT_EQ(Error(), "Invalid number of arguments") << name;
    EXPECT_NE(list.args[0], nullptr) << name;
  }
}

TEST_F(LinalgTest, StringArgumentIsInvalid) {
  for (const char* name : kAllNames) {
    MathParser::ClearError();
    auto* s = new symtab;
    s->SetString("m");
    EXPECT_EQ(Call(name, s), nullptr) << name;
    EXPECT_EQ(Error(), "Invalid argument type") << name;
    EXPECT_EQ(list_->args[0], nullptr) << name;
  }
}

TEST_F(LinalgTest, NonSquareMatrixIsRejected) {
  for (const char* name : kAllNames) {
    MathParser::ClearError();
    EXPECT_EQ(Call(name, Matrix(2, 3, {1, 2, 3, 4, 5, 6})), nullptr) << name;
    EXPECT_EQ(Error(), "Matrix must be square") << name;
  }
}

// ---- inverse and determinant ------------------------------------------------------

TEST_F(LinalgTest, InverseOfScalarIsItsReciprocalWithoutAZeroCheck) {
  ASSERT_NE(Call("inverse", Scalar(4)), nullptr);
  EXPECT_EQ(result_->value, 0.25);
  ASSERT_NE(Call("inverse", Scalar(0)), nullptr);
  EXPECT_EQ(result_->value, std::numeric_limits<double>::infinity());
  EXPECT_EQ(Error(), "");
}

TEST_F(LinalgTest, InverseReplacesTheMatrix) {
  symtab* arg = Matrix(2, 2, {4, 7, 2, 6});
  ASSERT_EQ(Call("inverse", arg), arg);
  EXPECT_EQ(result_->rows, 2);
  EXPECT_EQ(result_->cols, 2);
  std::vector<double> expected = {0.6, -0.7, -0.2, 0.4};
  std::vector<double> actual = Elements();
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(actual[i], expected[i], 1e-12);
}

TEST_F(LinalgTest, InverseOfSingularMatrixIsReported) {
  EXPECT_EQ(Call("inverse", Matrix(2, 2, {1, 2, 2, 4})), nullptr);
  EXPECT_EQ(Error(), "Matrix is singular");
  EXPECT_EQ(list_->args[0], nullptr);
}

TEST_F(LinalgTest, DeterminantReducesToAScalar) {
  ASSERT_NE(Call("determinant", Matrix(3, 3, {2, 0, 1, 1, 3, 2, 1, 1, 2})), nullptr);
  EXPECT_EQ(result_->type, SYM_SCALAR);
  EXPECT_EQ(result_->data, nullptr);
  EXPECT_NEAR(result_->value, 6.0, 1e-12);
}

TEST_F(LinalgTest, DeterminantCarriesTheSignOfTheInterchanges) {
  ASSERT_NE(Call("determinant", Matrix(2, 2, {0, 1, 1, 0})), nullptr);
  EXPECT_EQ(result_->value, -1.0);
}

TEST_F(LinalgTest, DeterminantOfSingularMatrixIsZeroWithoutError) {
  ASSERT_NE(Call("determinant", Matrix(2, 2, {1, 2, 2, 4})), nullptr);
  EXPECT_EQ(result_->value, 0.0);
  EXPECT_EQ(Error(), "");
}

TEST_F(LinalgTest, DeterminantOfScalarIsTheScalar) {
  ASSERT_NE(Call("determinant", Scalar(-2.5)), nullptr);
  EXPECT_EQ(result_->value, -2.5);
}

// ---- eigen family ---------------------------------------------------------------

using Complex = std::complex<double>;

struct Eigenpairs {
  std::vector<Complex> values;   // n
  std::vector<Complex> vectors;  // n x n, one per column
};

class EigenTest : public LinalgTest {
 protected:
  // Runs all four handlers on copies of `a` and joins their parts.
  Eigenpairs Decompose(int n, const std::vector<double>& a) {
    Eigenpairs e;
    e.values.assign(n, 0.0);
    e.vectors.assign(static_cast<std::size_t>(n * n), 0.0);
    Collect("eigvalreal", n, a, n, 1, e.values, 1.0);
    Collect("eigvalimag", n, a, n, 1, e.values, Complex(0, 1));
    Collect("eigvecreal", n, a, n, n, e.vectors, 1.0);
    Collect("eigvecimag", n, a, n, n, e.vectors, Complex(0, 1));
    return e;
  }

  void Collect(const char* name, int n, const std::vector<double>& a, int rows, int cols,
               std::vector<Complex>& into, Complex unit) {
    symtab* r = Call(name, Matrix(n, n, a));
    ASSERT_NE(r, nullptr) << name << ": " << Error();
    ASSERT_EQ(r->type, SYM_ARRAY) << name;
    ASSERT_EQ(r->rows, rows) << name;
    ASSERT_EQ(r->cols, cols) << name;
    for (std::size_t i = 0; i < into.size(); ++i) into[i] += unit * r->data[i];
  }

  // A v = lambda v for every eigenpair, and no eigenvector is zero.
  static void ExpectEigenpairs(int n, const std::vector<double>& a, const Eigenpairs& e) {
    for (int k = 0; k < n; ++k) {
      double norm = 0;
      for (int i = 0; i < n; ++i) norm += std::norm(e.vectors[i * n + k]);
      EXPECT_NEAR(norm, 1.0, 1e-9) << "eigenvector " << k;
      for (int i = 0; i < n; ++i) {
        Complex av = 0;
        for (int j = 0; j < n; ++j) av += a[i * n + j] * e.vectors[j * n + k];
        EXPECT_NEAR(std::abs(av - e.values[k] * e.vectors[i * n + k]), 0.0, 1e-9)
            << "pair " << k << " row " << i;
      }
    }
  }
};

TEST_F(EigenTest, SymmetricMatrixHasRealEigenpairs) {
  const std::vector<double> a = {2, 1, 0, 1, 3, 1, 0, 1, 4};
  Eigenpairs e = Decompose(3, a);
  for (const Complex& v : e.values) EXPECT_EQ(v.imag(), 0.0);
  ExpectEigenpairs(3, a, e);
}

TEST_F(EigenTest, RotationHasComplexConjugateEigenvalues) {
  const std::vector<double> a = {0, -1, 1, 0};
  Eigenpairs e = Decompose(2, a);
  EXPECT_NEAR(std::abs(e.values[0].imag()), 1.0, 1e-12);
  EXPECT_NEAR(e.values[0].imag(), -e.values[1].imag(), 1e-12);
  ExpectEigenpairs(2, a, e);
}

TEST_F(EigenTest, NonSymmetricMatrix) {
  const std::vector<double> a = {1, 2, 0, 0, 3, 0, 4, -1, 2, 5, 1, 0, 0, 1, 1, 1};
  ExpectEigenpairs(4, a, Decompose(4, a));
}

TEST_F(EigenTest, ScalarIsAOneByOneMatrix) {
  ASSERT_NE(Call("eigvalreal", Scalar(3)), nullptr);
  EXPECT_EQ(result_->type, SYM_ARRAY);
  EXPECT_EQ(result_->rows, 1);
  EXPECT_EQ(result_->cols, 1);
  EXPECT_EQ(result_->data[0], 3.0);
  ASSERT_NE(Call("eigvecreal", Scalar(3)), nullptr);
  EXPECT_EQ(std::abs(result_->data[0]), 1.0);
}

TEST_F(EigenTest, NonFiniteMatrixMakesTheSolverFail) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const char* name : {"eigvalreal", "eigvalimag", "eigvecreal", "eigvecimag"}) {
    MathParser::ClearError();
    EXPECT_EQ(Call(name, Matrix(2, 2, {1, nan, 0, 1})), nullptr) << name;
    EXPECT_EQ(Error(), "Eigensolver failed.") << name;
    EXPECT_EQ(list_->args[0], nullptr) << name;
  }
}

}  // namespace
}  // namespace quorvix
