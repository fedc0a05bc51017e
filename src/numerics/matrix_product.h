// Dense matrix product on Eigen's blocked kernels.
#ifndef QUORVIX_NUMERICS_MATRIX_PRODUCT_H
#define QUORVIX_NUMERICS_MATRIX_PRODUCT_H

namespace quorvix::numerics {

// out (r x c) = a (r x k) times b (k x c), all row-major; out must not
// overlap a or b. Checks the run budget's time limit between panels of
// rows, so it may throw the budget's limit exception.
void MatrixProduct(const double* a, const double* b, double* out, int r, int k, int c);

}  // namespace quorvix::numerics

#endif
