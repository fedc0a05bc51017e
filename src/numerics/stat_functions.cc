#include "quorvix/stat_functions.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numerics/statistics.h"

double AbsAreaUnderLine(double x1, double y1, double x2, double y2) {
  const double dx = x2 - x1;
  if (y1 * y2 >= 0.0) return std::fabs(y1 + y2) * dx * 0.5;
  // The segment crosses the axis: the two triangles on either side.
  return (y1 * y1 + y2 * y2) * 0.5 * dx / std::fabs(y2 - y1);
}

double SignedAreaUnderLine(double x1, double y1, double x2, double y2, double* mx, double* my) {
  const double dx = x2 - x1;
  double sum_mx = 0.0, sum_my = 0.0, area;
  if ((y1 >= 0.0 && y2 >= 0.0) || (y1 <= 0.0 && y2 <= 0.0)) {
    // A rectangle up to the end nearer the axis and a triangle on top of it.
    // Below the axis the same shapes are mirrored: the x moments stay
    // positive, the y moments take the ordinates' sign.
    const bool above = y1 >= 0.0 && y2 >= 0.0;
    const bool first_far = std::fabs(y1) >= std::fabs(y2);
    const double near = first_far ? y2 : y1;  // the end nearer the axis
    const double far = first_far ? y1 : y2;
    const double rect = dx * std::fabs(near);
    const double tri = dx * std::fabs(y2 - y1) * 0.5;
    const double xt = first_far ? (2.0 * x1 + x2) / 3.0 : (x1 + 2.0 * x2) / 3.0;
    sum_mx = (x1 + x2) * rect * 0.5 + tri * xt;
    sum_my = near * rect * 0.5 + tri * (2.0 * near + far) / 3.0;
    area = above ? rect + tri : -(rect + tri);
  } else {
    // Opposite signs: a triangle on each side of the crossing.
    const double s = std::fabs(y1) + std::fabs(y2);
    const double left = 0.5 * dx * y1 * y1 / s;
    const double right = 0.5 * dx * y2 * y2 / s;
    area = y2 >= 0.0 ? right - left : left - right;
    const double t = dx / 3.0;
    sum_mx = (x2 - t * y2 / s) * left + (x1 + t * y1 / s) * right;
    sum_my = y1 * right / 3.0 + y2 * left / 3.0;
  }
  if (mx != nullptr) *mx += sum_mx;
  if (my != nullptr) *my += sum_my;
  return area;
}

void StatFunctions::Variances(const double* v, std::size_t n, double* block) {
  using namespace quorvix::numerics;
  const Values values(v, n);
  const double variance = Variance(values);
  block[StatsPacket::kMean] = Mean(values);
  block[StatsPacket::kAvgDev] = AvgDev(values);
  block[StatsPacket::kStdDev] = std::sqrt(variance);
  block[StatsPacket::kVariance] = variance;
  block[StatsPacket::kSkewness] = Skewness(values);
  block[StatsPacket::kRms] = n == 0 ? 0.0 : Rms(values);
}

void StatFunctions::CurveLengthArea(const double* x, const double* y, std::size_t n,
                                    StatsPacket* packet) {
  const quorvix::numerics::CurveMeasures c = quorvix::numerics::MeasureCurve(x, y, n);
  double* p = packet->values;
  p[StatsPacket::kPoints] = static_cast<double>(n);
  p[StatsPacket::kCurveLength] = c.length;
  p[StatsPacket::kAbsArea] = c.abs_area;
  p[StatsPacket::kSignedArea] = c.signed_area;
  p[StatsPacket::kCentroidX] = c.centroid_x;
  p[StatsPacket::kCentroidY] = c.centroid_y;
}

namespace {

void FillBlock(const double* v, std::size_t n, double* block) {
  using namespace quorvix::numerics;
  const Values values(v, n);
  StatFunctions::Variances(v, n, block);
  std::vector<double> scratch(values.begin(), values.end());
  block[StatsPacket::kMedian] = n == 0 ? 0.0 : MedianInPlace(scratch);
  block[StatsPacket::kMin] = Min(values);
  block[StatsPacket::kMax] = Max(values);
  block[StatsPacket::kZeroCrossings] = ZeroCrossings(values);
  block[StatsPacket::kCount] = static_cast<double>(n);
}

std::size_t Count(int n) { return n > 0 ? static_cast<std::size_t>(n) : 0; }

}  // namespace

void StatFunctions::GetStatistics(const double* x, int nx, const double* y, int ny,
                                  StatsPacket* packet) {
  if (packet == nullptr) return;
  const std::size_t cx = x != nullptr ? Count(nx) : 0, cy = y != nullptr ? Count(ny) : 0;
  double* p = packet->values;
  std::fill(p, p + StatsPacket::kSize, 0.0);
  CurveLengthArea(x, y, std::min(cx, cy), packet);
  p[StatsPacket::kDeltaX] = quorvix::numerics::Delta({x, cx});
  p[StatsPacket::kDeltaY] = quorvix::numerics::Delta({y, cy});
  FillBlock(x, cx, p + StatsPacket::kX);
  FillBlock(y, cy, p + StatsPacket::kY);
}

int StatFunctions::CompareMedian(const void* a, const void* b) {
  const double u = **static_cast<const double* const*>(a);
  const double v = **static_cast<const double* const*>(b);
  if (quorvix::numerics::LessNaNLast(u, v)) return -1;
  if (quorvix::numerics::LessNaNLast(v, u)) return 1;
  return 0;
}
