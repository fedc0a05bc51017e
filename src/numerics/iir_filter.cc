#include "numerics/iir_filter.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "util/run_budget.h"

namespace quorvix::numerics {
namespace {

// Samples between two looks at the deadline.
constexpr std::size_t kBlock = std::size_t{1} << 18;

// L coefficients of each polynomial (both padded to the longer), normalised
// by a[0]; the state z holds L - 1 delays. With L fixed at compile time the
// delays live in registers and the inner loop is the bare recurrence.
template <std::size_t L>
void FixedOrder(const double* b, const double* a, double* x, std::size_t n) {
  std::array<double, L> z{};
  for (std::size_t start = 0; start < n; start += kBlock) {
    const std::size_t end = std::min(n, start + kBlock);
    for (std::size_t i = start; i < end; ++i) {
      const double in = x[i];
      const double out = b[0] * in + z[0];
      for (std::size_t k = 1; k + 1 < L; ++k) z[k - 1] = b[k] * in + z[k] - a[k] * out;
      if constexpr (L > 1) z[L - 2] = b[L - 1] * in - a[L - 1] * out;
      x[i] = out;
    }
    RunBudget::CheckTime();
  }
}

void AnyOrder(const double* b, const double* a, std::size_t l, double* x, std::size_t n) {
  std::vector<double> z(l, 0.0);
  // About as much work between looks as the fixed orders do.
  const std::size_t block = std::max<std::size_t>(1, kBlock * 8 / l);
  for (std::size_t start = 0; start < n; start += block) {
    const std::size_t end = std::min(n, start + block);
    for (std::size_t i = start; i < end; ++i) {
      const double in = x[i];
      const double out = b[0] * in + z[0];
      for (std::size_t k = 1; k + 1 < l; ++k) z[k - 1] = b[k] * in + z[k] - a[k] * out;
      z[l - 2] = b[l - 1] * in - a[l - 1] * out;
      x[i] = out;
    }
    RunBudget::CheckTime();
  }
}

template <std::size_t... Ls>
bool Dispatch(std::size_t l, const double* b, const double* a, double* x, std::size_t n,
              std::index_sequence<Ls...>) {
  return ((l == Ls + 1 ? (FixedOrder<Ls + 1>(b, a, x, n), true) : false) || ...);
}

}  // namespace

void IirFilter(const double* b, std::size_t nb, const double* a, std::size_t na, double* x,
               std::size_t n) {
  const std::size_t l = std::max(nb, na);
  std::vector<double> bn(l, 0.0), an(l, 0.0);
  for (std::size_t k = 0; k < nb; ++k) bn[k] = b[k] / a[0];
  for (std::size_t k = 0; k < na; ++k) an[k] = a[k] / a[0];
  if (n == 0) return;
  if (!Dispatch(l, bn.data(), an.data(), x, n, std::make_index_sequence<12>{}))
    AnyOrder(bn.data(), an.data(), l, x, n);
}

}  // namespace quorvix::numerics
