// Interpolation on tabulated points: the kernels behind lininterp, spline and
// akima and the exported LinInterp, CalcSpline and Akima. Results are written
// to `out`, which may be the query array itself (in-place evaluation).
#ifndef QUORVIX_NUMERICS_INTERPOLATION_H
#define QUORVIX_NUMERICS_INTERPOLATION_H

#include <cstddef>
#include <vector>

namespace quorvix::numerics {

// True when x[0] < x[1] < ... < x[n-1] (NaN fails).
bool StrictlyRising(const double* x, std::size_t n);

// The interval of q in a table of n >= 1 points: k with x[k] <= q < x[k+1];
// 0 below the table (and for NaN), n - 1 at or above x[n-1]. Found by
// bisection; each query costs log n. For a strictly rising table the cursor
// first tries the interval of the previous query and the one after it, so
// that rising queries walk forward in constant time; it falls back to
// bisection otherwise, and always answers as bisection would.
class IntervalCursor {
 public:
  IntervalCursor(const double* x, std::size_t n);
  std::size_t Find(double q);

 private:
  std::size_t Bisect(double q) const;

  const double* x_;
  std::size_t n_;
  std::size_t k_ = 0;
  bool walk_;  // the table rises strictly, so a remembered interval is valid
};

// Linear interpolation with the exported kernel's ends: queries below the
// table follow the first segment, queries at or above its last point take
// y[n-1]. n >= 1.
void LinearInterpolate(const double* x, const double* y, std::size_t n, const double* q,
                       double* out, std::size_t nq);

// A natural cubic spline through n >= 1 points, held as one cubic per
// interval in powers of (q - x[k]).
class NaturalSpline {
 public:
  void Build(const double* x, const double* y, std::size_t n);
  // Queries outside the table follow the end cubics.
  void Evaluate(const double* q, double* out, std::size_t nq) const;

 private:
  const double* x_ = nullptr;  // the table, which must outlive Evaluate
  std::size_t n_ = 0;
  std::vector<double> coef_;  // 4 per interval: c0, c1, c2, c3
  double last_y_ = 0.0;
};

// Akima's interpolation. False (nothing written) unless n >= 2, x rises
// strictly and the queries rise strictly.
bool AkimaInterpolate(const double* x, const double* y, std::size_t n, const double* q, double* out,
                      std::size_t nq);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_INTERPOLATION_H
