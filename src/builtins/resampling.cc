// Resampling of sampled signals onto equal steps of time (resamptime), of
// shaft revolutions (resamprevs) and of a response channel (resampresp).
//
// Each returns a 3 x m matrix: row 0 the new abscissa, row 1 the time of
// each new sample, row 2 the resampled values. The arguments are read in
// place; the result is a new record.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>

#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/signal_keywords.h"
#include "builtins/spectral_support.h"
#include "numerics/antialias.h"
#include "numerics/interpolation.h"
#include "numerics/revolutions.h"
#include "quorvix/math_parser.h"
#include "util/run_budget.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::IsVectorArg;
using builtins::kSameNumberOfPointsShort;
using builtins::kSamplingIntervalZero;
using builtins::kValueOutOfRange;
using builtins::MustBe;
using builtins::NumericElements;
using builtins::OwnedRecord;
using builtins::Report;

// Relative slack on a step count, so that an end reached up to rounding
// still counts.
constexpr double kSlack = 1e-12;

// Kinds in order: `vectors` vectors, then the keyword, which must be
// `keyword` (any case). False after reporting.
bool CheckArguments(Args& args, int vectors, const char* keyword) {
  if (!args.HasCount(vectors + 1)) return false;
  for (int i = 0; i < vectors; ++i)
    if (!args.Check(i, IsVectorArg, ArgumentMustBe(i + 1, MustBe::kVector))) return false;
  return builtins::ReadFixedKeyword(args, vectors, keyword, builtins::ErrorAt::kCall);
}

// Equal counts of the first `vectors` arguments.
bool SameCounts(const Args& args, int vectors) {
  for (int i = 1; i < vectors; ++i)
    if (builtins::CountOf(*args.Peek(i)) != builtins::CountOf(*args.Peek(0))) {
      Report(kSameNumberOfPointsShort);
      return false;
    }
  return true;
}

// The mean step of t; 0 (reported as a zero interval) for fewer than two
// samples.
double MeanStep(std::span<const double> t) {
  if (t.size() < 2) return 0.0;
  return (t.back() - t.front()) / static_cast<double>(t.size() - 1);
}

// The step argument {step [, start [, end]]}: its count must be 1 to 3.
struct StepRange {
  double step;
  bool has_start, has_end;
  double start, end;
};
bool ReadStepRange(const symtab& v, StepRange* range) {
  std::span<const double> s = NumericElements(v);
  if (s.empty() || s.size() > 3) {
    Report(kValueOutOfRange);
    return false;
  }
  *range = {s[0], s.size() > 1, s.size() > 2, s.size() > 1 ? s[1] : 0.0, s.size() > 2 ? s[2] : 0.0};
  return true;
}

// A new 3 x m result after the element limit allows it; null after
// reporting "array too large" otherwise.
symtab* NewResult(double m) {
  if (!(m >= 1.0) || m > static_cast<double>(ElementLimit()) ||
      !ElementCountFits(3, (long long)m)) {
    Report(ArrayTooLargeMessage().c_str());
    return nullptr;
  }
  symtab* v = new symtab;
  v->SetArray(3, static_cast<int>(m));
  return v;
}

symtab* ResampTime(sym_list* list) {
  Args args(list);
  if (!CheckArguments(args, 3, "time") || !SameCounts(args, 2)) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  StepRange range;
  if (!ReadStepRange(*args.Peek(2), &range)) return nullptr;
  const double dti = MeanStep(t);
  if (dti == 0.0 || range.step == 0.0) return args.Fail(kSamplingIntervalZero);
  const std::size_t n = t.size();
  const double t0 = range.has_start ? range.start : t.front();
  const double t1 = range.has_end ? range.end : t.back();
  // Negated tests so that NaN fails too.
  if (!numerics::StrictlyRising(t.data(), n) || !(range.step > 0.0) || !(t0 >= t.front()) ||
      !(t1 <= t.back()) || !(t1 >= t0) || !std::isfinite(range.step))
    return args.Fail(kValueOutOfRange);
  const double r = range.step / dti;
  const bool down = r > 1.0 + 1e-7;
  // The taps are held in memory: as many as an array may hold.
  if (down && 2.0 * numerics::AntiAliasHalfLength(r) + 1.0 > static_cast<double>(ElementLimit()))
    return args.Fail(ArrayTooLargeMessage().c_str());
  OwnedRecord result(NewResult(std::floor((t1 - t0) / range.step * (1.0 + kSlack)) + 1.0));
  if (result == nullptr) return nullptr;
  const std::size_t m = static_cast<std::size_t>(result->cols);
  double* times = result->data;
  for (std::size_t k = 0; k < m; ++k) times[k] = t0 + static_cast<double>(k) * range.step;
  times[m - 1] = std::min(times[m - 1], t.back());
  std::copy(times, times + m, times + m);

  // A record whose steps wander is first put on its mean step.
  std::vector<double> uniform;
  const double* yu = y.data();
  bool even = true;
  for (std::size_t i = 0; i + 1 < n && even; ++i)
    even = std::abs(t[i + 1] - t[i] - dti) <= 1e-6 * dti;
  if (!even) {
    uniform.resize(n);
    for (std::size_t i = 0; i < n; ++i) uniform[i] = t.front() + static_cast<double>(i) * dti;
    numerics::LinearInterpolate(t.data(), y.data(), n, uniform.data(), uniform.data(), n);
    yu = uniform.data();
  }
  std::optional<numerics::AntiAliasFilter> filter;
  if (down) filter.emplace(r);
  numerics::ResampleUniform(yu, n, t.front(), dti, down ? &*filter : nullptr, times, times + 2 * m,
                            m);
  return args.Release(result.release());
}

