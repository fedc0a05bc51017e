// Measures of a curve given as x and y vectors (areas, centroid, length,
// integral, derivative, intercepts, peaks) and histograms (bins, pdf).
//
// signedarea, absarea, centroid and curvelength report "Invalid argument
// type" for an argument that is not numeric and still return a record: the
// first argument's own, taken from the list, which the caller owns and frees
// like any result (the pending error fails the evaluation). The others
// return null after an error.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/packet_answers.h"
#include "numerics/statistics.h"
#include "quorvix/stat_functions.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::IsVectorLike;
using builtins::kInvalidArgType;
using builtins::MustBe;
using builtins::NewScalar;
using builtins::NumericElements;

constexpr char kTooFewElements[] = "Vectors must contain at least two elements";
// Stands for the slope where two x values coincide: 2^1023.
constexpr double kSteep = 8.98846567431158e307;

// ---- Areas, centroid, length -------------------------------------------------

enum class Measure { kSignedArea, kAbsArea, kCentroid, kLength };

symtab* NewRow(std::span<const double> values) {
  auto* v = new symtab;
  double* d = v->SetArray(1, static_cast<int>(values.size()));
  std::copy(values.begin(), values.end(), d);
  return v;
}

template <Measure M>
symtab* CurveMeasure(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (const double* packet = nullptr; builtins::CurveFromPacket(args, packet)) {
    switch (M) {
      case Measure::kSignedArea:
        return args.Release(NewScalar(packet[StatsPacket::kSignedArea]));
      case Measure::kAbsArea:
        return args.Release(NewScalar(packet[StatsPacket::kAbsArea]));
      case Measure::kLength:
        return args.Release(NewScalar(packet[StatsPacket::kCurveLength]));
      case Measure::kCentroid:
        return args.Release(NewRow({packet + StatsPacket::kCentroidX, 2}));
    }
  }
  if (!IsNumeric(*args.Peek(0)) || !IsNumeric(*args.Peek(1))) {
    builtins::Report(kInvalidArgType);
    return args.Release(args.Take(0));
  }
  if (IsNumber(*args.Peek(0))) return args.Release(NewScalar(0.0));
  std::span<const double> xs = NumericElements(*args.Peek(0));
  std::span<const double> ys = NumericElements(*args.Peek(1));
  const numerics::CurveMeasures c =
      numerics::MeasureCurve(xs.data(), ys.data(), std::min(xs.size(), ys.size()));
  switch (M) {
    case Measure::kSignedArea:
      return args.Release(NewScalar(c.signed_area));
    case Measure::kAbsArea:
      return args.Release(NewScalar(c.abs_area));
    case Measure::kLength:
      return args.Release(NewScalar(c.length));
    case Measure::kCentroid: {
      const double centre[] = {c.centroid_x, c.centroid_y};
      return args.Release(NewRow(centre));
    }
  }
  return nullptr;
}

// ---- Integral, derivative, intercepts ----------------------------------------

// Checks that both arguments are vectors of one length; reports and returns
// false otherwise.
bool TwoVectors(const Args& args) {
  if (!args.Check(0, IsVectorLike, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorLike, ArgumentMustBe(2, MustBe::kVector)))
    return false;
  if (NumericElements(*args.Peek(0)).size() == NumericElements(*args.Peek(1)).size()) return true;
  builtins::Report(builtins::kSameNumberOfElements);
  return false;
}

// Cumulative trapezoid integral, in x's shape.
symtab* Integral(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2) || !TwoVectors(args)) return nullptr;
  std::span<const double> ys = NumericElements(*args.Peek(1));
  if (ys.empty()) return args.Release(NewScalar(0.0));
  symtab* x = args.Take(0);
  std::span<double> xs = NumericElements(*x);
  double previous_x = xs[0], sum = 0.0;
  xs[0] = 0.0;
  for (std::size_t i = 1; i < xs.size(); ++i) {
    const double xi = xs[i];
    sum += (xi - previous_x) * (ys[i - 1] + ys[i]) * 0.5;
    xs[i] = sum;
    previous_x = xi;
  }
  return args.Release(x);
}

