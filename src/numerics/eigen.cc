#include "numerics/eigen.h"

#include <cstddef>

#include <Eigen/Dense>

namespace quorvix::numerics {

void EigenDecomposition::Reset(int n) {
  n_ = n;
  std::size_t count = static_cast<std::size_t>(n);
  values_real_.assign(count, 0.0);
  values_imag_.assign(count, 0.0);
  vectors_real_.assign(count * count, 0.0);
  vectors_imag_.assign(count * count, 0.0);
}

bool EigenDecomposition::Compute(const double* a, int n) {
  Reset(0);
  if (n < 0 || (n > 0 && a == nullptr)) return false;
  if (n == 0) return true;
  using RowMajor = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
  Eigen::Map<const RowMajor> input(a, n, n);
  // The QR iteration makes no sense of infinities and NaN; reject them up
  // front instead of handing back NaN-filled results.
  if (!input.allFinite()) return false;

  Eigen::EigenSolver<Eigen::MatrixXd> solver(Eigen::MatrixXd(input), /*computeEigenvectors=*/true);
  if (solver.info() != Eigen::Success) return false;

  Reset(n);
  const auto& values = solver.eigenvalues();
  const auto& vectors = solver.eigenvectors();
  for (int k = 0; k < n; ++k) {
    values_real_[k] = values(k).real();
    values_imag_[k] = values(k).imag();
  }
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < n; ++k) {
      std::size_t at =
          static_cast<std::size_t>(i) * static_cast<std::size_t>(n) + static_cast<std::size_t>(k);
      vectors_real_[at] = vectors(i, k).real();
      vectors_imag_[at] = vectors(i, k).imag();
    }
  }
  return true;
}

}  // namespace quorvix::numerics
