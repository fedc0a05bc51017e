#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
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

void ExpectNear(const Matrix& actual, const Matrix& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i)
    EXPECT_NEAR(actual[i], expected[i], 1e-12) << "element " << i;
}

TEST(Ludcmp, FactorsReproduceThePermutedMatrix) {
  const int n = 4;
  const Matrix a = {2, -1, 0, 3, -1, 2, -1, 1, 0, -1, 2, 4, 5, 1, 0, -2};
  Factors f = Factor(a, n);
  ASSERT_EQ(f.status, 0);
  // The interchanges applied in the order they were made, against L times U.
  Matrix permuted = a, product(n * n, 0.0);
  for (int j = 0; j < n; ++j)
    for (int k = 0; k < n; ++k) std::swap(permuted[j * n + k], permuted[f.indx[j] * n + k]);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j)
      for (int k = 0; k <= std::min(i, j); ++k)
        product[i * n + j] += (k == i ? 1.0 : f.lu[i * n + k]) * f.lu[k * n + j];
  ExpectNear(product, permuted);
}

// The textbook loops, column by column: the factors and the inverse of the
// cache-blocked kernels must be these bit for bit.
int TextbookCrout(Matrix& a, int n, std::vector<int>& indx) {
  std::vector<double> scale(n);
  for (int i = 0; i < n; ++i) {
    double big = 0.0;
    for (int j = 0; j < n; ++j) big = std::max(big, std::fabs(a[i * n + j]));
    scale[i] = 1.0 / big;
  }
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < j; ++i)
      for (int k = 0; k < i; ++k) a[i * n + j] -= a[i * n + k] * a[k * n + j];
    double big = 0.0;
    int pivot = j;
    for (int i = j; i < n; ++i) {
      for (int k = 0; k < j; ++k) a[i * n + j] -= a[i * n + k] * a[k * n + j];
      const double weighted = scale[i] * std::fabs(a[i * n + j]);
      if (weighted >= big) {
        big = weighted;
        pivot = i;
      }
    }
    for (int k = 0; k < n; ++k) std::swap(a[pivot * n + k], a[j * n + k]);
    std::swap(scale[pivot], scale[j]);
    indx[j] = pivot;
    if (a[j * n + j] == 0.0) return 1;
    for (int i = j + 1; i < n; ++i) a[i * n + j] *= 1.0 / a[j * n + j];
  }
  return 0;
}

Matrix TextbookInverse(const Matrix& lu, int n, const std::vector<int>& indx) {
  Matrix inv(n * n);
  for (int c = 0; c < n; ++c) {
    std::vector<double> b(n, 0.0);
    b[c] = 1.0;
    int first = -1;
    for (int i = 0; i < n; ++i) {
      std::swap(b[indx[i]], b[i]);
      for (int j = first < 0 ? i : first; j < i; ++j) b[i] -= lu[i * n + j] * b[j];
      if (first < 0 && b[i] != 0.0) first = i;
    }
    for (int i = n - 1; i >= 0; --i) {
      for (int j = i + 1; j < n; ++j) b[i] -= lu[i * n + j] * b[j];
      b[i] /= lu[i * n + i];
    }
    for (int i = 0; i < n; ++i) inv[i * n + c] = b[i];
  }
  return inv;
}

TEST(Ludcmp, BlockedKernelsMatchTheColumnByColumnLoopsBitForBit) {
  // 37 spans two full strips and a partial one; small integers force ties
  // between pivot candidates.
  std::mt19937 rng(5);
  for (int trial = 0; trial < 4; ++trial) {
    const int n = trial < 2 ? 37 : 16 + trial;
    Matrix a(n * n);
    for (double& v : a)
      v = trial % 2 ? static_cast<int>(rng() % 7) - 3.0 : (rng() % 2000) / 999.0 - 1;
    Matrix expected = a;
    std::vector<int> indx(n);
    const int status = TextbookCrout(expected, n, indx);
    Factors f = Factor(a, n);
    ASSERT_EQ(f.status, status);
    if (status != 0) continue;
    EXPECT_EQ(f.lu, expected);
    EXPECT_EQ(f.indx, indx);
    Matrix work = a;
    double* inv = mtxinverse(work.data(), n);
    ASSERT_NE(inv, nullptr);
    EXPECT_EQ(Matrix(inv, inv + n * n), TextbookInverse(expected, n, indx));
    delete[] inv;
  }
}

