#include "numerics/revolutions.h"

#include <algorithm>
#include <cmath>

#include "numerics/interpolation.h"
#include "util/run_budget.h"

namespace quorvix::numerics {

Revolutions::Revolutions(const double* t, const double* rpm, std::size_t n)
    : t_(t), rpm_(rpm), theta_(n) {
  if (n == 0) return;
  theta_[0] = 0.0;
  bool ok = n >= 2 && std::isfinite(rpm[0]) && rpm[0] >= 0.0;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    const double h = t[i + 1] - t[i];
    // Negated tests so that NaN fails too.
    if (!(h > 0.0) || !(rpm[i + 1] >= 0.0) || !std::isfinite(rpm[i + 1])) ok = false;
    theta_[i + 1] = theta_[i] + h * (rpm[i] + rpm[i + 1]) / 120.0;
  }
  valid_ = ok && std::isfinite(theta_.back()) && theta_.back() > 0.0;
}

double Revolutions::TimeAt(double v) {
  const std::size_t n = theta_.size();
  if (!(v > 0.0)) return t_[0];
  if (v > theta_.back()) return t_[n - 1];
  // The first interval i with theta[i] < v <= theta[i+1]: theta never falls,
  // so it starts just below the first theta >= v.
  if (v < last_query_) {
    const auto it = std::lower_bound(theta_.begin(), theta_.end(), v);
    cursor_ = static_cast<std::size_t>(it - theta_.begin()) - 1;
  } else {
    while (theta_[cursor_ + 1] < v) ++cursor_;
  }
  last_query_ = v;
  const std::size_t i = cursor_;
  const double h = t_[i + 1] - t_[i];
  const double r0 = rpm_[i];
  const double a = (rpm_[i + 1] - r0) / h;
  const double c = 60.0 * (v - theta_[i]);
  // The root of r0 u + a u^2 / 2 = c that cancels nothing when a < 0.
  const double disc = std::max(0.0, r0 * r0 + 2.0 * a * c);
  const double u = 2.0 * c / (r0 + std::sqrt(disc));
  return t_[i] + std::clamp(u, 0.0, h);
}

double Revolutions::At(double tau) const {
  const std::size_t n = theta_.size();
  if (!(tau > t_[0])) return 0.0;
  if (tau >= t_[n - 1]) return theta_.back();
  const std::size_t i = static_cast<std::size_t>(std::upper_bound(t_, t_ + n, tau) - t_) - 1;
  const double u = tau - t_[i];
  const double a = (rpm_[i + 1] - rpm_[i]) / (t_[i + 1] - t_[i]);
  return theta_[i] + (rpm_[i] * u + a * u * u / 2.0) / 60.0;
}

int SamplesPerRevolution(double dt, double max_rpm) {
  constexpr int kLow = 4, kHigh = 65536;
  const double ratio = 60.0 / (dt * max_rpm);
  if (!(ratio > 0.0) || !std::isfinite(ratio)) return kHigh;
  const double p = std::ceil(std::log2(ratio));
  if (p <= 2.0) return kLow;
  if (p >= 16.0) return kHigh;
  return 1 << static_cast<int>(p);
}

double AngleSampleCount(double total, int spr) {
  const double last = std::floor(total * spr * (1.0 + 1e-12));
  return last >= 0.0 ? last + 1.0 : 0.0;
}

void AngleResample(Revolutions& rev, const double* t, const double* y, std::size_t n, int spr,
                   std::size_t m, double* theta_out, double* time_out, double* y_out) {
  NaturalSpline spline;
  spline.Build(t, y, n);
  // Blocks keep the deadline in view on long records.
  constexpr std::size_t kBlock = 1 << 16;
  for (std::size_t k0 = 0; k0 < m; k0 += kBlock) {
    RunBudget::CheckTime();
    const std::size_t k1 = std::min(m, k0 + kBlock);
    for (std::size_t k = k0; k < k1; ++k) {
      theta_out[k] = static_cast<double>(k) / spr;
      time_out[k] = rev.TimeAt(theta_out[k]);
    }
    spline.Evaluate(time_out + k0, y_out + k0, k1 - k0);
  }
}

bool FirstCrossing(const double* t, const double* c, std::size_t n, double level, std::size_t from,
                   Crossing* out) {
  for (std::size_t i = from; i < n; ++i) {
    if ((i & 0xFFFF) == 0xFFFF) RunBudget::CheckTime();
    if (c[i] == level) {
      *out = {t[i], i, 0.0};
      return true;
    }
    if (i + 1 < n && (c[i] - level) * (c[i + 1] - level) < 0.0) {
      const double f = (level - c[i]) / (c[i + 1] - c[i]);
      *out = {t[i] + f * (t[i + 1] - t[i]), i, f};
      return true;
    }
  }
  return false;
}

}  // namespace quorvix::numerics
