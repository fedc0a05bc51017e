// Segmentation of sampled signals for order and frequency analysis of
// rotating machinery: stsegtime (equal time segments), stsegrps (time
// segments at speed steps), strsegrps (angle segments at speed steps),
// strsegrevs (angle segments every so many revolutions), and their overall
// level variants vtsegtime and vtsegrps.
//
// The st* functions return one windowed segment a row ("slices") or one
// abscissa a segment as a column ("time", "response", "revolutions"); the
// vt* functions return the window-corrected RMS of each segment as a column
// instead of the rows. Arguments are read in place; results are new records.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/signal_keywords.h"
#include "builtins/spectral_support.h"
#include "numerics/interpolation.h"
#include "numerics/level_sequence.h"
#include "numerics/revolutions.h"
#include "numerics/segment_abscissa.h"
#include "numerics/segment_placement.h"
#include "quorvix/math_parser.h"
#include "util/run_budget.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::ErrorAt;
using builtins::MustBe;
using builtins::OwnedRecord;
using builtins::Selector;
using numerics::SegmentAbscissa;

// Errors about the second argument or a later one name the comma before it.
constexpr ErrorAt kLater = ErrorAt::kComma;

// The arguments every segment function reads: y, window, size, a fourth
// scalar (overlap or step), and for the seven-argument forms t, rpm and the
// output selector.
struct Call {
  std::span<const double> y, t, rpm;
  builtins::WindowKind window_kind = builtins::WindowKind::kNone;
  std::vector<double> window;
  std::size_t size = 0;
  double fourth = 0.0;
  Selector output = Selector::kSlices;
};

// The segment size against the samples it is cut from, and the window for
// it. False after reporting.
bool FitSize(Call* c, std::size_t samples) {
  if (c->size > samples) {
    builtins::Report(builtins::kWindowTooLong, kLater);
    return false;
  }
  c->window = builtins::WindowCoefficients(c->window_kind, static_cast<std::int32_t>(c->size));
  return true;
}

// Reads and checks the arguments; the size against the samples of y unless
// the segments are cut from angle samples (`angle`: FitSize once they are
// known). False after reporting.
bool ReadCall(const Args& args, bool seven, bool angle, Call* c) {
  if (!args.HasCount(seven ? 7 : 4)) return false;
  if (!args.Check(0, builtins::IsVectorArg, ArgumentMustBe(1, MustBe::kVector))) return false;
  if (!builtins::ReadWindow(args, 1, kLater, &c->window_kind)) return false;
  for (int i = 2; i < 4; ++i)
    if (!args.Check(i, builtins::IsScalarArg, ArgumentMustBe(i + 1, MustBe::kScalar), kLater))
      return false;
  c->y = builtins::NumericElements(*args.Peek(0));
  if (seven) {
    for (int i = 4; i < 6; ++i)
      if (!args.Check(i, builtins::IsVectorArg, ArgumentMustBe(i + 1, MustBe::kVector), kLater))
        return false;
    if (!builtins::ReadSelector(args, 6, builtins::kSegmentSelectors, kLater, &c->output))
      return false;
    c->t = builtins::NumericElements(*args.Peek(4));
    c->rpm = builtins::NumericElements(*args.Peek(5));
    if (c->t.size() != c->y.size() || c->rpm.size() != c->y.size()) {
      builtins::Report(builtins::kSameNumberOfPointsShort, kLater);
      return false;
    }
  }
  const long long size = builtins::TruncateToInteger(builtins::ScalarOf(*args.Peek(2)));
  c->fourth = builtins::ScalarOf(*args.Peek(3));
  if (size < 1) {
    builtins::Report(builtins::kSizeNotPositive, kLater);
    return false;
  }
  // Past any array, so reported as too long for the record.
  c->size = static_cast<std::size_t>(std::min<long long>(size, std::numeric_limits<int>::max()));
  return angle || FitSize(c, c->y.size());
}

