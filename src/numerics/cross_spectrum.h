// Cross-spectra and the blocked averages built on them.
//
// G(a, b) of two n-point signals is conj(A) B / n, A and B their radix-2
// transforms; the auto-spectrum is G(a, a). Blocked spectra cut a signal into
// blocks of M = 2^ceil(log2 B) samples, step M - overlap, the last one zero
// filled, and add the unscaled transforms (or their cross products) of the
// blocks.
#ifndef QUORVIX_NUMERICS_CROSS_SPECTRUM_H
#define QUORVIX_NUMERICS_CROSS_SPECTRUM_H

#include <cstddef>

namespace quorvix::numerics {

// conj(A) B / n over m lines: re = (Ar Br + Ai Bi) / n, im = (Ar Bi - Ai Br) / n.
// The outputs may be the arrays of A or of B.
void CrossSpectrum(const double* ar, const double* ai, const double* br, const double* bi,
                   std::size_t m, double n, double* out_re, double* out_im);

// How n samples are cut into blocks: the block size trunc(block_size)
// clamped to 1 .. n; the overlap trunc(overlap), 0 when negative or not below
// the block size; M, the step M - overlap and the count ceil((n - M) / step) + 1.
struct BlockLayout {
  std::size_t size = 0, overlap = 0, m = 0, step = 0, count = 0;
};
// n >= 1. m is 0 when the block would exceed the longest transform.
BlockLayout LayOutBlocks(std::size_t n, double block_size, double overlap);

// Sums over the blocks of x (n samples) of the unscaled transform, into
// sum_re and sum_im (layout.m each). Checks the evaluation deadline between
// blocks (it may throw LimitExceeded). False when work memory is lacking.
bool BlockTransformSum(const double* x, std::size_t n, const BlockLayout& layout, double* sum_re,
                       double* sum_im);

// Sums over the blocks of x and y of conj(X) Y, abs(X)^2 and abs(Y)^2, each
// layout.m lines (gxx and gyy real).
bool BlockCrossSums(const double* x, const double* y, std::size_t n, const BlockLayout& layout,
                    double* gxy_re, double* gxy_im, double* gxx, double* gyy);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_CROSS_SPECTRUM_H
