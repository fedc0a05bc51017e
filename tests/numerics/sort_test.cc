// The sort kernel against a plain stable sort with the order written out
// independently, on data with NaNs, infinities, signed zeros and repeats, at
// sizes on both sides of the switch to radix passes.
#include "numerics/sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace quorvix::numerics {
namespace {

// Numbers by value with -0 before 0, NaNs after every number; descending
// reverses the numbers only.
bool Before(double a, double b, bool descending) {
  if (std::isnan(a) || std::isnan(b)) return !std::isnan(a) && std::isnan(b);
  if (a == b) return a == 0 && std::signbit(a) != std::signbit(b) && std::signbit(a) != descending;
  return descending ? a > b : a < b;
}

std::vector<double> Data(std::size_t n, unsigned seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> u(-100.0, 100.0);
  const double special[] = {std::numeric_limits<double>::quiet_NaN(),
                            -std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity(),
                            0.0,
                            -0.0,
                            1.5,
                            std::numeric_limits<double>::denorm_min(),
                            -std::numeric_limits<double>::max()};
  std::vector<double> v(n);
  for (double& x : v) x = rng() % 8 == 0 ? special[rng() % std::size(special)] : u(rng);
  return v;
}

std::vector<std::uint64_t> Bits(const std::vector<double>& v) {
  std::vector<std::uint64_t> bits;
  for (double x : v) bits.push_back(std::bit_cast<std::uint64_t>(x));
  return bits;
}

TEST(SortDoubles, MatchesAStableSortInTheDocumentedOrder) {
  for (std::size_t n : {0u, 1u, 2u, 17u, 2047u, 2048u, 5000u, 70000u})
    for (bool descending : {false, true}) {
      std::vector<double> v = Data(n, static_cast<unsigned>(n) + descending);
      std::vector<double> expected = v;
      std::stable_sort(expected.begin(), expected.end(),
                       [descending](double a, double b) { return Before(a, b, descending); });
      SortDoubles(v, descending);
      // Bit for bit: NaN payloads and signs and the sign of zero survive.
      EXPECT_EQ(Bits(v), Bits(expected)) << "n=" << n << " descending=" << descending;
    }
}

TEST(SortDoubles, AscendingBeforeIsAStrictWeakOrder) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(AscendingBefore(nan, nan));
  EXPECT_TRUE(AscendingBefore(1e308, nan));
  EXPECT_FALSE(AscendingBefore(nan, -1e308));
  EXPECT_TRUE(AscendingBefore(-0.0, 0.0));
  EXPECT_FALSE(AscendingBefore(2.0, 2.0));
}

}  // namespace
}  // namespace quorvix::numerics
