// Statistics of a host's x/y data: the packet the statistics built-ins answer
// from, the functions that fill it, and the segment areas behind the curve
// measures.
//
// A host fills a StatsPacket with StatFunctions::GetStatistics and attaches
// it to a MathParser (MathParser::SetStatsPacket). While it is attached,
// mean(x), max(y), curvelength(x, y) and their siblings, called on the
// variables named x and y, answer from the packet instead of computing.
#ifndef QUORVIX_STAT_FUNCTIONS_H
#define QUORVIX_STAT_FUNCTIONS_H

#include <cstddef>

// The area between the segment (x1, y1)-(x2, y2) and the x axis, counting
// the parts below the axis as positive.
double AbsAreaUnderLine(double x1, double y1, double x2, double y2);

// The signed area between the segment and the x axis (negative below it).
// Adds the segment's first moments to *mx (about the y axis, weighted by
// absolute area) and *my (about the x axis, negative below it); either
// pointer may be null.
double SignedAreaUnderLine(double x1, double y1, double x2, double y2, double* mx, double* my);

// Precomputed statistics of an x and a y vector, as a flat array of doubles.
struct StatsPacket {
  // Curve measures of the points (x[i], y[i]), i below the smaller count.
  static constexpr int kPoints = 0;  // number of points used
  static constexpr int kCurveLength = 1;
  static constexpr int kAbsArea = 2;
  static constexpr int kSignedArea = 3;
  static constexpr int kCentroidX = 4;
  static constexpr int kCentroidY = 5;
  static constexpr int kReserved = 6;  // always 0
  static constexpr int kDeltaX = 7;
  static constexpr int kDeltaY = 8;
  // One block per vector, at kX and kY; offsets within a block:
  static constexpr int kX = 9;
  static constexpr int kY = 20;
  static constexpr int kMean = 0;
  static constexpr int kAvgDev = 1;
  static constexpr int kStdDev = 2;  // sqrt of the variance
  static constexpr int kVariance = 3;
  static constexpr int kSkewness = 4;
  static constexpr int kRms = 5;
  static constexpr int kMedian = 6;
  static constexpr int kMin = 7;
  static constexpr int kMax = 8;
  static constexpr int kZeroCrossings = 9;
  static constexpr int kCount = 10;  // number of elements
  static constexpr int kBlockSize = 11;
  static constexpr int kSize = 31;

  double values[kSize] = {};
};

class StatFunctions {
 public:
  // Fills every entry of *packet from x[0..nx) and y[0..ny); the curve
  // measures use the first min(nx, ny) points. Statistics of an empty vector
  // are 0, except min and max (+/- the largest double) and a NaN mean.
  static void GetStatistics(const double* x, int nx, const double* y, int ny, StatsPacket* packet);

  // One vector's block: mean, average deviation, standard deviation,
  // variance, skewness and rms at the block offsets of `block`.
  static void Variances(const double* v, std::size_t n, double* block);

  // Curve length, absolute and signed area and centroid of the points
  // (x[i], y[i]), i < n, into the packet's curve entries.
  static void CurveLengthArea(const double* x, const double* y, std::size_t n, StatsPacket* packet);

  // qsort comparator for an array of pointers to doubles: ascending by the
  // values pointed at, NaN after every number (so the order is total).
  static int CompareMedian(const void* a, const void* b);
};

#endif  // QUORVIX_STAT_FUNCTIONS_H
