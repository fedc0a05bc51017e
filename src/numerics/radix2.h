// The radix-2 transform: the engine of every spectrum, correlation, filter
// and resampling built-in that works on a power-of-two length.
//
// The algorithm, which every result follows bit for bit:
//   1. M = the smallest power of two >= n; the input is zero padded to M.
//   2. The samples are stored in bit-reversed order of log2 M bits.
//   3. log2 M butterfly stages; at the stage of span 2^s the twiddle of
//      butterfly j is cos(a) - i sin(a), a = j (M / 2^s) 2 pi / M (pi =
//      4 atan(1)); the inverse reverses the sign of a. A butterfly of a and
//      b with twiddle w gives a + w b and a - w b, w b computed as
//      (wr br - wi bi) + i (wr bi + wi br).
//   4. The forward transform is not scaled; the inverse is divided by M.
//   5. Centring: the forward result's halves are swapped (zero frequency in
//      the middle, the axis shifted by -0.5 / dt); a centred inverse swaps
//      its input halves back first.
//
// Only the order of independent butterflies differs from the textbook loop
// (blocks that fit the cache, two stages per pass, several lanes at once), so
// the numbers are those of the plain loop exactly. Twiddles and bit-reversal
// tables are computed once per length and shared between threads.
//
// Use from other families: Radix2Length gives M; Radix2Transform writes the
// M-point spectrum of n samples (real, or real and imaginary parts) into two
// caller-owned arrays; TransformAxis writes the matching frequency or time
// axis; Radix2Scratch lends per-thread work arrays so that repeated calls do
// not allocate. Bad sizes are the caller's to check (Radix2Length returns 0
// past kMaxRadix2Length).
#ifndef QUORVIX_NUMERICS_RADIX2_H
#define QUORVIX_NUMERICS_RADIX2_H

#include <cstddef>

namespace quorvix::numerics {

enum class Direction { kForward, kInverse };

// The longest transform: 2^30 points, so that every count fits the int
// fields of a value record.
inline constexpr std::size_t kMaxRadix2Length = std::size_t{1} << 30;

// The smallest power of two >= n (1 for n <= 1); 0 when that exceeds
// kMaxRadix2Length.
std::size_t Radix2Length(std::size_t n);

// Transforms the n samples re_in[i] + i im_in[i] (im_in null: a real signal),
// zero padded to m points, into out_re and out_im (m elements each, not
// overlapping the inputs). m is a power of two, n <= m <= kMaxRadix2Length;
// Radix2Length(n) is the usual m, a larger one pads further (correlations,
// the last block of a blocked spectrum).
void Radix2Transform(const double* re_in, const double* im_in, std::size_t n, std::size_t m,
                     double* out_re, double* out_im, Direction direction = Direction::kForward,
                     bool centred = false);

// The axis of a transform of `length` points of samples dt apart: forward
// f[i] = i / (dt length), shifted by -0.5 / dt when centred; inverse
// t[i] = i dt.
void TransformAxis(std::size_t length, double dt, Direction direction, bool centred, double* axis);

// Two work arrays of at least `length` doubles each, owned by the calling
// thread and reused by its next request (so one holder at a time per
// thread). Null when the memory cannot be had.
struct Radix2Scratch {
  double* re;
  double* im;
};
Radix2Scratch ScratchArrays(std::size_t length);

// The plain loop of the algorithm above, one stage after another, for tests
// that compare the fast transform with it.
void Radix2Reference(const double* re_in, const double* im_in, std::size_t n, std::size_t m,
                     double* out_re, double* out_im, Direction direction);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_RADIX2_H
