#include "numerics/statistics.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#if defined(__x86_64__)
#include <immintrin.h>
#endif
#endif

#include "numerics/summation.h"
#include "quorvix/stat_functions.h"

namespace quorvix::numerics {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Sums of x, x^2 and x^3 in one walk; K picks how many.
template <std::size_t K>
std::array<double, K> PowerSums(Values v) {
  return PairwiseSums<K>(v.data(), v.size(), [](double x, double* t) {
    t[0] = x;
    if constexpr (K > 1) t[1] = x * x;
    if constexpr (K > 2) t[2] = x * x * x;
  });
}

bool HasNaN(Values v) {
  bool nan = false;
  for (double x : v) nan |= x != x;
  return nan;
}

}  // namespace

double PairwiseSum(const double* x, std::size_t n) {
  // Starting from 0, as numpy's reduction does, turns a sum of -0.0 into 0.0.
  return PairwiseSums<1>(x, n, [](double e, double* t) { t[0] = e; })[0];
}

double Sum(Values v) { return PairwiseSum(v.data(), v.size()); }

double Mean(Values v) { return Sum(v) / static_cast<double>(v.size()); }

double Variance(Values v) {
  if (v.size() < 2) return 0.0;
  const auto s = PowerSums<2>(v);
  const double n = static_cast<double>(v.size());
  return (s[1] - s[0] * s[0] / n) / (n - 1.0);
}

double Skewness(Values v) {
  if (v.size() < 2) return 0.0;
  const auto s = PowerSums<3>(v);
  const double n = static_cast<double>(v.size());
  const double m = s[0] / n;
  const double sd = std::sqrt((s[1] - s[0] * s[0] / n) / (n - 1.0));
  const double numerator = s[2] - 3.0 * m * s[1] + 3.0 * m * m * s[0] - n * m * m * m;
  const double denominator = n * sd * sd * sd;
  return denominator == 0.0 ? 0.0 : numerator / denominator;
}

double Rms(Values v) {
  const auto s = PairwiseSums<1>(v.data(), v.size(), [](double x, double* t) { t[0] = x * x; });
  return std::sqrt(s[0] / static_cast<double>(v.size()));
}

double AvgDev(Values v) {
  if (v.empty()) return 0.0;
  const double m = Mean(v);
  const auto s =
      PairwiseSums<1>(v.data(), v.size(), [m](double x, double* t) { t[0] = std::fabs(x - m); });
  return s[0] / static_cast<double>(v.size());
}

double MedianInPlace(std::span<double> v) {
  const std::size_t n = v.size();
  if (n == 0) return kNaN;
  // Selection instead of a full sort: the element at the middle rank is the
  // same. Without NaN the plain order is cheaper than the NaN-aware one.
  const auto mid = v.begin() + static_cast<std::ptrdiff_t>(n / 2);
  double upper, lower;
  if (HasNaN(v)) {
    std::nth_element(v.begin(), mid, v.end(), LessNaNLast);
    upper = *mid;
    if (n % 2) return upper;
    lower = *std::max_element(v.begin(), mid, LessNaNLast);
  } else {
    std::nth_element(v.begin(), mid, v.end());
    upper = *mid;
    if (n % 2) return upper;
    lower = *std::max_element(v.begin(), mid);
  }
  return (lower + upper) / 2.0;
}

namespace {

// The extreme by strict comparison from `start`: x replaces m when
// beats(x, m). Several running extremes keep the comparisons independent;
// NaN never enters one, so combining them gives the value a single scan
// finds. Only the sign of a zero could come out otherwise (0 and -0 compare
// equal, and a scan keeps the first): a zero result is found again by the
// scan. SSE2's maxpd(x, m) and minpd(x, m), and their AVX forms, are exactly
// "x > m ? x : m" and "x < m ? x : m", NaN included, lane by lane.
template <bool Largest>
bool Beats(double x, double m) {
  return Largest ? x > m : x < m;
}

#if defined(__x86_64__)
// Sixteen running extremes in four AVX registers; the elements from the
// returned index on are left to the caller.
template <bool Largest>
__attribute__((target("avx"))) std::size_t ExtremeAvx(const double* p, std::size_t n, double& r) {
  __m256d acc[4];
  for (__m256d& a : acc) a = _mm256_set1_pd(r);
  std::size_t i = 0;
  for (; i + 16 <= n; i += 16)
    for (int j = 0; j < 4; ++j) {
      const __m256d x = _mm256_loadu_pd(p + i + 4 * j);
      acc[j] = Largest ? _mm256_max_pd(x, acc[j]) : _mm256_min_pd(x, acc[j]);
    }
  alignas(32) double m[16];
  for (int j = 0; j < 4; ++j) _mm256_store_pd(m + 4 * j, acc[j]);
  for (double x : m) r = Beats<Largest>(x, r) ? x : r;
  return i;
}

bool HaveAvx() {
  static const bool have = __builtin_cpu_supports("avx");
  return have;
}
#endif

template <bool Largest>
double Extreme(Values v, double start) {
  const double* p = v.data();
  const std::size_t n = v.size();
  std::size_t i = 0;
  double r = start;
#if defined(__x86_64__)
  if (HaveAvx()) i = ExtremeAvx<Largest>(p, n, r);
#endif
#if defined(__SSE2__)
  __m128d acc[4];
  for (__m128d& a : acc) a = _mm_set1_pd(r);
  for (; i + 8 <= n; i += 8)
    for (int j = 0; j < 4; ++j) {
      const __m128d x = _mm_loadu_pd(p + i + 2 * j);
      acc[j] = Largest ? _mm_max_pd(x, acc[j]) : _mm_min_pd(x, acc[j]);
    }
  double m[8];
  for (int j = 0; j < 4; ++j) _mm_storeu_pd(m + 2 * j, acc[j]);
  for (double x : m) r = Beats<Largest>(x, r) ? x : r;
#endif
  for (; i < n; ++i) r = Beats<Largest>(p[i], r) ? p[i] : r;
  if (r == 0.0) {
    r = start;
    for (double x : v) r = Beats<Largest>(x, r) ? x : r;
  }
  return r;
}

}  // namespace

double Max(Values v) { return Extreme<true>(v, -DBL_MAX); }

double Min(Values v) { return Extreme<false>(v, DBL_MAX); }

double ZeroCrossings(Values v) {
  double count = 0.0;
  for (std::size_t i = 0; i + 1 < v.size(); ++i) {
    const double p = v[i] * v[i + 1];
    if (p < 0.0 || (p == 0.0 && v[i + 1] == 0.0)) count += 1.0;
  }
  return count;
}

double Delta(Values v) { return v.empty() ? 0.0 : v.back() - v.front(); }

CurveMeasures MeasureCurve(const double* x, const double* y, std::size_t n) {
  CurveMeasures c;
  double mx = 0.0, my = 0.0;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    const double dx = x[i + 1] - x[i], dy = y[i + 1] - y[i];
    c.length += std::sqrt(dx * dx + dy * dy);
    c.abs_area += AbsAreaUnderLine(x[i], y[i], x[i + 1], y[i + 1]);
    c.signed_area += SignedAreaUnderLine(x[i], y[i], x[i + 1], y[i + 1], &mx, &my);
  }
  // Areas that cancel leave no meaningful centre: (0, 0) by convention.
  if (c.signed_area != 0.0) {
    c.centroid_x = mx / c.abs_area;
    c.centroid_y = my / c.abs_area;
  }
  return c;
}

}  // namespace quorvix::numerics
