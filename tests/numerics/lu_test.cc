#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "quorvix/linalg.h"

namespace {

using Matrix = std::vector<double>;  // row-major, n x n

struct Factors {
  int status = -1;
  Matrix lu;
  std::vector<int> indx;
  double d = 0.0;
};

Factors Factor(Matrix a, int n) {
  Factors f;
  f.indx.assign(static_cast<std::size_t>(n), -1);
  f.status = ludcmp(a.data(), n, f.indx.data(), &f.d);
  f.lu = std::move(a);
  return f;
}

// Applies the recorded interchanges to a in the order ludcmp made them.
Matrix Permuted(Matrix a, int n, const std::vector<int>& indx) {
  for (int j = 0; j < n; ++j)
    for (int k = 0; k < n; ++k) std::swap(a[j * n + k], a[indx[j] * n + k]);
  return a;
}

// L (unit lower triangle) times U (upper triangle, diagonal included).
Matrix Multiplied(const Matrix& lu, int n) {
  Matrix out(static_cast<std::size_t>(n * n), 0.0);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j)
      for (int k = 0; k <= std::min(i, j); ++k)
        out[i * n + j] += (k == i ? 1.0 : lu[i * n + k]) * lu[k * n + j];
  return out;
}

void ExpectNear(const Matrix& actual, const Matrix& expected, double tolerance = 1e-12) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i)
    EXPECT_NEAR(actual[i], expected[i], tolerance) << "element " << i;
}

TEST(Ludcmp, FactorsReproduceThePermutedMatrix) {
  const Matrix a = {2, -1, 0, 3, -1, 2, -1, 1, 0, -1, 2, 4, 5, 1, 0, -2};
  Factors f = Factor(a, 4);
  ASSERT_EQ(f.status, 0);
  ExpectNear(Multiplied(f.lu, 4), Permuted(a, 4, f.indx));
}

TEST(Ludcmp, ParityFollowsTheInterchanges) {
  Factors none = Factor({1, 0, 0, 1}, 2);
  ASSERT_EQ(none.status, 0);
  EXPECT_EQ(none.d, 1.0);
  EXPECT_EQ(none.indx, (std::vector<int>{0, 1}));

  Factors one = Factor({0, 1, 1, 0}, 2);
  ASSERT_EQ(one.status, 0);
  EXPECT_EQ(one.d, -1.0);
  EXPECT_EQ(one.indx, (std::vector<int>{1, 1}));
}

TEST(Ludcmp, PivotIsChosenByMagnitudeRelativeToTheRow) {
  // Row 0 has the larger first element, but relative to its own largest
  // element row 1 is the stronger pivot.
  Factors f = Factor({2, 1000, 1, 1}, 2);
  ASSERT_EQ(f.status, 0);
  EXPECT_EQ(f.indx[0], 1);
  EXPECT_EQ(f.d, -1.0);
}

TEST(Ludcmp, ZeroRowIsSingular) {
  EXPECT_EQ(Factor({1, 2, 0, 0}, 2).status, 1);
}

TEST(Ludcmp, ExactZeroPivotIsSingularWithoutSubstitution) {
  EXPECT_EQ(Factor({1, 2, 2, 4}, 2).status, 1);
  // Rows 0 and 1 are proportional; the elimination cancels exactly.
  EXPECT_EQ(Factor({1, 2, 3, 2, 4, 6, 1, 1, 1}, 3).status, 1);
}

TEST(Ludcmp, NearlySingularMatrixStillFactors) {
  Factors f = Factor({1, 1, 1, 1 + 1e-15}, 2);
  EXPECT_EQ(f.status, 0);
}

TEST(Ludcmp, EmptyMatrixFactorsTrivially) {
  double d = 0;
  EXPECT_EQ(ludcmp(nullptr, 0, nullptr, &d), 0);
  EXPECT_EQ(d, 1.0);
}

TEST(Ludcmp, InvalidArgumentsAreReportedAsSingular) {
  double d = 0;
  int indx[2];
  EXPECT_EQ(ludcmp(nullptr, 2, indx, &d), 1);
  EXPECT_EQ(ludcmp(nullptr, -1, indx, &d), 1);
}

TEST(Mtxinverse, ProductWithTheOriginalIsTheIdentity) {
  const Matrix a = {4, 7, 2, 3, 6, 1, 2, 5, 3};
  Matrix work = a;
  double* inv = mtxinverse(work.data(), 3);
  ASSERT_NE(inv, nullptr);
  Matrix product(9, 0.0);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) product[i * 3 + j] += a[i * 3 + k] * inv[k * 3 + j];
  delete[] inv;
  ExpectNear(product, {1, 0, 0, 0, 1, 0, 0, 0, 1});
}

TEST(Mtxinverse, KnownInverse) {
  Matrix work = {0, 1, 1, 0};
  double* inv = mtxinverse(work.data(), 2);
  ASSERT_NE(inv, nullptr);
  ExpectNear(Matrix(inv, inv + 4), {0, 1, 1, 0});
  delete[] inv;
}

TEST(Mtxinverse, LeavesTheInputFactored) {
  const Matrix a = {2, 1, 4, 3};
  Matrix work = a;
  double* inv = mtxinverse(work.data(), 2);
  ASSERT_NE(inv, nullptr);
  delete[] inv;
  EXPECT_EQ(work, Factor(a, 2).lu);
}

TEST(Mtxinverse, SingularMatrixYieldsNull) {
  Matrix work = {1, 2, 2, 4};
  EXPECT_EQ(mtxinverse(work.data(), 2), nullptr);
}

}  // namespace
