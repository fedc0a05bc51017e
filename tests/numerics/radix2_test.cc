// The fast radix-2 transform against the plain stage-by-stage loop. They must
// agree bit for bit, not to a tolerance: both compute the same twiddle
// angles the same way and every butterfly with the same products and sums;
// only the order of independent butterflies differs, which cannot change a
// rounding. Sizes cover the scalar first stages, the cache blocks and the
// paired stages across blocks, with padding and complex input.
#include "numerics/radix2.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <random>
#include <vector>

#include "numerics/window_function.h"

namespace quorvix::numerics {
namespace {

TEST(Radix2, FastTransformEqualsThePlainLoopBitForBit) {
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (std::size_t n : {1u, 2u, 3u, 4u, 8u, 13u, 64u, 1000u, 8192u, 40000u, 1u << 17}) {
    for (bool complex : {false, true}) {
      std::vector<double> re(n), im(n);
      for (std::size_t i = 0; i < n; ++i) re[i] = u(rng), im[i] = u(rng);
      const std::size_t m = Radix2Length(n);
      for (Direction d : {Direction::kForward, Direction::kInverse}) {
        std::vector<double> fr(m), fi(m), pr(m), pi(m);
        const double* imag = complex ? im.data() : nullptr;
        Radix2Transform(re.data(), imag, n, m, fr.data(), fi.data(), d);
        Radix2Reference(re.data(), imag, n, m, pr.data(), pi.data(), d);
        std::size_t differ = 0;
        for (std::size_t k = 0; k < m; ++k)
          differ += std::bit_cast<std::uint64_t>(fr[k]) != std::bit_cast<std::uint64_t>(pr[k]) ||
                    std::bit_cast<std::uint64_t>(fi[k]) != std::bit_cast<std::uint64_t>(pi[k]);
        EXPECT_EQ(differ, 0u) << "n " << n << (complex ? " complex" : " real")
                              << (d == Direction::kInverse ? " inverse" : " forward");
      }
    }
  }
}

TEST(Radix2, CentringSwapsHalvesAndTheCentredInverseUndoesIt) {
  const std::vector<double> x = {1, -2, 3, 0.5, 4, -1, 2, 7};
  std::vector<double> re(8), im(8), cr(8), ci(8), br(8), bi(8);
  Radix2Transform(x.data(), nullptr, 8, 8, re.data(), im.data());
  Radix2Transform(x.data(), nullptr, 8, 8, cr.data(), ci.data(), Direction::kForward, true);
  for (std::size_t k = 0; k < 8; ++k) {
    EXPECT_EQ(cr[k], re[(k + 4) % 8]);
    EXPECT_EQ(ci[k], im[(k + 4) % 8]);
  }
  Radix2Transform(cr.data(), ci.data(), 8, 8, br.data(), bi.data(), Direction::kInverse, true);
  for (std::size_t k = 0; k < 8; ++k) EXPECT_NEAR(br[k], x[k], 1e-14);
  std::vector<double> axis(4);
  TransformAxis(4, 0.5, Direction::kForward, true, axis.data());
  EXPECT_EQ(axis, (std::vector<double>{-1, -0.5, 0, 0.5}));
}

TEST(WindowFunction, PeriodicCoefficientsAtFourPoints) {
  auto coefficients = [](const WindowFunction& w) {
    return std::vector<float>(w.coefficients().begin(), w.coefficients().end());
  };
  EXPECT_EQ(coefficients(Hanning(4)), (std::vector<float>{0, 0.5f, 1, 0.5f}));
  EXPECT_EQ(coefficients(Welch(4)), (std::vector<float>{0, 0.75f, 1, 0.75f}));
  EXPECT_EQ(coefficients(Parzen(4)), (std::vector<float>{0, 0.5f, 1, 0.5f}));
  // scipy.signal.get_window(("kaiser", pi * 2), 4, fftbins=True), in float
  const std::vector<float> kaiser = coefficients(Kaiser_Bessel(4, 2.0));
  const float expected[] = {0.01147993f, 0.46486232f, 1.0f, 0.46486232f};
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(kaiser[i], expected[i], 2e-6f) << i;
}

}  // namespace
}  // namespace quorvix::numerics
