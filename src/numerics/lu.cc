// LU decomposition (Crout, implicit partial pivoting) and the inverse built on
// it. Matrices are row-major n x n arrays.
//
// Both kernels work on strips of kStrip columns so that the rows they stream
// stay in the cache. Every element still receives its products in Crout's
// order (ascending k, starting from the element itself), and row
// interchanges move whole rows, so the factors, pivots and inverse are
// exactly those of the plain column-by-column loops.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "quorvix/linalg.h"
#include "util/run_budget.h"

namespace {

constexpr int kStrip = 16;

inline std::size_t Index(int n, int i, int j) {
  return static_cast<std::size_t>(i) * static_cast<std::size_t>(n) + static_cast<std::size_t>(j);
}

// acc[c] -= coeff[k] * rows[k * stride + c] for k in [k0, k1), c < width, in
// ascending k. The full-width case keeps the strip of one row in registers.
template <int Width>
inline void SubtractRows(double* acc, const double* coeff, int k0, int k1, const double* rows,
                         std::size_t stride) {
  double local[Width];
  for (int c = 0; c < Width; ++c) local[c] = acc[c];
  for (int k = k0; k < k1; ++k) {
    const double l = coeff[k];
    const double* u = rows + static_cast<std::size_t>(k) * stride;
    for (int c = 0; c < Width; ++c) local[c] -= l * u[c];
  }
  for (int c = 0; c < Width; ++c) acc[c] = local[c];
}

inline void SubtractRows(double* acc, int width, const double* coeff, int k0, int k1,
                         const double* rows, std::size_t stride) {
  if (width == kStrip) return SubtractRows<kStrip>(acc, coeff, k0, k1, rows, stride);
  for (int k = k0; k < k1; ++k) {
    const double l = coeff[k];
    const double* u = rows + static_cast<std::size_t>(k) * stride;
    for (int c = 0; c < width; ++c) acc[c] -= l * u[c];
  }
}

// Columns [j0, j1): applies the products of the columns left of the strip
// (k < j0), then factors the strip column by column with Crout's pivot rule.
// Returns false on an exact zero pivot.
bool FactorStrip(double* a, int n, int j0, int j1, int* indx, double* d,
                 std::vector<double>& scale) {
  const int width = j1 - j0;
  const std::size_t stride = static_cast<std::size_t>(n);
  for (int i = 1; i < n && j0 > 0; ++i)
    SubtractRows(a + Index(n, i, j0), width, a + Index(n, i, 0), 0, std::min(i, j0), a + j0,
                 stride);
  for (int j = j0; j < j1; ++j) {
    // Each column costs O(n^2) overall: a large matrix checks the time
    // limit often enough to stop within a fraction of a second of it.
    quorvix::RunBudget::CheckTime();
    double big = 0.0;
    int pivot = j;
    for (int i = j; i < n; ++i) {
      const double weighted = scale[i] * std::fabs(a[Index(n, i, j)]);
      if (weighted >= big) {
        big = weighted;
        pivot = i;
      }
    }
    if (pivot != j) {
      std::swap_ranges(a + Index(n, pivot, 0), a + Index(n, pivot + 1, 0), a + Index(n, j, 0));
      *d = -*d;
      std::swap(scale[pivot], scale[j]);
    }
    indx[j] = pivot;
    // An exact zero pivot is reported as singular rather than replaced by a
    // tiny value: callers want "singular", not a huge bogus inverse.
    if (a[Index(n, j, j)] == 0.0) return false;
    const double inverse_pivot = 1.0 / a[Index(n, j, j)];
    const double* pivot_row = a + Index(n, j, 0);
    for (int i = j + 1; i < n; ++i) {
      double* row = a + Index(n, i, 0);
      row[j] *= inverse_pivot;
      const double l = row[j];
      for (int c = j + 1; c < j1; ++c) row[c] -= l * pivot_row[c];
    }
  }
  return true;
}

// Solves L U X = I for the columns [s0, s1) of x, whose columns are ordered
// by the row at which each unit lands after the interchanges (column c has
// its one on row c). Leading zeros of a column are never multiplied, as in
// the substitution of one right-hand side.
void SolveStrip(const double* a, int n, int s0, int s1, double* x) {
  const int width = s1 - s0;
  const std::size_t stride = static_cast<std::size_t>(n);
  for (int i = s0; i < n; ++i) {
    double* acc = x + Index(n, i, s0);
    for (int c = 0; c < width; ++c) acc[c] = (s0 + c == i) ? 1.0 : 0.0;
    const double* li = a + Index(n, i, 0);
    // Rows k of the strip itself feed only the columns c <= k.
    const int partial_end = std::min(i, s1 - 1);
    for (int k = s0; k < partial_end; ++k) {
      const double l = li[k];
      const double* u = x + Index(n, k, s0);
      for (int c = 0; c <= k - s0; ++c) acc[c] -= l * u[c];
    }
    SubtractRows(acc, width, li, std::max(s0, s1 - 1), i, x + s0, stride);
  }
  for (int i = n - 1; i >= 0; --i) {
    double* acc = x + Index(n, i, s0);
    SubtractRows(acc, width, a + Index(n, i, 0), i + 1, n, x + s0, stride);
    const double pivot = a[Index(n, i, i)];
    for (int c = 0; c < width; ++c) acc[c] /= pivot;
  }
}

}  // namespace

int ludcmp(double* a, int n, int* indx, double* d) {
  if (n < 0 || (n > 0 && (a == nullptr || indx == nullptr)) || d == nullptr) return 1;
  *d = 1.0;
  // Each row's scale is the reciprocal of its largest magnitude, so pivots
  // are chosen as if every row were normalised.
  std::vector<double> scale(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    double big = 0.0;
    for (int j = 0; j < n; ++j) big = std::max(big, std::fabs(a[Index(n, i, j)]));
    if (big == 0.0) return 1;
    scale[i] = 1.0 / big;
  }
  for (int j0 = 0; j0 < n; j0 += kStrip)
    if (!FactorStrip(a, n, j0, std::min(n, j0 + kStrip), indx, d, scale)) return 1;
  return 0;
}

double* mtxinverse(double* a, int n) {
  if (n < 0) return nullptr;
  std::vector<int> indx(static_cast<std::size_t>(n));
  double d = 0.0;
  if (ludcmp(a, n, indx.data(), &d) != 0) return nullptr;
  // owner[i]: the column of the identity whose one lands on row i after the
  // interchanges; the solve works on columns in that order.
  std::vector<int> owner(static_cast<std::size_t>(n));
  std::iota(owner.begin(), owner.end(), 0);
  for (int i = 0; i < n; ++i) std::swap(owner[i], owner[indx[i]]);
  auto x = std::make_unique<double[]>(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
  for (int s0 = 0; s0 < n; s0 += kStrip) {
    quorvix::RunBudget::CheckTime();
    const int s1 = std::min(n, s0 + kStrip);
    for (int i = 0; i < s0; ++i)
      std::fill(x.get() + Index(n, i, s0), x.get() + Index(n, i, s1), 0.0);
    SolveStrip(a, n, s0, s1, x.get());
  }
  std::vector<double> row(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    double* xi = x.get() + Index(n, i, 0);
    for (int c = 0; c < n; ++c) row[owner[c]] = xi[c];
    std::copy(row.begin(), row.end(), xi);
  }
  return x.release();
}
