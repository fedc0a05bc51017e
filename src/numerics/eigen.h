// Eigen decomposition of a general real square matrix. Eigenvalues and
// eigenvectors may be complex; their real and imaginary parts are kept apart
// because the value records only hold real numbers.
#ifndef QUORVIX_NUMERICS_EIGEN_H
#define QUORVIX_NUMERICS_EIGEN_H

#include <vector>

namespace quorvix::numerics {

class EigenDecomposition {
 public:
  // Decomposes the n x n row-major matrix `a`. Returns false, keeping no
  // result, when n is negative, an element is not finite or the iteration
  // does not converge. An empty matrix decomposes into empty results.
  bool Compute(const double* a, int n);

  int size() const { return n_; }
  // n eigenvalues, in the order the solver produced them.
  const std::vector<double>& values_real() const { return values_real_; }
  const std::vector<double>& values_imag() const { return values_imag_; }
  // n x n row-major; column k is the unit-norm eigenvector of eigenvalue k.
  const std::vector<double>& vectors_real() const { return vectors_real_; }
  const std::vector<double>& vectors_imag() const { return vectors_imag_; }

 private:
  void Reset(int n);

  int n_ = 0;
  std::vector<double> values_real_;
  std::vector<double> values_imag_;
  std::vector<double> vectors_real_;
  std::vector<double> vectors_imag_;
};

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_EIGEN_H