// The speed channel of a seven-argument call as revolutions: its mean time
// step must not be zero, t must rise, rpm be finite and not negative, and
// the shaft must turn. False after reporting.
struct Shaft {
  double dt;
  double max_rpm;
};
bool ReadShaft(const Call& c, const numerics::Revolutions& rev, Shaft* s) {
  const std::size_t n = c.t.size();
  s->dt = n < 2 ? 0.0 : (c.t.back() - c.t.front()) / static_cast<double>(n - 1);
  if (s->dt == 0.0) {
    builtins::Report(builtins::kSamplingIntervalZero, kLater);
    return false;
  }
  if (!rev.Valid()) {
    builtins::Report(builtins::kValueOutOfRange, kLater);
    return false;
  }
  s->max_rpm = *std::max_element(c.rpm.begin(), c.rpm.end());
  return true;
}

// One segment: where it starts in the source and its abscissas.
struct Segment {
  std::size_t start;
  SegmentAbscissa at;
};

// Builds the result of `count` segments of c.size samples of `source`,
// segment k given by next(k) in rising k: rows of windowed samples, or a
// column of levels (vt*, `levels`), or a column of one abscissa.
template <class Next>
symtab* Emit(Args& args, const Call& c, bool levels, double count, const double* source,
             Next next) {
  const bool rows = c.output == Selector::kSlices && !levels;
  const double cols = rows ? static_cast<double>(c.size) : 1.0;
  if (!(count * cols <= static_cast<double>(ElementLimit())))
    return args.Fail(ArrayTooLargeMessage().c_str(), kLater);
  const std::size_t k_count = static_cast<std::size_t>(count);
  const std::size_t n = c.size;
  OwnedRecord result(new symtab);
  result->SetArray(static_cast<int>(k_count), static_cast<int>(cols));
  double* out = result->data;
  double power = 0.0;
  for (double w : c.window) power += w * w;
  const double* w = c.window.data();
  // Samples touched since the clock was last read.
  std::size_t work = 0;
  for (std::size_t k = 0; k < k_count; ++k) {
    if ((work += n) >= (1u << 16)) {
      RunBudget::CheckTime();
      work = 0;
    }
    const Segment s = next(k);
    const double* seg = source + s.start;
    switch (c.output) {
      case Selector::kSlices:
        if (levels) {
          double sum = 0.0;
          for (std::size_t i = 0; i < n; ++i) sum += (seg[i] * w[i]) * (seg[i] * w[i]);
          out[k] = std::sqrt(sum / power);
        } else {
          double* row = out + k * n;
          for (std::size_t i = 0; i < n; ++i) row[i] = seg[i] * w[i];
        }
        break;
      case Selector::kTime:
        out[k] = s.at.time;
        break;
      case Selector::kResponse:
        out[k] = s.at.rpm;
        break;
      default:
        out[k] = s.at.revolutions;
        break;
    }
  }
  return args.Release(result.release());
}

// Equal segments of c.size samples, each c.fourth samples overlapping the
// one before (an overlap outside 0 .. size - 1 counts as none); the tail
// shorter than a segment is dropped.
symtab* TimeSegments(sym_list* list, bool seven, bool levels) {
  Args args(list);
  Call c;
  if (!ReadCall(args, seven, false, &c)) return nullptr;
  long long overlap = builtins::TruncateToInteger(c.fourth);
  if (overlap < 0 || overlap >= static_cast<long long>(c.size)) overlap = 0;
  const std::size_t hop = c.size - static_cast<std::size_t>(overlap);
  const std::size_t count = (c.y.size() - c.size) / hop + 1;
  if (c.output == Selector::kSlices)
    return Emit(args, c, levels, static_cast<double>(count), c.y.data(), [&](std::size_t k) {
      return Segment{k * hop, {}};
    });
  numerics::Revolutions rev(c.t.data(), c.rpm.data(), c.t.size());
  Shaft shaft;
  if (!ReadShaft(c, rev, &shaft)) return nullptr;
  return Emit(args, c, levels, static_cast<double>(count), c.y.data(), [&](std::size_t k) {
    const std::size_t s0 = k * hop;
    return Segment{
        s0, numerics::TimeSegmentCentre(rev, c.t.data(), c.rpm.data(), c.t.size(), s0, c.size)};
  });
}

