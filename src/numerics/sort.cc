#include "numerics/sort.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <vector>

namespace quorvix::numerics {
namespace {

// Below this many numbers a comparison sort beats the radix passes' fixed
// cost (eight histograms and eight sweeps).
constexpr std::size_t kRadixMin = 2048;
constexpr int kDigitBits = 8;
constexpr int kDigits = 64 / kDigitBits;
constexpr std::size_t kBuckets = std::size_t{1} << kDigitBits;

// Keys are kept in the doubles' own storage; memcpy is the aliasing-safe way
// to move the bit patterns and compiles to a plain load or store.
inline std::uint64_t LoadKey(const double* p) {
  std::uint64_t k;
  std::memcpy(&k, p, sizeof k);
  return k;
}
inline void StoreKey(double* p, std::uint64_t k) { std::memcpy(p, &k, sizeof k); }

inline double FromKey(std::uint64_t key, bool descending) {
  if (descending) key = ~key;
  const std::uint64_t top = std::uint64_t{1} << 63;
  return std::bit_cast<double>((key & top) != 0 ? key & ~top : ~key);
}

// Least-significant-digit radix sort of the numbers in v (no NaN): stable,
// linear, and its passes stream through memory.
void RadixSort(std::span<double> v, bool descending) {
  const std::size_t n = v.size();
  double* a = v.data();
  std::vector<std::array<std::size_t, kBuckets>> counts(kDigits);
  for (auto& c : counts) c.fill(0);
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint64_t k = SortKey(a[i], descending);
    StoreKey(a + i, k);
    for (int d = 0; d < kDigits; ++d) ++counts[d][(k >> (d * kDigitBits)) & (kBuckets - 1)];
  }
  std::unique_ptr<double[]> scratch(new double[n]);
  double* src = a;
  double* dst = scratch.get();
  for (int d = 0; d < kDigits; ++d) {
    std::array<std::size_t, kBuckets>& c = counts[d];
    const int shift = d * kDigitBits;
    // A digit that every key shares moves nothing.
    if (c[(LoadKey(src) >> shift) & (kBuckets - 1)] == n) continue;
    std::size_t offset = 0;
    for (std::size_t& b : c) {
      const std::size_t count = b;
      b = offset;
      offset += count;
    }
    for (std::size_t i = 0; i < n; ++i) {
      const std::uint64_t k = LoadKey(src + i);
      StoreKey(dst + c[(k >> shift) & (kBuckets - 1)]++, k);
    }
    std::swap(src, dst);
  }
  // Back from keys to numbers, into v wherever the last pass left them.
  for (std::size_t i = 0; i < n; ++i) a[i] = FromKey(LoadKey(src + i), descending);
}

}  // namespace

void SortDoubles(std::span<double> v, bool descending) {
  // NaNs go to the end in their input order; the numbers are sorted apart.
  std::size_t nans = 0;
  for (double x : v) nans += std::isnan(x) ? 1 : 0;
  std::span<double> numbers = v;
  if (nans != 0) {
    std::vector<double> kept_nans;
    kept_nans.reserve(nans);
    std::size_t m = 0;
    for (double x : v) {
      if (std::isnan(x))
        kept_nans.push_back(x);
      else
        v[m++] = x;
    }
    std::copy(kept_nans.begin(), kept_nans.end(), v.begin() + static_cast<std::ptrdiff_t>(m));
    numbers = v.first(m);
  }
  if (numbers.size() >= kRadixMin) {
    RadixSort(numbers, descending);
    return;
  }
  // Equal keys are identical numbers, so an unstable sort loses nothing.
  std::sort(numbers.begin(), numbers.end(), [descending](double x, double y) {
    return SortKey(x, descending) < SortKey(y, descending);
  });
}

}  // namespace quorvix::numerics
