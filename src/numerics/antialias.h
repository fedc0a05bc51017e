// The anti-alias filter of down-sampling by a factor r > 1: a zero-phase
// windowed-sinc FIR of 2H + 1 taps, H = ceil(10 r),
//   h[k] = (1/r) sinc(k / r) w[k],  k = -H .. H,
// w the Kaiser window of beta 5 over the taps, normalised to sum 1; the cut
// off lies at the new Nyquist frequency. The signal is extended by copies of
// its end values, so the filtered record keeps its length and its ends hold
// their level.
//
// Only the filtered samples that are needed are computed (At), which keeps
// the cost at m (2H + 1) for m output samples instead of n (2H + 1).
#ifndef QUORVIX_NUMERICS_ANTIALIAS_H
#define QUORVIX_NUMERICS_ANTIALIAS_H

#include <cstddef>
#include <vector>

namespace quorvix::numerics {

// H for a factor r: ceil(10 r), as a double so that the caller can check a
// huge factor against its limits before the taps are made.
double AntiAliasHalfLength(double r);

class AntiAliasFilter {
 public:
  // r > 1 with AntiAliasHalfLength(r) checked by the caller.
  explicit AntiAliasFilter(double r);

  std::size_t half_length() const { return half_; }
  // Tap k, k = -H .. H.
  double tap(long long k) const { return taps_[static_cast<std::size_t>(k + (long long)half_)]; }

  // The filtered value of sample j of y[0 .. n-1] (n >= 1, j < n), the
  // record extended by its end values.
  double At(const double* y, std::size_t n, std::size_t j) const;

 private:
  std::size_t half_;
  std::vector<double> taps_;
};

// Resampling of a uniform record y (n >= 1 samples at t0 + i dt_in) at the
// times tk[0 .. m-1] inside it by linear interpolation between the samples,
// each filtered by `filter` first when it is not null. Calls
// RunBudget::CheckTime between blocks.
void ResampleUniform(const double* y, std::size_t n, double t0, double dt_in,
                     const AntiAliasFilter* filter, const double* tk, double* out, std::size_t m);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_ANTIALIAS_H