TEST(Ludcmp, ParityAndPivotFollowTheInterchanges) {
  struct Case {
    Matrix a;
    double d;
    std::vector<int> indx;
  };
  // In the last, row 0 has the larger first element, but relative to its own
  // largest element row 1 is the stronger pivot.
  const Case cases[] = {
      {{1, 0, 0, 1}, 1.0, {0, 1}}, {{0, 1, 1, 0}, -1.0, {1, 1}}, {{2, 1000, 1, 1}, -1.0, {1, 1}}};
  for (const Case& c : cases) {
    Factors f = Factor(c.a, 2);
    ASSERT_EQ(f.status, 0);
    EXPECT_EQ(f.d, c.d);
    EXPECT_EQ(f.indx, c.indx);
  }
}

TEST(Ludcmp, SingularityIsAnExactZeroPivot) {
  EXPECT_EQ(Factor({1, 2, 0, 0}, 2).status, 1);  // zero row
  EXPECT_EQ(Factor({1, 2, 2, 4}, 2).status, 1);
  // Rows 0 and 1 are proportional; the elimination cancels exactly.
  EXPECT_EQ(Factor({1, 2, 3, 2, 4, 6, 1, 1, 1}, 3).status, 1);
  EXPECT_EQ(Factor({1, 1, 1, 1 + 1e-15}, 2).status, 0);
  // A zero pivot in a later strip: row 30 repeats row 2 of a 40 x 40.
  Matrix big(40 * 40);
  for (int i = 0; i < 40; ++i)
    for (int j = 0; j < 40; ++j)
      big[i * 40 + j] = (i == 30 ? 2 : i) == j ? 40.0 : 1.0 / (1 + i + j);
  for (int j = 0; j < 40; ++j) big[30 * 40 + j] = big[2 * 40 + j];
  EXPECT_EQ(Factor(big, 40).status, 1);
}

TEST(Ludcmp, EmptyMatrixFactorsTriviallyAndInvalidArgumentsAreSingular) {
  double d = 0;
  int indx[2];
  EXPECT_EQ(ludcmp(nullptr, 0, nullptr, &d), 0);
  EXPECT_EQ(d, 1.0);
  EXPECT_EQ(ludcmp(nullptr, 2, indx, &d), 1);
  EXPECT_EQ(ludcmp(nullptr, -1, indx, &d), 1);
}

TEST(Mtxinverse, ProductWithTheOriginalIsTheIdentityUnlessSingular) {
  for (const auto& [n, a] :
       {std::pair<int, Matrix>{3, {4, 7, 2, 3, 6, 1, 2, 5, 3}}, {2, {0, 1, 1, 0}}}) {
    Matrix work = a, product(n * n, 0.0), identity(n * n, 0.0);
    double* inv = mtxinverse(work.data(), n);
    ASSERT_NE(inv, nullptr);
    for (int i = 0; i < n; ++i) {
      identity[i * n + i] = 1;
      for (int j = 0; j < n; ++j)
        for (int k = 0; k < n; ++k) product[i * n + j] += a[i * n + k] * inv[k * n + j];
    }
    delete[] inv;
    ExpectNear(product, identity);
    EXPECT_EQ(work, Factor(a, n).lu);  // the input is left factored
  }
  Matrix singular = {1, 2, 2, 4};
  EXPECT_EQ(mtxinverse(singular.data(), 2), nullptr);
}

}  // namespace
