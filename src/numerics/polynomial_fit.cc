#include "numerics/polynomial_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include <Eigen/Dense>

#include "util/run_budget.h"

namespace quorvix::numerics {

namespace {
constexpr int kMaxOrder = 20;
}  // namespace

bool SolveAugmented(double* a, int n, double* solution) {
  const std::size_t w = static_cast<std::size_t>(n) + 1;
  auto at = [&](int i, int j) -> double& { return a[static_cast<std::size_t>(i) * w + j]; };
  for (int col = 0; col < n; ++col) {
    int pivot = col;
    for (int i = col + 1; i < n; ++i)
      if (std::fabs(at(i, col)) > std::fabs(at(pivot, col))) pivot = i;
    if (!(at(pivot, col) != 0.0) || !std::isfinite(at(pivot, col))) return false;
    if (pivot != col)
      for (std::size_t j = 0; j < w; ++j) std::swap(at(col, j), at(pivot, j));
    for (int i = col + 1; i < n; ++i) {
      const double f = at(i, col) / at(col, col);
      for (int j = col; j <= n; ++j) at(i, j) -= f * at(col, j);
    }
  }
  for (int i = n - 1; i >= 0; --i) {
    double s = at(i, n);
    for (int j = i + 1; j < n; ++j) s -= at(i, j) * solution[j];
    solution[i] = s / at(i, i);
    if (!std::isfinite(solution[i])) return false;
  }
  return true;
}

bool PolyFitNormal(const double* x, const double* y, std::size_t n, int order, double* coef) {
  if (order < 0 || order > kMaxOrder) return false;
  const int m = order + 1;
  // The normal equations are singular exactly when fewer than order + 1
  // distinct abscissae exist; rounding would hide that behind a tiny pivot.
  double distinct[kMaxOrder + 1];
  int num_distinct = 0;
  for (std::size_t i = 0; i < n && num_distinct < m; ++i) {
    if (std::find(distinct, distinct + num_distinct, x[i]) == distinct + num_distinct)
      distinct[num_distinct++] = x[i];
  }
  if (num_distinct < m) return false;

  // Power sums, added block by block so that rounding grows with the number
  // of blocks rather than the number of points.
  double s[2 * kMaxOrder + 1] = {}, t[kMaxOrder + 1] = {};
  constexpr std::size_t kBlock = 256;
  for (std::size_t start = 0; start < n; start += kBlock) {
    double bs[2 * kMaxOrder + 1] = {}, bt[kMaxOrder + 1] = {};
    const std::size_t end = std::min(n, start + kBlock);
    for (std::size_t i = start; i < end; ++i) {
      const double xi = x[i], yi = y[i];
      double p = 1.0;
      for (int k = 0; k < m; ++k) {
        bs[k] += p;
        bt[k] += p * yi;
        p *= xi;
      }
      for (int k = m; k < 2 * m - 1; ++k) {
        bs[k] += p;
        p *= xi;
      }
    }
    for (int k = 0; k < 2 * m - 1; ++k) s[k] += bs[k];
    for (int k = 0; k < m; ++k) t[k] += bt[k];
  }
  double a[(kMaxOrder + 1) * (kMaxOrder + 2)];
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < m; ++j) a[i * (m + 1) + j] = s[i + j];
    a[i * (m + 1) + m] = t[i];
  }
  for (int i = 0; i < m * (m + 1); ++i)
    if (!std::isfinite(a[i])) return false;
  return SolveAugmented(a, m, coef);
}

void PolyEvaluate(const double* c, std::size_t nc, const double* x, double* out, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const double xi = x[i];
    double v = 0.0;
    for (std::size_t k = nc; k-- > 0;) v = v * xi + c[k];
    out[i] = v;
  }
}

bool LocalPolyFit(const double* x, const double* y, std::size_t n, int order, std::size_t window,
                  int deriv, double* out) {
  const int m = order + 1;
  if (order < 0 || deriv < 0 || window < static_cast<std::size_t>(m) || window > n) return false;
  const std::size_t half = window / 2;
  double factorial = 1.0;
  for (int k = 2; k <= deriv; ++k) factorial *= k;
  Eigen::MatrixXd v(static_cast<Eigen::Index>(window), m);
  Eigen::VectorXd rhs(static_cast<Eigen::Index>(window));
  Eigen::ColPivHouseholderQR<Eigen::MatrixXd> qr(v.rows(), v.cols());
  for (std::size_t i = 0; i < n; ++i) {
    if (i % 1024 == 0) RunBudget::CheckTime();
    const std::size_t first = std::min(i - std::min(i, half), n - window);
    // Columns in powers of (x - x[i]) / scale keep the local system well
    // conditioned whatever the units of x.
    double scale = 0.0;
    for (std::size_t j = 0; j < window; ++j)
      scale = std::max(scale, std::fabs(x[first + j] - x[i]));
    if (!(scale > 0.0) || !std::isfinite(scale)) scale = 1.0;
    for (std::size_t j = 0; j < window; ++j) {
      const double u = (x[first + j] - x[i]) / scale;
      double p = 1.0;
      for (int k = 0; k < m; ++k) {
        v(static_cast<Eigen::Index>(j), k) = p;
        p *= u;
      }
      rhs(static_cast<Eigen::Index>(j)) = y[first + j];
    }
    if (!v.allFinite()) return false;
    qr.compute(v);
    if (qr.rank() < m) return false;
    if (deriv > order) {
      out[i] = 0.0;
      continue;
    }
    const Eigen::VectorXd c = qr.solve(rhs);
    out[i] = factorial * c(deriv) / std::pow(scale, deriv);
  }
  return true;
}

}  // namespace quorvix::numerics
