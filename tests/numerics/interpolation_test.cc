// The exported interpolation kernels: their ends, their nulls and the
// ownership of what they return. Expected values by hand or from scipy 1.10
// (CubicSpline with natural ends, Akima1DInterpolator).
#include "quorvix/interpolation.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Result = std::unique_ptr<double[]>;
using Kernel = double* (*)(const double*, const double*, int, const double*, int);

std::vector<double> Interpolate(Kernel kernel, const std::vector<double>& x,
                                const std::vector<double>& y, const std::vector<double>& q) {
  Result r(
      kernel(x.data(), y.data(), static_cast<int>(x.size()), q.data(), static_cast<int>(q.size())));
  if (r == nullptr) return {};
  return std::vector<double>(r.get(), r.get() + q.size());
}

TEST(LinInterp, ExtrapolatesBelowAndHoldsAbove) {
  EXPECT_EQ(Interpolate(LinInterp, {0, 1}, {0, 10}, {-1, 0.5, 1, 2}),
            (std::vector<double>{-10, 5, 10, 10}));
  // One point: every query gets its y.
  EXPECT_EQ(Interpolate(LinInterp, {3}, {7}, {-5, 3, 9}), (std::vector<double>{7, 7, 7}));
}

TEST(CalcSpline, NaturalEndsAndEndCubicsOutside) {
  std::vector<double> got = Interpolate(CalcSpline, {0, 1, 2, 3}, {0, 1, 0, 1}, {-1, 0.5, 3, 4});
  ASSERT_EQ(got.size(), 4u);
  EXPECT_NEAR(got[0], -1.0, 1e-14);
  EXPECT_NEAR(got[1], 0.75, 1e-14);
  EXPECT_EQ(got[2], 1.0);  // the last point is the table's own value
  EXPECT_NEAR(got[3], 2.0, 1e-14);
  // Random and falling queries give what rising ones give.
  std::vector<double> back = Interpolate(CalcSpline, {0, 1, 2, 3}, {0, 1, 0, 1}, {4, 0.5, 3, -1});
  EXPECT_EQ(back, (std::vector<double>{got[3], got[1], got[2], got[0]}));
}

TEST(Akima, ValuesAndForwardOnlySearch) {
  const std::vector<double> x{0, 1, 2, 3, 4.5, 5, 6}, y{0, 0.5, 2, 1.5, 1.8, 3, 2.5};
  std::vector<double> got = Interpolate(Akima, x, y, {0.2, 2.5, 5.5});
  ASSERT_EQ(got.size(), 3u);
  EXPECT_NEAR(got[0], 0.02533333333333, 1e-12);
  EXPECT_NEAR(got[1], 1.81127450980392, 1e-12);
  EXPECT_NEAR(got[2], 3.13737745098039, 1e-12);
  // Queries that do not rise strictly, a table that does not, or too few
  // points: null.
  EXPECT_EQ(Result(Akima(x.data(), y.data(), 7, std::vector<double>{2.5, 0.2}.data(), 2)), nullptr);
  EXPECT_EQ(Result(Akima(x.data(), y.data(), 7, std::vector<double>{1, 1}.data(), 2)), nullptr);
  const std::vector<double> bad{0, 2, 1};
  EXPECT_EQ(Result(Akima(bad.data(), y.data(), 3, x.data(), 1)), nullptr);
  EXPECT_EQ(Result(Akima(x.data(), y.data(), 1, x.data(), 1)), nullptr);
}

TEST(InterpolationKernels, RejectUnusableArgumentsAndAnswerNoQueries) {
  const double x[] = {0, 1}, y[] = {0, 1};
  for (Kernel k : {LinInterp, CalcSpline, Akima}) {
    EXPECT_EQ(Result(k(x, y, 0, x, 1)), nullptr);
    EXPECT_EQ(Result(k(x, y, 2, x, -1)), nullptr);
    EXPECT_EQ(Result(k(nullptr, y, 2, x, 1)), nullptr);
    EXPECT_NE(Result(k(x, y, 2, nullptr, 0)), nullptr);
  }
}

}  // namespace
