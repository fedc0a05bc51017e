// The recursive digital filter of a difference equation
//   a[0] y[n] = sum_k b[k] x[n-k] - sum_{k>=1} a[k] y[n-k],
// zero initial state, evaluated in transposed direct form II (the form of
// MATLAB filter and scipy.signal.lfilter, so that results agree to rounding).
#ifndef QUORVIX_NUMERICS_IIR_FILTER_H
#define QUORVIX_NUMERICS_IIR_FILTER_H

#include <cstddef>

namespace quorvix::numerics {

// Filters x[0 .. n) in place. b has nb >= 1 and a has na >= 1 coefficients,
// a[0] != 0 (the caller checks). A NaN sample spreads to every later output
// of a recursive filter, as the equation says. Checks the evaluation deadline
// between blocks of samples.
void IirFilter(const double* b, std::size_t nb, const double* a, std::size_t na, double* x,
               std::size_t n);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_IIR_FILTER_H
