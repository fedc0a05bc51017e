// Inverse of the standard normal distribution function.
#ifndef QUORVIX_NUMERICS_NORMAL_QUANTILE_H
#define QUORVIX_NUMERICS_NORMAL_QUANTILE_H

namespace quorvix::numerics {

// The x with P(X <= x) = p for X ~ N(0, 1): negative below p = 0.5.
// p <= 0 gives -99999 and p >= 1 gives 99999 instead of infinities; NaN
// gives NaN.
double NormalQuantile(double p);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_NORMAL_QUANTILE_H
