// LU decomposition (Crout, implicit partial pivoting) and the inverse built on
// it. Matrices are row-major n x n arrays.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "quorvix/linalg.h"
#include "util/run_budget.h"

namespace {

inline double& At(double* a, int n, int i, int j) {
  return a[static_cast<std::size_t>(i) * static_cast<std::size_t>(n) + static_cast<std::size_t>(j)];
}

// Solves LU x = b in place for the factors and permutation left by ludcmp.
// Leading zeros of the permuted right-hand side are skipped, which saves
// most of the forward pass for the unit columns of an inverse.
void LuBackSubstitute(double* a, int n, const int* indx, double* b) {
  int first_nonzero = -1;
  for (int i = 0; i < n; ++i) {
    int ip = indx[i];
    double sum = b[ip];
    b[ip] = b[i];
    if (first_nonzero >= 0) {
      for (int j = first_nonzero; j < i; ++j) sum -= At(a, n, i, j) * b[j];
    } else if (sum != 0.0) {
      first_nonzero = i;
    }
    b[i] = sum;
  }
  for (int i = n - 1; i >= 0; --i) {
    double sum = b[i];
    for (int j = i + 1; j < n; ++j) sum -= At(a, n, i, j) * b[j];
    b[i] = sum / At(a, n, i, i);
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
    for (int j = 0; j < n; ++j) big = std::max(big, std::fabs(At(a, n, i, j)));
    if (big == 0.0) return 1;
    scale[i] = 1.0 / big;
  }
  for (int j = 0; j < n; ++j) {
    // Each column costs O(n^2): a large matrix checks the time limit often
    // enough to stop within a fraction of a second of it.
    quorvix::RunBudget::CheckTime();
    for (int i = 0; i < j; ++i) {
      double sum = At(a, n, i, j);
      for (int k = 0; k < i; ++k) sum -= At(a, n, i, k) * At(a, n, k, j);
      At(a, n, i, j) = sum;
    }
    double big = 0.0;
    int pivot = j;
    for (int i = j; i < n; ++i) {
      double sum = At(a, n, i, j);
      for (int k = 0; k < j; ++k) sum -= At(a, n, i, k) * At(a, n, k, j);
      At(a, n, i, j) = sum;
      double weighted = scale[i] * std::fabs(sum);
      if (weighted >= big) {
        big = weighted;
        pivot = i;
      }
    }
    if (pivot != j) {
      for (int k = 0; k < n; ++k) std::swap(At(a, n, pivot, k), At(a, n, j, k));
      *d = -*d;
      std::swap(scale[pivot], scale[j]);
    }
    indx[j] = pivot;
    // An exact zero pivot is reported as singular rather than replaced by a
    // tiny value: callers want "singular", not a huge bogus inverse.
    if (At(a, n, j, j) == 0.0) return 1;
    double inverse_pivot = 1.0 / At(a, n, j, j);
    for (int i = j + 1; i < n; ++i) At(a, n, i, j) *= inverse_pivot;
  }
  return 0;
}

double* mtxinverse(double* a, int n) {
  if (n < 0) return nullptr;
  std::vector<int> indx(static_cast<std::size_t>(n));
  double d = 0.0;
  if (ludcmp(a, n, indx.data(), &d) != 0) return nullptr;
  auto inverse =
      std::make_unique<double[]>(static_cast<std::size_t>(n) * static_cast<std::size_t>(n));
  std::vector<double> column(static_cast<std::size_t>(n));
  for (int j = 0; j < n; ++j) {
    quorvix::RunBudget::CheckTime();
    for (int i = 0; i < n; ++i) column[i] = (i == j) ? 1.0 : 0.0;
    LuBackSubstitute(a, n, indx.data(), column.data());
    for (int i = 0; i < n; ++i) At(inverse.get(), n, i, j) = column[i];
  }
  return inverse.release();
}
