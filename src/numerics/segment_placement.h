// Where a segment of N samples goes when it is placed at a trigger: centred
// on the sample nearest the trigger, shifted inside the record at its ends
// (never padded).
//
//   c = NearestSample(t, n, tau);        // time domain
//   c = AngleCentre(theta(tau), spr);    // angle domain: round(theta spr)
//   s0 = SegmentStart(c, N, n);          // c - floor(N/2) clamped to 0 .. n - N
#ifndef QUORVIX_NUMERICS_SEGMENT_PLACEMENT_H
#define QUORVIX_NUMERICS_SEGMENT_PLACEMENT_H

#include <cstddef>

namespace quorvix::numerics {

// The index of the sample of rising t (n >= 1) nearest tau, the lower one
// on a tie; tau outside the record gives the end sample.
std::size_t NearestSample(const double* t, std::size_t n, double tau);

// round(theta spr), halves away from zero; NaN gives 0.
long long AngleCentre(double theta, int spr);

// The first index of a segment of `size` samples (1 <= size <= n) centred
// on sample `centre` of a record of n samples.
std::size_t SegmentStart(long long centre, std::size_t size, std::size_t n);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_SEGMENT_PLACEMENT_H
