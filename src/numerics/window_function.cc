#include "numerics/window_function.h"

#include <cmath>

namespace quorvix::numerics {

namespace {

const double kPi = 4.0 * std::atan(1.0);

// 2 pi i / N for the cosine windows.
double Phase(std::int32_t i, std::int32_t n) {
  return 2.0 * kPi * static_cast<double>(i) / static_cast<double>(n);
}

// The modified Bessel function of order zero by its series, in single
// precision throughout: each term is the one before times (x/2) / k.
float BesselI0(float x) {
  float sum = 1.0f, term = 1.0f;
  const float half = x / 2.0f;
  for (int k = 1; k <= 32; ++k) {
    term = term * half / static_cast<float>(k);
    sum += term * term;
  }
  return sum;
}

}  // namespace

WindowFunction::WindowFunction(std::int32_t n)
    : n_(n > 0 ? n : 0),
      w_(new float[static_cast<std::size_t>(n_)]),
      out_(new double[static_cast<std::size_t>(n_)]) {}

WindowFunction::~WindowFunction() = default;

std::span<const double> WindowFunction::Apply(const double* x) {
  double sum_w = 0.0, sum_wx = 0.0, sum_w2 = 0.0;
  for (std::int32_t i = 0; i < n_; ++i) {
    const double w = w_[i];
    sum_w += w;
    sum_wx += w * x[i];
    sum_w2 += w * w;
  }
  const float m = sum_w != 0.0 ? static_cast<float>(sum_wx / sum_w) : 0.0f;
  const float g = sum_w2 != 0.0 ? static_cast<float>(std::sqrt(n_ / sum_w2)) : 0.0f;
  for (std::int32_t i = 0; i < n_; ++i)
    out_[i] = (x[i] - static_cast<double>(m)) * static_cast<double>(w_[i]) * static_cast<double>(g);
  return {out_.get(), static_cast<std::size_t>(n_)};
}

void Hanning::Generate() {
  for (std::int32_t i = 0; i < size(); ++i)
    w()[i] = static_cast<float>((1.0 - std::cos(Phase(i, size()))) * 0.5);
}

void Hamming::Generate() {
  for (std::int32_t i = 0; i < size(); ++i)
    w()[i] = static_cast<float>(0.54 - 0.46 * std::cos(Phase(i, size())));
}

void Blackman_Harris::Generate() {
  for (std::int32_t i = 0; i < size(); ++i) {
    const double a = Phase(i, size());
    w()[i] = static_cast<float>(0.42 - 0.5 * std::cos(a) + 0.08 * std::cos(2.0 * a));
  }
}

void Welch::Generate() {
  const double c = Centre();
  for (std::int32_t i = 0; i < size(); ++i) {
    const double u = (i - c) / c;
    w()[i] = static_cast<float>(1.0 - u * u);
  }
}

void Parzen::Generate() {
  const double c = Centre();
  for (std::int32_t i = 0; i < size(); ++i)
    w()[i] = static_cast<float>(1.0 - std::fabs((i - c) / c));
}

void Kaiser_Bessel::Generate() {
  const double c = Centre();
  const float norm = BesselI0(static_cast<float>(kPi * alpha_));
  for (std::int32_t i = 0; i < size(); ++i) {
    const double u = (i - c) / c;
    const double r = 1.0 - u * u;
    w()[i] = BesselI0(static_cast<float>(kPi * alpha_ * std::sqrt(r > 0.0 ? r : 0.0))) / norm;
  }
}

}  // namespace quorvix::numerics
