// Amplitude-corrected spectra of one windowed segment, the measure of the
// short-time and tracking built-ins.
//
// A segment s of n samples is multiplied by its window w (plain product, no
// mean removal) and S = sum(w). Amplitudes are corrected by S so that a
// sinusoid of amplitude a on a line reads a:
//   peak   line 0: |X0| / S, inner lines 2 |Xk| / S, line M/2: |X[M/2]| / S
//   rms    line 0 as peak, every other line peak / sqrt(2)
//   power  the square of rms (line 0 the square of peak)
// SegmentSpectrum evaluates every line of the zero-padded radix-2 transform;
// SingleLine the same sum at one arbitrary frequency, given in cycles per
// sample (f dt in time, order / spr in angle).
#ifndef QUORVIX_NUMERICS_SEGMENT_SPECTRUM_H
#define QUORVIX_NUMERICS_SEGMENT_SPECTRUM_H

#include <cstddef>

namespace quorvix::numerics {

enum class SpectrumScaling { kPeak, kRms, kPower };

// Writes the m/2 + 1 amplitudes of s * w (n samples, zero padded to m, a
// power of two >= n, m >= 2) into out. `work` holds n doubles, `re` and `im`
// m each; none overlaps another or the inputs.
void SegmentSpectrum(const double* s, const double* w, std::size_t n, std::size_t m,
                     SpectrumScaling scaling, double* work, double* re, double* im, double* out);

// The amplitude of s * w at `cycles` per sample (0 is the mean line).
double SingleLine(const double* s, const double* w, std::size_t n, double cycles,
                  SpectrumScaling scaling);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_SEGMENT_SPECTRUM_H