symtab* StSegTime(sym_list* list) { return TimeSegments(list, false, false); }
symtab* VtSegTime(sym_list* list) { return TimeSegments(list, true, true); }

// Segments centred on the first times the speed reaches the levels of the
// step c.fourth (rpm; negative for a run-down), in the time domain or, when
// `angle`, among the angle samples of y resampled on the revolutions.
symtab* SpeedSegments(sym_list* list, bool angle, bool levels) {
  Args args(list);
  Call c;
  if (!ReadCall(args, true, angle, &c)) return nullptr;
  const std::size_t n = c.t.size();
  numerics::Revolutions rev(c.t.data(), c.rpm.data(), n);
  Shaft shaft;
  if (!ReadShaft(c, rev, &shaft)) return nullptr;
  const double step = c.fourth;
  if (step == 0.0 || !std::isfinite(step)) return args.Fail(builtins::kValueOutOfRange, kLater);
  const auto [lo, hi] = std::minmax_element(c.rpm.begin(), c.rpm.end());
  const numerics::LevelSequence levels_of_step = numerics::StepLevels(c.rpm[0], *lo, *hi, step);

  // The source the segments are cut from: y itself or its angle samples.
  const double* source = c.y.data();
  std::size_t samples = n;
  std::vector<double> angle_samples;
  int spr = 0;
  if (angle) {
    spr = numerics::SamplesPerRevolution(shaft.dt, shaft.max_rpm);
    const double m = numerics::AngleSampleCount(rev.total(), spr);
    if (!(3.0 * m <= static_cast<double>(ElementLimit())))
      return args.Fail(ArrayTooLargeMessage().c_str(), kLater);
    samples = static_cast<std::size_t>(m);
    if (!FitSize(&c, samples)) return nullptr;
    angle_samples.resize(3 * samples);
    double* a = angle_samples.data();
    numerics::AngleResample(rev, c.t.data(), c.y.data(), n, spr, samples, a, a + samples,
                            a + 2 * samples);
    source = a + 2 * samples;
  }
  // Each level is reached after the one before it (the channel passes the
  // lower levels on its way up), so the search walks on from there.
  std::size_t from = 0;
  const std::size_t extreme = static_cast<std::size_t>((step > 0.0 ? hi : lo) - c.rpm.begin());
  return Emit(args, c, levels, levels_of_step.count, source, [&](std::size_t k) {
    const double level = levels_of_step.At(static_cast<double>(k));
    numerics::Crossing x;
    // A last level within the slack of the extreme stands at the extreme.
    if (!numerics::FirstCrossing(c.t.data(), c.rpm.data(), n, level, from, &x))
      x = {c.t[extreme], extreme, 0.0};
    from = x.index;
    const double theta = rev.At(x.time);
    const long long centre =
        angle ? numerics::AngleCentre(theta, spr)
              : static_cast<long long>(numerics::NearestSample(c.t.data(), n, x.time));
    return Segment{numerics::SegmentStart(centre, c.size, samples), {x.time, level, theta}};
  });
}

symtab* StSegRps(sym_list* list) { return SpeedSegments(list, false, false); }
symtab* StrSegRps(sym_list* list) { return SpeedSegments(list, true, false); }
symtab* VtSegRps(sym_list* list) { return SpeedSegments(list, false, true); }

