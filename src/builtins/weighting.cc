// Frequency-weighted levels: dba, dbb, dbc and dbu turn amplitudes v at
// frequencies f into 20 log10(abs(v) W(abs(f)) / ref) decibels.
//
// A, B and C are the curves of IEC 61672 from their corner frequencies,
// divided by their value at 1 kHz so that 1 kHz reads 0 dB. U is two
// second-order low-pass sections (natural frequencies 8800 and 12150 Hz),
// normalised at 1 kHz the same way. The ratio is floored at
// 4.6078641892082647e-17 so that a zero amplitude, or f = 0 where A, B and C
// vanish, gives a finite level (-326.73 dB).
#include <cmath>
#include <cstddef>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::CountOf;
using builtins::IsScalarArg;
using builtins::IsVectorArg;
using builtins::MustBe;

constexpr double kF1 = 424.36;     // 20.6^2
constexpr double kF2 = 11599.29;   // 107.7^2
constexpr double kF3 = 544496.41;  // 737.9^2
constexpr double kF5 = 25122.25;   // 158.5^2
constexpr double kF4 = 1.4884e8;   // 12200^2
constexpr double kFloor = 4.6078641892082647e-17;

double CurveA(double f) {
  const double ff = f * f;
  return kF4 * ff * ff / ((ff + kF1) * (ff + kF4) * std::sqrt((ff + kF2) * (ff + kF3)));
}
double CurveB(double f) {
  const double ff = f * f;
  return kF4 * ff * f / ((ff + kF1) * (ff + kF4) * std::sqrt(ff + kF5));
}
double CurveC(double f) {
  const double ff = f * f;
  return kF4 * ff / ((ff + kF1) * (ff + kF4));
}
// The reciprocal of the U curve: the product of the two sections'
// denominators, under the square root.
double SectionsU(double f) {
  const double ff = f * f;
  const double a = 8800.0 * 8800.0 - ff, b = 12150.0 * 12150.0 - ff;
  return (a * a + 4.0 * 6.16225e7 * ff) * (b * b + 4.0 * 8.41e6 * ff);
}
double CurveU(double f) { return 1.0 / std::sqrt(SectionsU(f)); }

template <double (*Curve)(double)>
double Weight(double f) {
  static const double at_1k = Curve(1000.0);
  return Curve(f) / at_1k;
}

template <double (*W)(double)>
symtab* WeightedLevel(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3) || !args.Check(0, IsVectorArg, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorArg, ArgumentMustBe(2, MustBe::kVector)) ||
      !args.Check(2, IsScalarArg, ArgumentMustBe(3, MustBe::kScalar)))
    return nullptr;
  if (CountOf(*args.Peek(0)) != CountOf(*args.Peek(1)))
    return args.Fail(builtins::kSameNumberOfPointsShort);
  const double ref = builtins::ScalarOf(*args.Peek(2));
  if (!(ref > 0.0)) return args.Fail(builtins::kArg3MustBePositive);
  const double* f = args.Peek(0)->data;
  symtab* v = args.Take(1);
  const std::size_t n = CountOf(*v);
  for (std::size_t i = 0; i < n; ++i) {
    double r = std::fabs(v->data[i]) * W(std::fabs(f[i])) / ref;
    if (r < kFloor) r = kFloor;
    v->data[i] = 20.0 * std::log10(r);
  }
  return args.Release(v);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kWeightingBuiltins[] = {
    {"dba", WeightedLevel<Weight<CurveA>>, 2, kNone, nullptr,
     "dba(f, v, ref)", "A-weighted level 20 log10(abs(v) A(f) / ref) in dB, 0 dB weighting at 1 kHz",
     "dba({100, 1000}, {1, 1}, 1)", true},
    {"dbb", WeightedLevel<Weight<CurveB>>, 2, kNone, nullptr,
     "dbb(f, v, ref)", "B-weighted level 20 log10(abs(v) B(f) / ref) in dB",
     "dbb({100, 1000}, {1, 1}, 1)", true},
    {"dbc", WeightedLevel<Weight<CurveC>>, 2, kNone, nullptr,
     "dbc(f, v, ref)", "C-weighted level 20 log10(abs(v) C(f) / ref) in dB",
     "dbc({100, 1000}, {1, 1}, 1)", true},
    {"dbu", WeightedLevel<Weight<CurveU>>, 2, kNone, nullptr,
     "dbu(f, v, ref)", "U-weighted level 20 log10(abs(v) U(f) / ref) in dB (ultrasound low-pass)",
     "dbu({1000, 16000}, {1, 1}, 1)", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> WeightingBuiltins() { return kWeightingBuiltins; }

}  // namespace quorvix
