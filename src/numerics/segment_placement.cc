#include "numerics/segment_placement.h"

#include <algorithm>
#include <cmath>

namespace quorvix::numerics {

std::size_t NearestSample(const double* t, std::size_t n, double tau) {
  // First sample at or after tau.
  const std::size_t hi = static_cast<std::size_t>(std::lower_bound(t, t + n, tau) - t);
  if (hi == 0) return 0;
  if (hi == n) return n - 1;
  return tau - t[hi - 1] <= t[hi] - tau ? hi - 1 : hi;
}

long long AngleCentre(double theta, int spr) {
  const double c = std::round(theta * static_cast<double>(spr));
  constexpr double kBound = 4611686018427387904.0;  // 2^62
  if (!(c == c)) return 0;
  return static_cast<long long>(std::clamp(c, -kBound, kBound));
}

std::size_t SegmentStart(long long centre, std::size_t size, std::size_t n) {
  const long long start = centre - static_cast<long long>(size / 2);
  const long long last = static_cast<long long>(n - size);
  return static_cast<std::size_t>(std::clamp(start, 0LL, last));
}

}  // namespace quorvix::numerics
