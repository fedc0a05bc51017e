#include "numerics/segment_abscissa.h"

#include <algorithm>

namespace quorvix::numerics {

double SpeedAt(const double* t, const double* rpm, std::size_t n, double tau) {
  // First sample after tau.
  const std::size_t hi = static_cast<std::size_t>(std::upper_bound(t, t + n, tau) - t);
  if (hi == 0) return rpm[0];
  if (hi == n) return rpm[n - 1];
  const std::size_t i = hi - 1;
  const double f = (tau - t[i]) / (t[hi] - t[i]);
  return rpm[i] + f * (rpm[hi] - rpm[i]);
}

SegmentAbscissa TimeSegmentCentre(const Revolutions& rev, const double* t, const double* rpm,
                                  std::size_t n, std::size_t s0, std::size_t size) {
  const double tau = (t[s0] + t[s0 + size - 1]) / 2.0;
  return {tau, SpeedAt(t, rpm, n, tau), rev.At(tau)};
}

SegmentAbscissa AngleSegmentCentre(Revolutions& rev, const double* t, const double* rpm,
                                   std::size_t n, int spr, std::size_t s0, std::size_t size) {
  const double theta =
      (static_cast<double>(s0) + static_cast<double>(size - 1) / 2.0) / static_cast<double>(spr);
  const double tau = rev.TimeAt(theta);
  return {tau, SpeedAt(t, rpm, n, tau), theta};
}

}  // namespace quorvix::numerics