// Central differences inside, one-sided at the ends, in x's shape.
symtab* Derivative(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2) || !TwoVectors(args)) return nullptr;
  std::span<const double> ys = NumericElements(*args.Peek(1));
  const std::size_t n = ys.size();
  if (n < 2) return args.Fail(kTooFewElements);
  symtab* x = args.Take(0);
  std::span<double> xs = NumericElements(*x);
  auto slope = [](double dy, double dx) { return dx == 0.0 ? kSteep : dy / dx; };
  std::vector<double> out(n);
  out[0] = slope(ys[1] - ys[0], xs[1] - xs[0]);
  for (std::size_t i = 1; i + 1 < n; ++i)
    out[i] = slope(ys[i + 1] - ys[i - 1], xs[i + 1] - xs[i - 1]);
  out[n - 1] = slope(ys[n - 1] - ys[n - 2], xs[n - 1] - xs[n - 2]);
  std::copy(out.begin(), out.end(), xs.begin());
  return args.Release(x);
}

// The x positions where y is zero, by linear interpolation where y changes
// sign between two points; a column (empty when there are none).
symtab* Intercepts(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2) || !TwoVectors(args)) return nullptr;
  std::span<const double> xs = NumericElements(*args.Peek(0));
  std::span<const double> ys = NumericElements(*args.Peek(1));
  std::vector<double> found;
  if (!ys.empty() && ys[0] == 0.0) found.push_back(xs[0]);
  for (std::size_t i = 1; i < ys.size(); ++i) {
    const double a = ys[i - 1], b = ys[i];
    if (b == 0.0)
      found.push_back(xs[i]);
    else if ((a < 0.0 && b > 0.0) || (a > 0.0 && b < 0.0))
      found.push_back(xs[i - 1] + a / (a - b) * (xs[i] - xs[i - 1]));
  }
  auto* out = new symtab;
  double* d = out->SetArray(static_cast<int>(found.size()), 1);
  std::copy(found.begin(), found.end(), d);
  return args.Release(out);
}

// ---- Peaks -------------------------------------------------------------------

// Indices of interior local maxima (mode > 0), minima (mode < 0) or both in
// turn (mode 0, so a flat stretch lists a point twice); a column, or -1.
symtab* Peaks(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, 2) || !args.Check(0, IsVectorLike, kInvalidArgType)) return nullptr;
  if (args.size() == 2 && !args.Check(1, IsNumber, kInvalidArgType)) return nullptr;
  const double mode_value = args.size() == 2 ? std::trunc(args.Peek(1)->value) : 0.0;
  const bool maxima = !(mode_value < 0.0), minima = !(mode_value > 0.0);
  std::span<const double> xs = NumericElements(*args.Peek(0));
  std::vector<double> found;
  for (std::size_t i = 1; i + 1 < xs.size(); ++i) {
    if (maxima && xs[i - 1] <= xs[i] && xs[i + 1] <= xs[i]) found.push_back(static_cast<double>(i));
    if (minima && xs[i - 1] >= xs[i] && xs[i + 1] >= xs[i]) found.push_back(static_cast<double>(i));
  }
  if (found.empty()) return args.Release(NewScalar(-1.0));
  auto* out = new symtab;
  double* d = out->SetArray(static_cast<int>(found.size()), 1);
  std::copy(found.begin(), found.end(), d);
  return args.Release(out);
}

// ---- Histograms --------------------------------------------------------------

// The bins of a histogram of x: n of width w from lo. An empty x has the
// range [0, 0].
struct Bins {
  double lo = 0.0, hi = 0.0, w = 0.0;
  long long n = 0;
};

// Reads x and the bin count; reports and returns false when they do not do.
bool ReadBins(const Args& args, Bins& b) {
  if (!args.HasCount(2) || !args.Check(0, IsVectorLike, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsNumber, ArgumentMustBe(2, MustBe::kScalar)))
    return false;
  const double n = std::trunc(args.Peek(1)->value);
  if (!(n >= 1.0)) {
    builtins::Report(builtins::kSizeNotPositive);
    return false;
  }
  if (!ElementCountFits(1, n >= 4e18 ? 4'000'000'000'000'000'000LL : static_cast<long long>(n))) {
    builtins::Report(ArrayTooLargeMessage().c_str());
    return false;
  }
  b.n = static_cast<long long>(n);
  std::span<const double> xs = NumericElements(*args.Peek(0));
  if (!xs.empty()) {
    // One pass from the first element; one that is not a new maximum is
    // compared with the minimum.
    b.lo = b.hi = xs[0];
    for (double e : xs.subspan(1)) {
      if (e > b.hi)
        b.hi = e;
      else if (e < b.lo)
        b.lo = e;
    }
  }
  b.w = (b.hi - b.lo) / static_cast<double>(b.n);
  return true;
}

