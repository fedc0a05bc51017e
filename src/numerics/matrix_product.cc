#include "numerics/matrix_product.h"

#include <Eigen/Core>
#include <algorithm>
#include <cstddef>

#include "util/run_budget.h"

namespace quorvix::numerics {

namespace {

using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

// Rows per panel: about 2^24 multiply-adds, a few milliseconds, so a huge
// product still notices the time limit promptly.
int PanelRows(int k, int c) {
  const double work = static_cast<double>(std::max(k, 1)) * static_cast<double>(std::max(c, 1));
  return static_cast<int>(std::clamp(16777216.0 / work, 1.0, 1.0e9));
}

}  // namespace

void MatrixProduct(const double* a, const double* b, double* out, int r, int k, int c) {
  if (k == 0) {
    std::fill(out, out + static_cast<std::size_t>(r) * static_cast<std::size_t>(c), 0.0);
    return;
  }
  const Eigen::Map<const RowMajor> right(b, k, c);
  const int panel = PanelRows(k, c);
  for (int i0 = 0; i0 < r; i0 += panel) {
    RunBudget::CheckTime();
    const int rows = std::min(panel, r - i0);
    const std::size_t at = static_cast<std::size_t>(i0);
    const Eigen::Map<const RowMajor> left(a + at * static_cast<std::size_t>(k), rows, k);
    Eigen::Map<RowMajor> product(out + at * static_cast<std::size_t>(c), rows, c);
    product.noalias() = left * right;
  }
}

}  // namespace quorvix::numerics
