#include "numerics/antialias.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "util/run_budget.h"

namespace quorvix::numerics {

double AntiAliasHalfLength(double r) { return std::ceil(10.0 * r); }

AntiAliasFilter::AntiAliasFilter(double r)
    : half_(static_cast<std::size_t>(AntiAliasHalfLength(r))), taps_(2 * half_ + 1) {
  constexpr double kBeta = 5.0;
  const double h = static_cast<double>(half_);
  const double norm = std::cyl_bessel_i(0.0, kBeta);
  double sum = 0.0;
  for (std::size_t i = 0; i < taps_.size(); ++i) {
    const double k = static_cast<double>(i) - h;
    const double x = k / r;
    const double sinc = k == 0.0 ? 1.0 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
    const double q = k / h;
    const double w = std::cyl_bessel_i(0.0, kBeta * std::sqrt(std::max(0.0, 1.0 - q * q))) / norm;
    taps_[i] = sinc * w / r;
    sum += taps_[i];
  }
  for (double& v : taps_) v /= sum;
}

double AntiAliasFilter::At(const double* y, std::size_t n, std::size_t j) const {
  const long long hl = static_cast<long long>(half_);
  const long long jj = static_cast<long long>(j), last = static_cast<long long>(n) - 1;
  const double* h = taps_.data() + half_;  // h[k], k = -H .. H
  double s = 0.0;
  if (jj - hl >= 0 && jj + hl <= last) {
    const double* c = y + jj;
    for (long long k = -hl; k <= hl; ++k) s += h[k] * c[-k];
    return s;
  }
  for (long long k = -hl; k <= hl; ++k) s += h[k] * y[std::clamp(jj - k, 0LL, last)];
  return s;
}

void ResampleUniform(const double* y, std::size_t n, double t0, double dt_in,
                     const AntiAliasFilter* filter, const double* tk, double* out, std::size_t m) {
  // Filter cost per output sample is 2H + 1 multiplies; keep blocks near a
  // few million of them between looks at the clock.
  const std::size_t per = filter != nullptr ? 2 * filter->half_length() + 1 : 1;
  const std::size_t block = std::max<std::size_t>(1, (std::size_t{1} << 22) / per);
  auto value = [&](std::size_t j) { return filter != nullptr ? filter->At(y, n, j) : y[j]; };
  for (std::size_t k = 0; k < m; ++k) {
    if (k % block == 0) RunBudget::CheckTime();
    const double p = std::clamp((tk[k] - t0) / dt_in, 0.0, static_cast<double>(n - 1));
    const std::size_t j = std::min(static_cast<std::size_t>(p), n - 1);
    const double f = p - static_cast<double>(j);
    const double a = value(j);
    out[k] = f > 0.0 && j + 1 < n ? a + f * (value(j + 1) - a) : a;
  }
}

}  // namespace quorvix::numerics
