#include "numerics/direct_transform.h"

#include <cmath>
#include <vector>

#include "util/run_budget.h"

namespace quorvix::numerics {

void DirectTransform(const double* re_in, const double* im_in, std::size_t n, double* out_re,
                     double* out_im, Direction direction) {
  if (n == 0) return;
  const double two_pi = 2.0 * (4.0 * std::atan(1.0));
  std::vector<double> cs(n), sn(n);
  for (std::size_t r = 0; r < n; ++r) {
    const double a = two_pi * static_cast<double>(r) / static_cast<double>(n);
    cs[r] = std::cos(a);
    sn[r] = direction == Direction::kInverse ? -std::sin(a) : std::sin(a);
  }
  for (std::size_t k = 0; k < n; ++k) {
    if ((k & 255) == 255) RunBudget::CheckTime();
    double sr = 0.0, si = 0.0;
    std::size_t r = 0;  // k j mod n, stepped by k
    for (std::size_t j = 0; j < n; ++j) {
      const double xr = re_in[j], xi = im_in != nullptr ? im_in[j] : 0.0;
      // (xr + i xi)(c - i s)
      sr += xr * cs[r] + xi * sn[r];
      si += xi * cs[r] - xr * sn[r];
      r += k;
      if (r >= n) r -= n;
    }
    out_re[k] = sr;
    out_im[k] = si;
  }
  if (direction == Direction::kInverse)
    for (std::size_t k = 0; k < n; ++k) {
      out_re[k] /= static_cast<double>(n);
      out_im[k] /= static_cast<double>(n);
    }
}

}  // namespace quorvix::numerics
