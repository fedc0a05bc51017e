#include "numerics/cross_spectrum.h"

#include <cmath>
#include <new>
#include <vector>

#include "numerics/radix2.h"
#include "util/run_budget.h"

namespace quorvix::numerics {

void CrossSpectrum(const double* ar, const double* ai, const double* br, const double* bi,
                   std::size_t m, double n, double* out_re, double* out_im) {
  for (std::size_t k = 0; k < m; ++k) {
    const double re = (ar[k] * br[k] + ai[k] * bi[k]) / n;
    const double im = (ar[k] * bi[k] - ai[k] * br[k]) / n;
    out_re[k] = re;
    out_im[k] = im;
  }
}

BlockLayout LayOutBlocks(std::size_t n, double block_size, double overlap) {
  BlockLayout b;
  const double size = std::trunc(block_size);
  b.size = !(size >= 1.0) ? 1 : size >= static_cast<double>(n) ? n : static_cast<std::size_t>(size);
  const double o = std::trunc(overlap);
  b.overlap = o >= 0.0 && o < static_cast<double>(b.size) ? static_cast<std::size_t>(o) : 0;
  b.m = Radix2Length(b.size);
  if (b.m == 0) return b;
  b.step = b.m - b.overlap;
  const double rest =
      (static_cast<double>(n) - static_cast<double>(b.m)) / static_cast<double>(b.step);
  b.count = static_cast<std::size_t>(std::ceil(rest) + 1.0);
  return b;
}

namespace {

// The transform of block k of x into re and im (m each).
void BlockTransform(const double* x, std::size_t n, const BlockLayout& b, std::size_t k, double* re,
                    double* im) {
  const std::size_t start = k * b.step;
  const std::size_t available = start < n ? n - start : 0;
  Radix2Transform(x + (start < n ? start : 0), nullptr, available < b.m ? available : b.m, b.m, re,
                  im);
}

}  // namespace

bool BlockTransformSum(const double* x, std::size_t n, const BlockLayout& b, double* sum_re,
                       double* sum_im) {
  std::vector<double> re, im;
  try {
    re.resize(b.m);
    im.resize(b.m);
  } catch (const std::bad_alloc&) {
    return false;
  }
  for (std::size_t i = 0; i < b.m; ++i) sum_re[i] = sum_im[i] = 0.0;
  for (std::size_t k = 0; k < b.count; ++k) {
    RunBudget::CheckTime();
    BlockTransform(x, n, b, k, re.data(), im.data());
    for (std::size_t i = 0; i < b.m; ++i) sum_re[i] += re[i];
    for (std::size_t i = 0; i < b.m; ++i) sum_im[i] += im[i];
  }
  return true;
}

bool BlockCrossSums(const double* x, const double* y, std::size_t n, const BlockLayout& b,
                    double* gxy_re, double* gxy_im, double* gxx, double* gyy) {
  std::vector<double> xr, xi, yr, yi;
  try {
    xr.resize(b.m);
    xi.resize(b.m);
    yr.resize(b.m);
    yi.resize(b.m);
  } catch (const std::bad_alloc&) {
    return false;
  }
  for (std::size_t i = 0; i < b.m; ++i) gxy_re[i] = gxy_im[i] = gxx[i] = gyy[i] = 0.0;
  for (std::size_t k = 0; k < b.count; ++k) {
    RunBudget::CheckTime();
    BlockTransform(x, n, b, k, xr.data(), xi.data());
    BlockTransform(y, n, b, k, yr.data(), yi.data());
    for (std::size_t i = 0; i < b.m; ++i) {
      gxy_re[i] += xr[i] * yr[i] + xi[i] * yi[i];
      gxy_im[i] += xr[i] * yi[i] - xi[i] * yr[i];
      gxx[i] += xr[i] * xr[i] + xi[i] * xi[i];
      gyy[i] += yr[i] * yr[i] + yi[i] * yi[i];
    }
  }
  return true;
}

}  // namespace quorvix::numerics
