// Least-squares polynomials: the global fit of polyfit (normal equations,
// elimination on the augmented matrix) and the local fits of batchpolyfit.
#ifndef QUORVIX_NUMERICS_POLYNOMIAL_FIT_H
#define QUORVIX_NUMERICS_POLYNOMIAL_FIT_H

#include <cstddef>

namespace quorvix::numerics {

// Solves the n x (n + 1) row-major augmented system in place by Gaussian
// elimination with partial pivoting; the solution goes to `solution`. False
// when a pivot is 0 or anything is not finite.
bool SolveAugmented(double* a, int n, double* solution);

// The order + 1 coefficients (ascending powers) of the least-squares
// polynomial through the n points, from the normal equations with
// A[i][j] = sum x^(i+j) and b[i] = sum x^i y. False when the system is
// singular (fewer distinct x than order + 1) or not finite. 0 <= order <= 20.
bool PolyFitNormal(const double* x, const double* y, std::size_t n, int order, double* coef);

// out[i] = c[0] + c[1] x[i] + ... (Horner); out may be x.
void PolyEvaluate(const double* c, std::size_t nc, const double* x, double* out, std::size_t n);

// Savitzky-Golay on any abscissa: for each i the polynomial of `order` fitted
// by least squares to the `window` points around i (shifted inside at the
// ends), in powers of x - x[i]; out[i] is its deriv-th derivative at x[i].
// False when window < order + 1 or a local system is singular. out must not
// alias x or y.
bool LocalPolyFit(const double* x, const double* y, std::size_t n, int order, std::size_t window,
                  int deriv, double* out);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_POLYNOMIAL_FIT_H