// Angle segments starting at angle sample round(j step spr), j = 0, 1, ...,
// while they fit; step in revolutions.
symtab* StrSegRevs(sym_list* list) {
  Args args(list);
  Call c;
  if (!ReadCall(args, true, true, &c)) return nullptr;
  const std::size_t n = c.t.size();
  numerics::Revolutions rev(c.t.data(), c.rpm.data(), n);
  Shaft shaft;
  if (!ReadShaft(c, rev, &shaft)) return nullptr;
  if (!(c.fourth > 0.0) || !std::isfinite(c.fourth))
    return args.Fail(builtins::kValueOutOfRange, kLater);
  const int spr = numerics::SamplesPerRevolution(shaft.dt, shaft.max_rpm);
  const double m = numerics::AngleSampleCount(rev.total(), spr);
  if (!(3.0 * m <= static_cast<double>(ElementLimit())))
    return args.Fail(ArrayTooLargeMessage().c_str(), kLater);
  const std::size_t samples = static_cast<std::size_t>(m);
  if (!FitSize(&c, samples)) return nullptr;
  // Starts round(j q); the count is those up to samples - size, found near
  // its estimate and corrected for the rounding.
  const double q = c.fourth * spr;
  const double last = static_cast<double>(samples - c.size);
  double count = std::floor(last / q) + 1.0;
  if (count * static_cast<double>(c.output == Selector::kSlices ? c.size : 1) >
      static_cast<double>(ElementLimit()))
    return args.Fail(ArrayTooLargeMessage().c_str(), kLater);
  while (std::round(count * q) <= last) count += 1.0;
  while (count > 0.0 && std::round((count - 1.0) * q) > last) count -= 1.0;
  std::vector<double> angle_samples(3 * samples);
  double* a = angle_samples.data();
  numerics::AngleResample(rev, c.t.data(), c.y.data(), n, spr, samples, a, a + samples,
                          a + 2 * samples);
  return Emit(args, c, false, count, a + 2 * samples, [&](std::size_t k) {
    const std::size_t s0 = static_cast<std::size_t>(std::round(static_cast<double>(k) * q));
    return Segment{s0,
                   numerics::AngleSegmentCentre(rev, c.t.data(), c.rpm.data(), n, spr, s0, c.size)};
  });
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kSegmentBuiltins[] = {
    {"strsegrevs", StrSegRevs, 7, kNone, nullptr,
     "strsegrevs(y, window, size, step, t, rpm, output)",
     "windowed segments of y resampled on the shaft angle, one every step revolutions; "
     "output as stsegrps",
     "strsegrevs({0, 1, 4}, \"none\", 2, 0.5, {0, 0.5, 1}, {60, 60, 60}, \"slices\")", true},
    {"strsegrps", StrSegRps, 7, kNone, nullptr,
     "strsegrps(y, window, size, step, t, rpm, output)",
     "as stsegrps, with y resampled on the shaft angle first (segments of angle samples)",
     "strsegrps({0, 1, 2, 3, 4}, \"none\", 2, 100, {0, 1, 2, 3, 4}, {0, 100, 200, 300, 400}, "
     "\"revolutions\")", true},
    {"stsegrps", StSegRps, 7, kNone, nullptr,
     "stsegrps(y, window, size, step, t, rpm, output)",
     "windowed segments of y centred where the speed rpm first reaches each step of rpm; "
     "output \"slices\" (rows) or \"time\", \"response\", \"revolutions\" (a column)",
     "stsegrps({0, 1, 2, 3, 4}, \"none\", 2, 100, {0, 1, 2, 3, 4}, {0, 100, 200, 300, 400}, "
     "\"slices\")", true},
    {"stsegtime", StSegTime, 4, kNone, nullptr,
     "stsegtime(y, window, size, overlap)",
     "windowed segments of size samples of y, overlapping by overlap samples, one a row",
     "stsegtime({1, 2, 3, 4, 5, 6}, \"none\", 4, 2)", true},
    {"vtsegrps", VtSegRps, 7, kNone, nullptr,
     "vtsegrps(y, window, size, step, t, rpm, output)",
     "window-corrected RMS of each stsegrps segment (a column), or its abscissas",
     "vtsegrps({0, 1, 2, 3, 4}, \"none\", 2, 100, {0, 1, 2, 3, 4}, {0, 100, 200, 300, 400}, "
     "\"slices\")", true},
    {"vtsegtime", VtSegTime, 7, kNone, nullptr,
     "vtsegtime(y, window, size, overlap, t, rpm, output)",
     "window-corrected RMS of each stsegtime segment (a column), or the segment centres' time, "
     "speed or revolutions",
     "vtsegtime({1, 2, 3, 4}, \"none\", 2, 0, {0, 1, 2, 3}, {60, 60, 60, 60}, \"slices\")", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> SegmentBuiltins() { return kSegmentBuiltins; }

}  // namespace quorvix