symtab* NewRowOf(long long n) {
  auto* v = new symtab;
  v->SetArray(1, static_cast<int>(n));
  return v;
}

symtab* BinCentres(sym_list* list) {
  Args args(list);
  Bins b;
  if (!ReadBins(args, b)) return nullptr;
  symtab* out = NewRowOf(b.n);
  for (long long i = 0; i < b.n; ++i) out->data[i] = b.lo + (static_cast<double>(i) + 0.5) * b.w;
  return args.Release(out);
}

// Counts per bin: bin j holds lo + j w <= e < lo + (j + 1) w, the last one
// lo + (n - 1) w <= e <= hi. The bin is found by division and then moved
// to where those very comparisons put it, so rounding cannot shift an
// element across an edge.
symtab* Histogram(sym_list* list) {
  Args args(list);
  Bins b;
  if (!ReadBins(args, b)) return nullptr;
  symtab* out = NewRowOf(b.n);
  double* counts = out->data;
  std::fill(counts, counts + b.n, 0.0);
  const long long last = b.n - 1;
  auto edge = [&b](long long j) { return b.lo + static_cast<double>(j) * b.w; };
  for (double e : NumericElements(*args.Peek(0))) {
    if (!(e >= b.lo && e <= b.hi)) continue;  // NaN
    long long j = last;
    if (b.w > 0.0) {
      const double t = (e - b.lo) / b.w;
      j = t < static_cast<double>(last) ? static_cast<long long>(t) : last;
      while (j > 0 && e < edge(j)) --j;
      while (j < last && e >= edge(j + 1)) ++j;
    }
    if (e >= edge(j)) counts[j] += 1.0;
  }
  return args.Release(out);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kCurveMeasureBuiltins[] = {
    {"absarea",     CurveMeasure<Measure::kAbsArea>,    2, kNone, nullptr,
     "absarea(x, y)", "area between the curve (x, y) and the x axis, all counted positive",
     "absarea({0, 1, 2}, {1, -1, 1})", true},
    {"bins",        BinCentres,                         2, kNone, nullptr,
     "bins(v, n)", "centres of n equal bins spanning the range of v", "bins({0, 10}, 5)", true},
    {"centroid",    CurveMeasure<Measure::kCentroid>,   2, kNone, nullptr,
     "centroid(x, y)", "centre (cx, cy) of the area between the curve (x, y) and the x axis",
     "centroid({0, 2}, {1, 1})", true},
    {"curvelength", CurveMeasure<Measure::kLength>,     2, kNone, nullptr,
     "curvelength(x, y)", "length of the polyline through the points (x, y)",
     "curvelength({0, 3}, {0, 4})", true},
    {"derivative",  Derivative,                         2, kNone, nullptr,
     "derivative(x, y)", "dy/dx at each point: central differences, one-sided at the ends",
     "derivative({0, 1, 2}, {0, 1, 4})", true},
    {"integral",    Integral,                           1, kNone, nullptr,
     "integral(x, y)", "running trapezoid integral of y over x, starting at 0",
     "integral({0, 1, 2}, {1, 1, 1})", true},
    {"intercepts",  Intercepts,                         2, kNone, nullptr,
     "intercepts(x, y)", "column of the x positions where the curve (x, y) meets zero",
     "intercepts({0, 1, 2}, {-1, 1, 0})", true},
    {"pdf",         Histogram,                          2, kNone, nullptr,
     "pdf(v, n)", "counts of the elements of v in n equal bins spanning its range",
     "pdf({1, 2, 2, 3, 9}, 4)", true},
    {"peaks",       Peaks,                              1, kNone, nullptr,
     "peaks(v [, mode])", "column of the indices of local maxima (mode > 0), minima (mode < 0) "
     "or both (0); -1 when none", "peaks({0, 2, 1, 3, 0}, 1)", true},
    {"signedarea",  CurveMeasure<Measure::kSignedArea>, 1, kNone, nullptr,
     "signedarea(x, y)", "area between the curve (x, y) and the x axis, negative below it",
     "signedarea({0, 1, 2}, {1, -1, 1})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> CurveMeasureBuiltins() { return kCurveMeasureBuiltins; }

}  // namespace quorvix
