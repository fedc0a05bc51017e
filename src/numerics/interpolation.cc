#include "numerics/interpolation.h"

#include <cmath>
#include <cstddef>
#include <new>
#include <vector>

#include "quorvix/interpolation.h"

namespace quorvix::numerics {

bool StrictlyRising(const double* x, std::size_t n) {
  for (std::size_t i = 1; i < n; ++i)
    if (!(x[i] > x[i - 1])) return false;
  // A lone NaN is not rising either.
  return n == 0 || x[0] == x[0];
}

IntervalCursor::IntervalCursor(const double* x, std::size_t n)
    : x_(x), n_(n), walk_(n >= 2 && StrictlyRising(x, n)) {}

std::size_t IntervalCursor::Bisect(double q) const {
  if (n_ == 0 || !(q >= x_[0])) return 0;
  if (q >= x_[n_ - 1]) return n_ - 1;
  // The last k in [0, n - 2] with x[k] <= q; branch-free, since the halving
  // steps of random queries are unpredictable.
  const double* base = x_;
  std::size_t len = n_ - 1;
  while (len > 1) {
    std::size_t half = len / 2;
    base = base[half] <= q ? base + half : base;
    len -= half;
  }
  return static_cast<std::size_t>(base - x_);
}

std::size_t IntervalCursor::Find(double q) {
  if (walk_) {
    if (k_ + 1 < n_ && x_[k_] <= q && q < x_[k_ + 1]) return k_;
    if (k_ + 2 < n_ && x_[k_ + 1] <= q && q < x_[k_ + 2]) return ++k_;
  }
  return k_ = Bisect(q);
}

void LinearInterpolate(const double* x, const double* y, std::size_t n, const double* q,
                       double* out, std::size_t nq) {
  IntervalCursor cursor(x, n);
  for (std::size_t i = 0; i < nq; ++i) {
    const double qi = q[i];
    const std::size_t k = cursor.Find(qi);
    out[i] = k + 1 < n ? y[k] + (y[k + 1] - y[k]) * (qi - x[k]) / (x[k + 1] - x[k]) : y[n - 1];
  }
}

void NaturalSpline::Build(const double* x, const double* y, std::size_t n) {
  x_ = x;
  n_ = n;
  if (n < 2) {
    coef_.assign(4, 0.0);
    if (n == 1) coef_[0] = y[0];
    return;
  }
  // Second derivatives M from the tridiagonal system of the interior nodes
  // (M[0] = M[n-1] = 0), by elimination without pivoting: the system is
  // diagonally dominant for a rising table.
  std::vector<double> m(n, 0.0), diag(n, 0.0);
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
    diag[i] = 2.0 * (x[i + 1] - x[i - 1]);
    m[i] = 6.0 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0);
    if (i > 1) {
      const double w = h0 / diag[i - 1];
      diag[i] -= w * h0;
      m[i] -= w * m[i - 1];
    }
  }
  for (std::size_t i = n - 2; i >= 1; --i) {
    m[i] = (m[i] - (x[i + 1] - x[i]) * m[i + 1]) / diag[i];
  }
  // One cubic per interval in powers of d = q - x[k], so that a query costs
  // one Horner step after its interval is known.
  coef_.resize(4 * (n - 1));
  for (std::size_t k = 0; k + 1 < n; ++k) {
    const double h = x[k + 1] - x[k];
    double* c = &coef_[4 * k];
    c[0] = y[k];
    c[1] = (y[k + 1] - y[k]) / h - h * (2.0 * m[k] + m[k + 1]) / 6.0;
    c[2] = 0.5 * m[k];
    c[3] = (m[k + 1] - m[k]) / (6.0 * h);
  }
  last_y_ = y[n - 1];
}

void NaturalSpline::Evaluate(const double* q, double* out, std::size_t nq) const {
  IntervalCursor cursor(x_, n_);
  for (std::size_t i = 0; i < nq; ++i) {
    const double qi = q[i];
    std::size_t k = n_ < 2 ? 0 : cursor.Find(qi);
    if (k + 1 == n_ && n_ >= 2) {
      // At the last point the table's own value; beyond it the last cubic.
      if (qi == x_[n_ - 1]) {
        out[i] = last_y_;
        continue;
      }
      k = n_ - 2;
    }
    const double* c = &coef_[4 * k];
    const double d = n_ < 2 ? 0.0 : qi - x_[k];
    out[i] = ((c[3] * d + c[2]) * d + c[1]) * d + c[0];
  }
}

