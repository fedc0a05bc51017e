// The direct transform: X[k] = sum over j of x[j] (cos(2 pi k j / n) -
// i sin(2 pi k j / n)) for every k by the double loop, no padding; the
// inverse uses the opposite sign and divides by n. For lengths that are not
// powers of two, and as the plain check of the radix-2 engine.
#ifndef QUORVIX_NUMERICS_DIRECT_TRANSFORM_H
#define QUORVIX_NUMERICS_DIRECT_TRANSFORM_H

#include <cstddef>

#include "numerics/radix2.h"

namespace quorvix::numerics {

// Transforms the n samples re_in[i] + i im_in[i] (im_in null: a real signal)
// into out_re and out_im (n elements each, not overlapping the inputs). The
// angle 2 pi k j / n is taken with k j reduced modulo n, which is the same
// angle and keeps its rounding that of a small argument. Sums run in index
// order. Checks the evaluation deadline between output lines (it may throw
// LimitExceeded). n = 0 does nothing.
void DirectTransform(const double* re_in, const double* im_in, std::size_t n, double* out_re,
                     double* out_im, Direction direction = Direction::kForward);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_DIRECT_TRANSFORM_H
