// Reductions and curve measures over plain arrays of doubles, shared by the
// statistics built-ins and StatFunctions. Sums go through PairwiseSums
// (summation.h). An empty range gives what the formula gives (a mean of
// 0 / 0 is NaN) unless a function says otherwise.
#ifndef QUORVIX_NUMERICS_STATISTICS_H
#define QUORVIX_NUMERICS_STATISTICS_H

#include <cstddef>
#include <span>

namespace quorvix::numerics {

using Values = std::span<const double>;

double Sum(Values v);
double Mean(Values v);
// (sum of squares - sum^2 / n) / (n - 1); 0 below two elements.
double Variance(Values v);
// Third moment about the mean over n s^3, s the standard deviation of
// Variance; 0 below two elements or when n s^3 is 0.
double Skewness(Values v);
double Rms(Values v);
// Mean absolute deviation from the mean; 0 for an empty range.
double AvgDev(Values v);
// The middle element, or the mean of the two middle ones, in ascending
// order with NaN after every number. Reorders v; NaN for an empty range.
double MedianInPlace(std::span<double> v);
// Largest / smallest element by strict comparison from -/+ the largest
// double, so NaN never wins and an empty range gives the start value.
double Max(Values v);
double Min(Values v);
// Pairs (v[i], v[i+1]) with a product below 0, or of 0 with v[i+1] == 0.
double ZeroCrossings(Values v);
// Last minus first element; 0 for an empty range.
double Delta(Values v);

// Orders doubles ascending with NaN after every number: a strict weak order
// even with NaN present.
inline bool LessNaNLast(double a, double b) { return a < b || (b != b && a == a); }

// Curve measures of the points (x[i], y[i]), i < n.
struct CurveMeasures {
  double length = 0.0;
  double abs_area = 0.0;
  double signed_area = 0.0;
  double centroid_x = 0.0;  // 0 with the other when the signed area is 0
  double centroid_y = 0.0;
};
CurveMeasures MeasureCurve(const double* x, const double* y, std::size_t n);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_STATISTICS_H
