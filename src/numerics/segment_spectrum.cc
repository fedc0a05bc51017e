#include "numerics/segment_spectrum.h"

#include <cmath>

#include "numerics/radix2.h"

namespace quorvix::numerics {
namespace {

// A line's peak amplitude in the asked scaling; `mean_or_top` marks line 0
// (kept by rms) or the Nyquist line (which rms still divides).
double Scaled(double peak, bool is_mean, SpectrumScaling scaling) {
  const double rms = is_mean ? peak : peak * std::sqrt(0.5);
  if (scaling == SpectrumScaling::kPeak) return peak;
  if (scaling == SpectrumScaling::kRms) return rms;
  return rms * rms;
}

double WindowSum(const double* w, std::size_t n) {
  double sum = 0.0;
  for (std::size_t i = 0; i < n; ++i) sum += w[i];
  return sum;
}

}  // namespace

void SegmentSpectrum(const double* s, const double* w, std::size_t n, std::size_t m,
                     SpectrumScaling scaling, double* work, double* re, double* im, double* out) {
  for (std::size_t i = 0; i < n; ++i) work[i] = s[i] * w[i];
  Radix2Transform(work, nullptr, n, m, re, im);
  const double inv = 1.0 / WindowSum(w, n);
  const std::size_t half = m / 2;
  for (std::size_t k = 0; k <= half; ++k) {
    const double mag = std::sqrt(re[k] * re[k] + im[k] * im[k]) * inv;
    out[k] = Scaled(k == 0 || k == half ? mag : 2.0 * mag, k == 0, scaling);
  }
}

double SingleLine(const double* s, const double* w, std::size_t n, double cycles,
                  SpectrumScaling scaling) {
  constexpr double kTwoPi = 6.283185307179586;
  // Phase reduced to one cycle before the trigonometric calls, so that a
  // long segment keeps its accuracy.
  double sr = 0.0, si = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double turns = cycles * static_cast<double>(i);
    const double a = kTwoPi * (turns - std::floor(turns));
    const double v = s[i] * w[i];
    sr += v * std::cos(a);
    si -= v * std::sin(a);
  }
  const double mag = std::sqrt(sr * sr + si * si) / WindowSum(w, n);
  return Scaled(cycles == 0.0 ? mag : 2.0 * mag, cycles == 0.0, scaling);
}

}  // namespace quorvix::numerics
