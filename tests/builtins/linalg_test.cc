// Linear-algebra built-ins called directly: who owns the argument afterwards,
// and the eigenpairs the four eigen handlers give together. Values and
// messages are in tests/cases/expressions/builtins.txt; counts and kinds are
// checked with the elementary family's.
#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "builtins/builtin_table.h"
#include "quorvix/math_parser.h"

namespace quorvix {
namespace {

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
    if (result_ != nullptr) result_->Delete();
    MathParser::ClearError();
  }

  // One call with a single argument; clears the error and frees the previous
  // call's result first.
  symtab* Call(std::string_view name, symtab* arg) {
    MathParser::ClearError();
    if (result_ != nullptr) result_->Delete();
    list_ = std::make_unique<sym_list>(1);
    list_->args[0] = arg;
    BuiltinHandler h = Handler(name);
    result_ = h != nullptr ? h(list_.get()) : nullptr;
    return result_;
  }

  std::string Error() const { return MathParser::ErrorText(); }

  std::unique_ptr<sym_list> list_;
  symtab* result_ = nullptr;
};

TEST_F(LinalgTest, SingularOrNonFiniteMatrixIsFreedAndNull) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  struct Case {
    const char* name;
    std::vector<double> m;
    const char* message;
  };
  const Case cases[] = {{"inverse", {1, 2, 2, 4}, "Matrix is singular"},
                        {"eigvalreal", {1, nan, 0, 1}, "Eigensolver failed."},
                        {"eigvalimag", {1, nan, 0, 1}, "Eigensolver failed."},
                        {"eigvecreal", {1, nan, 0, 1}, "Eigensolver failed."},
                        {"eigvecimag", {1, nan, 0, 1}, "Eigensolver failed."}};
  for (const Case& c : cases) {
    EXPECT_EQ(Call(c.name, Matrix(2, 2, c.m)), nullptr) << c.name;
    EXPECT_EQ(Error(), c.message) << c.name;
    EXPECT_EQ(list_->args[0], nullptr) << c.name;
  }
}

// ---- eigen family ---------------------------------------------------------------

using Complex = std::complex<double>;

class EigenTest : public LinalgTest {
 protected:
  // Runs all four handlers on copies of `a`, joins their parts and checks
  // A v = lambda v for every pair with a unit eigenvector. Returns the values.
  std::vector<Complex> ExpectEigenpairs(int n, const std::vector<double>& a) {
    std::vector<Complex> values(n, 0.0), vectors(static_cast<std::size_t>(n * n), 0.0);
    Collect("eigvalreal", n, a, 1, values, 1.0);
    Collect("eigvalimag", n, a, 1, values, Complex(0, 1));
    Collect("eigvecreal", n, a, n, vectors, 1.0);
    Collect("eigvecimag", n, a, n, vectors, Complex(0, 1));
    for (int k = 0; k < n; ++k) {
      double norm = 0;
      for (int i = 0; i < n; ++i) norm += std::norm(vectors[i * n + k]);
      EXPECT_NEAR(norm, 1.0, 1e-9) << "eigenvector " << k;
      for (int i = 0; i < n; ++i) {
        Complex av = 0;
        for (int j = 0; j < n; ++j) av += a[i * n + j] * vectors[j * n + k];
        EXPECT_NEAR(std::abs(av - values[k] * vectors[i * n + k]), 0.0, 1e-9)
            << "pair " << k << " row " << i;
      }
    }
    return values;
  }

  void Collect(const char* name, int n, const std::vector<double>& a, int cols,
               std::vector<Complex>& into, Complex unit) {
    symtab* r = Call(name, Matrix(n, n, a));
    ASSERT_NE(r, nullptr) << name << ": " << Error();
    ASSERT_EQ(r->type, SYM_ARRAY) << name;
    ASSERT_EQ(r->rows, n) << name;
    ASSERT_EQ(r->cols, cols) << name;
    for (std::size_t i = 0; i < into.size(); ++i) into[i] += unit * r->data[i];
  }
};

TEST_F(EigenTest, SymmetricMatrixHasRealEigenpairs) {
  for (const Complex& v : ExpectEigenpairs(3, {2, 1, 0, 1, 3, 1, 0, 1, 4}))
    EXPECT_EQ(v.imag(), 0.0);
}

TEST_F(EigenTest, RotationHasComplexConjugateEigenvalues) {
  std::vector<Complex> values = ExpectEigenpairs(2, {0, -1, 1, 0});
  EXPECT_NEAR(std::abs(values[0].imag()), 1.0, 1e-12);
  EXPECT_NEAR(values[0].imag(), -values[1].imag(), 1e-12);
}

TEST_F(EigenTest, NonSymmetricMatrix) {
  ExpectEigenpairs(4, {1, 2, 0, 0, 3, 0, 4, -1, 2, 5, 1, 0, 0, 1, 1, 1});
}

}  // namespace
}  // namespace quorvix
