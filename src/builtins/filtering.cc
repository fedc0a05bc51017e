// Filters of sampled signals: irfilter (a difference equation) and
// saefilter (a zero-phase low-pass in the frequency domain, corner by the
// channel class).
//
// Both replace the data of one argument: irfilter that of x, saefilter that
// of t (t's record carries the filtered y, as hosts expect of it).
#include <cmath>
#include <cstddef>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "numerics/iir_filter.h"
#include "numerics/radix2.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::CountOf;
using builtins::IsScalarArg;
using builtins::IsVectorArg;
using builtins::MustBe;
using numerics::Direction;

// irfilter(b, a, x): a[0] y[n] = sum b[k] x[n-k] - sum_{k>=1} a[k] y[n-k].
// An empty b sums nothing (all zeros); an empty a has no leading
// coefficient, which is the same fault as a zero one.
symtab* IrFilter(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3)) return nullptr;
  for (int i = 0; i < 3; ++i)
    if (!args.Check(i, IsVectorArg, ArgumentMustBe(i + 1, MustBe::kVector))) return nullptr;
  const symtab &b = *args.Peek(0), &a = *args.Peek(1);
  if (CountOf(a) == 0 || a.data[0] == 0.0) return args.Fail(builtins::kDomainViolation);
  symtab* x = args.Take(2);
  if (CountOf(b) == 0)
    for (double& v : builtins::NumericElements(*x)) v = 0.0;
  else
    numerics::IirFilter(b.data, CountOf(b), a.data, CountOf(a), x->data, CountOf(*x));
  return args.Release(x);
}

// The channel class's corner frequency factor, a single-precision constant.
constexpr double kCornerPerClass = static_cast<double>(1.65f);

// saefilter(t, y, class): bins of the centred transform above fc = class *
// 1.65 are attenuated by 20 dB per octave; the first n values of the inverse
// replace t's data. Fewer than two samples have nothing to filter: y comes
// back as it is.
symtab* SaeFilter(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3) || !args.Check(0, IsVectorArg, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorArg, ArgumentMustBe(2, MustBe::kVector)) ||
      !args.Check(2, IsScalarArg, ArgumentMustBe(3, MustBe::kScalar)))
    return nullptr;
  const symtab& y = *args.Peek(1);
  const std::size_t n = CountOf(y);
  if (CountOf(*args.Peek(0)) != n) return args.Fail(builtins::kSameNumberOfPointsShort);
  double cls = builtins::ScalarOf(*args.Peek(2));
  if (cls < 0.0) cls = 0.0;
  if (n >= 2) {
    const double dt = args.Peek(0)->data[1] - args.Peek(0)->data[0];
    if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
    const double fs = static_cast<float>(1.0 / dt);
    const double fc = cls * kCornerPerClass;
    if (!(0.5 * fs < fc)) {
      const std::size_t m = numerics::Radix2Length(n);
      if (m == 0 || !builtins::FitsResult(m)) return nullptr;
      std::vector<double> work(5 * m);
      double *re = work.data(), *im = re + m, *f = im + m, *back_re = f + m, *back_im = back_re + m;
      numerics::Radix2Transform(y.data, nullptr, n, m, re, im, Direction::kForward, true);
      numerics::TransformAxis(m, 1.0 / fs, Direction::kForward, true, f);
      for (std::size_t k = 0; k < m; ++k) {
        const double af = std::fabs(f[k]);
        if (!(af > fc)) continue;
        const double gain = std::pow(10.0, -std::log(af / fc) / std::log(2.0));
        re[k] *= gain;
        im[k] *= gain;
      }
      numerics::Radix2Transform(re, im, m, m, back_re, back_im, Direction::kInverse, true);
      symtab* t = args.Take(0);
      for (std::size_t i = 0; i < n; ++i) t->data[i] = back_re[i];
      return args.Release(t);
    }
  }
  symtab* t = args.Take(0);
  for (std::size_t i = 0; i < n; ++i) t->data[i] = y.data[i];
  return args.Release(t);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kFilteringBuiltins[] = {
    {"irfilter", IrFilter, 3, kNone, nullptr,
     "irfilter(b, a, x)",
     "x through the recursive filter a[0] y[n] = sum b[k] x[n-k] - sum a[k] y[n-k] (zero initial state)",
     "irfilter({0.5, 0.5}, {1}, {1, 1, 1, 0, 0})", true},
    {"saefilter", SaeFilter, 3, kNone, nullptr,
     "saefilter(t, y, class)",
     "y low-passed without phase shift above class * 1.65 Hz at 20 dB per octave",
     "saefilter(0:0.001:0.1, sin(2 * 3.14159 * 50 * (0:0.001:0.1)), 60)", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> FilteringBuiltins() { return kFilteringBuiltins; }

}  // namespace quorvix