bool AkimaInterpolate(const double* x, const double* y, std::size_t n, const double* q, double* out,
                      std::size_t nq) {
  if (n < 2 || !StrictlyRising(x, n) || !StrictlyRising(q, nq)) return false;
  // Segment slopes with two more at each end: slope j lives at m[j + 2].
  std::vector<double> m(n + 3);
  for (std::size_t j = 0; j + 1 < n; ++j) m[j + 2] = (y[j + 1] - y[j]) / (x[j + 1] - x[j]);
  if (n == 2) {
    m[0] = m[1] = m[3] = m[4] = m[2];
  } else {
    m[1] = 2.0 * m[2] - m[3];
    m[0] = 2.0 * m[1] - m[2];
    m[n + 1] = 2.0 * m[n] - m[n - 1];
    m[n + 2] = 2.0 * m[n + 1] - m[n];
  }
  // Node slopes: the neighbouring segment slopes weighted by how much the
  // slopes change on the far side; equal weights of 0 give their mean.
  std::vector<double> t(n);
  for (std::size_t i = 0; i < n; ++i) {
    const double w1 = std::fabs(m[i + 3] - m[i + 2]), w2 = std::fabs(m[i + 1] - m[i]);
    t[i] =
        w1 + w2 == 0.0 ? 0.5 * (m[i + 1] + m[i + 2]) : (w1 * m[i + 1] + w2 * m[i + 2]) / (w1 + w2);
  }
  // The interval only moves forward, and its cubic is formed when it moves.
  std::size_t k = 0;
  bool formed = false;
  double c0 = 0, c1 = 0, c2 = 0, c3 = 0;
  for (std::size_t i = 0; i < nq; ++i) {
    const double qi = q[i];
    std::size_t before = k;
    while (k < n - 2 && qi >= x[k + 1]) ++k;
    if (!formed || k != before) {
      const double h = x[k + 1] - x[k], mk = m[k + 2];
      c0 = y[k];
      c1 = t[k];
      c2 = (3.0 * mk - 2.0 * t[k] - t[k + 1]) / h;
      c3 = (t[k] + t[k + 1] - 2.0 * mk) / (h * h);
      formed = true;
    }
    const double d = qi - x[k];
    out[i] = ((c3 * d + c2) * d + c1) * d + c0;
  }
  return true;
}

}  // namespace quorvix::numerics

namespace {

// The exported kernels' shared checks and allocation; null for unusable
// arguments or when memory runs out.
template <class Kernel>
double* Exported(const double* x, const double* y, int n, const double* q, int nq, int min_n,
                 Kernel kernel) {
  if (n < min_n || nq < 0 || x == nullptr || y == nullptr || (nq > 0 && q == nullptr))
    return nullptr;
  double* out = new (std::nothrow) double[static_cast<std::size_t>(nq)];
  if (out == nullptr) return nullptr;
  if (!kernel(static_cast<std::size_t>(n), static_cast<std::size_t>(nq), out)) {
    delete[] out;
    return nullptr;
  }
  return out;
}

}  // namespace

double* LinInterp(const double* x, const double* y, int n, const double* q, int nq) {
  return Exported(x, y, n, q, nq, 1, [&](std::size_t nn, std::size_t nnq, double* out) {
    quorvix::numerics::LinearInterpolate(x, y, nn, q, out, nnq);
    return true;
  });
}

double* CalcSpline(const double* x, const double* y, int n, const double* q, int nq) {
  return Exported(x, y, n, q, nq, 1, [&](std::size_t nn, std::size_t nnq, double* out) {
    try {
      quorvix::numerics::NaturalSpline spline;
      spline.Build(x, y, nn);
      spline.Evaluate(q, out, nnq);
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  });
}

double* Akima(const double* x, const double* y, int n, const double* q, int nq) {
  return Exported(x, y, n, q, nq, 2, [&](std::size_t nn, std::size_t nnq, double* out) {
    try {
      return quorvix::numerics::AkimaInterpolate(x, y, nn, q, out, nnq);
    } catch (const std::bad_alloc&) {
      return false;
    }
  });
}