symtab* ResampRevs(sym_list* list) {
  Args args(list);
  if (!CheckArguments(args, 3, "revolutions") || !SameCounts(args, 3)) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<const double> rpm = NumericElements(*args.Peek(2));
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(kSamplingIntervalZero);
  const std::size_t n = t.size();
  numerics::Revolutions rev(t.data(), rpm.data(), n);
  if (!rev.Valid()) return args.Fail(kValueOutOfRange);
  const int spr = numerics::SamplesPerRevolution(dt, *std::max_element(rpm.begin(), rpm.end()));
  OwnedRecord result(NewResult(numerics::AngleSampleCount(rev.total(), spr)));
  if (result == nullptr) return nullptr;
  const std::size_t m = static_cast<std::size_t>(result->cols);
  double* d = result->data;
  numerics::AngleResample(rev, t.data(), y.data(), n, spr, m, d, d + m, d + 2 * m);
  return args.Release(result.release());
}

symtab* ResampResp(sym_list* list) {
  Args args(list);
  if (!CheckArguments(args, 4, "response") || !SameCounts(args, 3)) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<const double> r = NumericElements(*args.Peek(2));
  StepRange range;
  if (!ReadStepRange(*args.Peek(3), &range)) return nullptr;
  const double dr = range.step;
  if (dr == 0.0) return args.Fail(kSamplingIntervalZero);
  const std::size_t n = r.size();
  bool finite = n > 0 && std::isfinite(dr);
  for (std::size_t i = 0; i < n && finite; ++i) finite = std::isfinite(r[i]) && std::isfinite(t[i]);
  if (!finite) return args.Fail(kValueOutOfRange);
  const auto [lo, hi] = std::minmax_element(r.begin(), r.end());
  const double step = std::abs(dr);
  const double r0 = range.has_start ? range.start
                    : dr > 0.0      ? std::ceil(r[0] / step) * step
                                    : std::floor(r[0] / step) * step;
  const double r1 = range.has_end ? range.end : dr > 0.0 ? *hi : *lo;
  const double span = (r1 - r0) / dr;
  if (!(r0 >= *lo && r0 <= *hi && r1 >= *lo && r1 <= *hi && span >= 0.0))
    return args.Fail(kValueOutOfRange);
  OwnedRecord result(NewResult(std::floor(span * (1.0 + kSlack)) + 1.0));
  if (result == nullptr) return nullptr;
  const std::size_t m = static_cast<std::size_t>(result->cols);
  double* d = result->data;
  std::size_t from = 0;
  double previous = r[0];
  for (std::size_t k = 0; k < m; ++k) {
    if ((k & 0xFFF) == 0) RunBudget::CheckTime();
    const double level = r0 + static_cast<double>(k) * dr;
    // A level farther from the start on the same side is first reached
    // after the one before it; any other level is searched from the start.
    if ((level - r[0]) * (previous - r[0]) <= 0.0 ||
        std::abs(level - r[0]) < std::abs(previous - r[0]))
      from = 0;
    previous = level;
    numerics::Crossing c;
    // Every level between the channel's extremes is reached; rounding at an
    // extreme may miss it by a hair, and then the extreme sample stands in.
    if (!numerics::FirstCrossing(t.data(), r.data(), n, level, from, &c)) {
      const std::size_t i = static_cast<std::size_t>(
          (dr > 0.0 ? std::max_element(r.begin(), r.end()) : std::min_element(r.begin(), r.end())) -
          r.begin());
      c = {t[i], i, 0.0};
    }
    from = c.index;
    d[k] = level;
    d[m + k] = c.time;
    d[2 * m + k] =
        c.fraction > 0.0 ? y[c.index] + c.fraction * (y[c.index + 1] - y[c.index]) : y[c.index];
  }
  return args.Release(result.release());
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kResamplingBuiltins[] = {
    {"resampresp", ResampResp, 5, kNone, nullptr,
     "resampresp(t, y, r, {step [, start [, end]]}, \"response\")",
     "y at the first times the response r reaches equal steps: rows level; time; value",
     "resampresp({0, 1, 2}, {0, 1, 4}, {10, 20, 30}, {5}, \"response\")", true},
    {"resamprevs", ResampRevs, 4, kNone, nullptr,
     "resamprevs(t, y, rpm, \"revolutions\")",
     "y at equal steps of shaft revolutions from the speed rpm (spline): rows revolutions; "
     "time; value", "resamprevs({0, 0.5, 1}, {0, 1, 4}, {60, 60, 60}, \"revolutions\")", true},
    {"resamptime", ResampTime, 4, kNone, nullptr,
     "resamptime(t, y, {step [, start [, end]]}, \"time\")",
     "y at equal time steps, low-pass filtered first when the step grows: rows time; time; value",
     "resamptime({0, 1, 2, 3}, {0, 1, 4, 9}, {0.5}, \"time\")", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ResamplingBuiltins() { return kResamplingBuiltins; }

}  // namespace quorvix
