// Sums of many doubles, accumulated pairwise.
//
// "The sum of all elements" leaves the order of the additions open. A plain
// left-to-right loop is bound by the latency of one addition after another
// and its error grows with n; pairwise summation runs eight independent
// accumulators (which the compiler vectorises) and its error grows with
// log n. The split is numpy's, exactly: ranges under 8 elements are added
// in order; up to 128 elements go into eight accumulators, combined as
// ((r0 + r1) + (r2 + r3)) + ((r4 + r5) + (r6 + r7)), and the remainder after
// the last multiple of 8 is added to that; larger ranges are halved at a
// multiple of 8 and the two halves' sums added. numpy's reduction hands the
// loop blocks of 8192 elements, whose sums it adds in order; so do we. So a
// sum or mean here is bit for bit numpy's sum or mean of the same array.
#ifndef QUORVIX_NUMERICS_SUMMATION_H
#define QUORVIX_NUMERICS_SUMMATION_H

#include <array>
#include <cstddef>

namespace quorvix::numerics {

// Sums of f_k(x[i]) for k = 0..K-1 over x[0..n) of at most one block, each
// in the pairwise order above; `terms(x, t)` writes the K terms of one
// element into t. Computing several sums in one walk reads the data once.
template <std::size_t K, class Terms>
std::array<double, K> PairwiseBlock(const double* x, std::size_t n, const Terms& terms) {
  std::array<double, K> out{};
  double t[K];
  if (n < 8) {
    for (std::size_t i = 0; i < n; ++i) {
      terms(x[i], t);
      for (std::size_t k = 0; k < K; ++k) out[k] += t[k];
    }
    return out;
  }
  if (n <= 128) {
    double r[K][8];
    for (std::size_t j = 0; j < 8; ++j) {
      terms(x[j], t);
      for (std::size_t k = 0; k < K; ++k) r[k][j] = t[k];
    }
    std::size_t i = 8;
    for (; i < n - n % 8; i += 8) {
      for (std::size_t j = 0; j < 8; ++j) {
        terms(x[i + j], t);
        for (std::size_t k = 0; k < K; ++k) r[k][j] += t[k];
      }
    }
    for (std::size_t k = 0; k < K; ++k)
      out[k] =
          ((r[k][0] + r[k][1]) + (r[k][2] + r[k][3])) + ((r[k][4] + r[k][5]) + (r[k][6] + r[k][7]));
    for (; i < n; ++i) {
      terms(x[i], t);
      for (std::size_t k = 0; k < K; ++k) out[k] += t[k];
    }
    return out;
  }
  std::size_t half = n / 2;
  half -= half % 8;
  std::array<double, K> a = PairwiseBlock<K>(x, half, terms);
  const std::array<double, K> b = PairwiseBlock<K>(x + half, n - half, terms);
  for (std::size_t k = 0; k < K; ++k) a[k] += b[k];
  return a;
}

// The sums over the whole range: block by block of 8192 elements, each
// block's pairwise sums added to totals that start at 0.
template <std::size_t K, class Terms>
std::array<double, K> PairwiseSums(const double* x, std::size_t n, const Terms& terms) {
  constexpr std::size_t kBlock = 8192;
  std::array<double, K> total{};
  for (std::size_t i = 0; i < n; i += kBlock) {
    const std::array<double, K> b = PairwiseBlock<K>(x + i, n - i < kBlock ? n - i : kBlock, terms);
    for (std::size_t k = 0; k < K; ++k) total[k] += b[k];
  }
  return total;
}

// The plain sum of x[0..n), as numpy's sum gives it (an empty range is 0).
double PairwiseSum(const double* x, std::size_t n);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_SUMMATION_H
