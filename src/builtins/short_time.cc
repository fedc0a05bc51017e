// Short-time spectra and tracking: stft (a spectral map of overlapping
// segments), vtdft (the tracked transform at chosen levels), storder (order
// tracks over the angle-domain record) and stfreq (frequency from level
// crossings).
//
// Errors about the call and its first argument are reported at the opening
// parenthesis, every later one at a comma. Arguments are read in place; each
// result is a new record.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/signal_keywords.h"
#include "builtins/spectral_support.h"
#include "numerics/level_sequence.h"
#include "numerics/radix2.h"
#include "numerics/revolutions.h"
#include "numerics/segment_abscissa.h"
#include "numerics/segment_placement.h"
#include "numerics/segment_spectrum.h"
#include "quorvix/math_parser.h"
#include "util/run_budget.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::ErrorAt;
using builtins::MustBe;
using builtins::NumericElements;
using builtins::OwnedRecord;
using builtins::Report;
using builtins::Selector;
using builtins::SelectorBit;
using numerics::SpectrumScaling;

// Where an error about argument `position` (1-based) is reported.
ErrorAt At(int position) { return position <= 1 ? ErrorAt::kCall : ErrorAt::kComma; }

// `kinds` spells the kinds in order: v vector, s scalar, w string. False
// after reporting the count or the first bad kind.
bool CheckKinds(const Args& args, const char* kinds) {
  const int count = static_cast<int>(std::char_traits<char>::length(kinds));
  if (!args.HasCount(count)) return false;
  for (int i = 0; i < count; ++i) {
    const int position = i + 1;
    bool ok = false;
    if (kinds[i] == 'v')
      ok = args.Check(i, builtins::IsVectorArg, ArgumentMustBe(position, MustBe::kVector),
                      At(position));
    else if (kinds[i] == 's')
      ok = args.Check(i, builtins::IsScalarArg, ArgumentMustBe(position, MustBe::kScalar),
                      At(position));
    else
      ok = args.Check(
          i, [](const symtab& v) { return v.IsString() != 0; },
          ArgumentMustBe(position, MustBe::kString), At(position));
    if (!ok) return false;
  }
  return true;
}

// Arguments 3 to 6 of the rpm-stepped functions: size, step, t, rpm.
bool CheckKinds3To6(const Args& args) {
  return args.Check(2, builtins::IsScalarArg, ArgumentMustBe(3, MustBe::kScalar),
                    ErrorAt::kComma) &&
         args.Check(3, builtins::IsScalarArg, ArgumentMustBe(4, MustBe::kScalar),
                    ErrorAt::kComma) &&
         args.Check(4, builtins::IsVectorArg, ArgumentMustBe(5, MustBe::kVector),
                    ErrorAt::kComma) &&
         args.Check(5, builtins::IsVectorArg, ArgumentMustBe(6, MustBe::kVector), ErrorAt::kComma);
}

// The scaling of a segment spectrum for a scaling keyword.
SpectrumScaling ToScaling(builtins::Scaling s) { return static_cast<SpectrumScaling>(s); }

double MeanStep(std::span<const double> t) {
  if (t.size() < 2) return 0.0;
  return (t.back() - t.front()) / static_cast<double>(t.size() - 1);
}

bool SameCounts(const Args& args, std::initializer_list<int> slots) {
  for (int i : slots)
    if (builtins::CountOf(*args.Peek(i)) != builtins::CountOf(*args.Peek(*slots.begin()))) {
      Report(builtins::kSameNumberOfPointsShort, ErrorAt::kComma);
      return false;
    }
  return true;
}

// The segment length from a size argument: 1 .. n, else false after
// reporting.
bool SegmentLength(const symtab& size, std::size_t n, std::size_t* out) {
  const long long count = builtins::TruncateToInteger(builtins::ScalarOf(size));
  if (count < 1) {
    Report(builtins::kSizeNotPositive, ErrorAt::kComma);
    return false;
  }
  if (static_cast<unsigned long long>(count) > n) {
    Report(builtins::kWindowTooLong, ErrorAt::kComma);
    return false;
  }
  *out = static_cast<std::size_t>(count);
  return true;
}

// A new rows x cols matrix, or null after reporting that it is too large.
symtab* NewMatrix(std::size_t rows, std::size_t cols) {
  if (!ElementCountFits(static_cast<long long>(rows), static_cast<long long>(cols)) ||
      rows > static_cast<std::size_t>(ElementLimit()) ||
      cols > static_cast<std::size_t>(ElementLimit())) {
    Report(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
    return nullptr;
  }
  symtab* v = new symtab;
  v->SetArray(static_cast<int>(rows), static_cast<int>(cols));
  return v;
}

// The speed channel at tau, held at the ends.
double SpeedAt(std::span<const double> t, std::span<const double> rpm, double tau) {
  return numerics::SpeedAt(t.data(), rpm.data(), t.size(), tau);
}

symtab* Stft(sym_list* list) {
  Args args(list);
  if (!CheckKinds(args, "vvvswww") || !SameCounts(args, {0, 1, 2})) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<const double> rpm = NumericElements(*args.Peek(2));
  builtins::WindowKind window;
  builtins::Scaling scaling;
  Selector selector;
  std::size_t size = 0;
  if (!builtins::ReadWindow(args, 4, ErrorAt::kComma, &window) ||
      !builtins::ReadScaling(args, 5, ErrorAt::kComma, &scaling) ||
      !builtins::ReadSelector(args, 6,
                              builtins::kSegmentSelectors | SelectorBit(Selector::kFrequency),
                              ErrorAt::kComma, &selector) ||
      !SegmentLength(*args.Peek(3), y.size(), &size))
    return nullptr;
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t n = y.size();
  const std::size_t hop = std::max<std::size_t>(1, size / 2);
  const std::size_t segments = (n - size) / hop + 1;
  const std::size_t m = numerics::Radix2Length(size);
  if (m == 0) return args.Fail(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
  const std::size_t lines = m / 2 + 1;

  if (selector == Selector::kFrequency) {
    OwnedRecord axis(NewMatrix(1, lines));
    if (axis == nullptr) return nullptr;
    for (std::size_t k = 0; k < lines; ++k)
      axis->data[k] = static_cast<double>(k) / (static_cast<double>(m) * dt);
    return args.Release(axis.release());
  }
  if (selector != Selector::kSlices) {
    std::unique_ptr<numerics::Revolutions> rev;
    if (selector == Selector::kRevolutions) {
      rev = std::make_unique<numerics::Revolutions>(t.data(), rpm.data(), n);
      if (!rev->Valid()) return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
    }
    OwnedRecord column(NewMatrix(segments, 1));
    if (column == nullptr) return nullptr;
    for (std::size_t k = 0; k < segments; ++k) {
      const double centre = (t[k * hop] + t[k * hop + size - 1]) / 2.0;
      column->data[k] = selector == Selector::kTime       ? centre
                        : selector == Selector::kResponse ? SpeedAt(t, rpm, centre)
                                                          : rev->At(centre);
    }
    return args.Release(column.release());
  }

  OwnedRecord map(NewMatrix(segments, lines));
  if (map == nullptr) return nullptr;
  const std::vector<double> w =
      builtins::WindowCoefficients(window, static_cast<std::int32_t>(size));
  const numerics::Radix2Scratch work = numerics::ScratchArrays(m);
  std::vector<double> product(size);
  if (work.im == nullptr) return args.Fail(builtins::kOutOfMemory);
  for (std::size_t k = 0; k < segments; ++k) {
    if ((k & 0x3F) == 0) RunBudget::CheckTime();
    numerics::SegmentSpectrum(y.data() + k * hop, w.data(), size, m, ToScaling(scaling),
                              product.data(), work.re, work.im, map->data + k * lines);
  }
  return args.Release(map.release());
}

symtab* Stfreq(sym_list* list) {
  Args args(list);
  if (!CheckKinds(args, "vvs") || !SameCounts(args, {0, 1})) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  const double level = builtins::ScalarOf(*args.Peek(2));
  const std::size_t n = y.size();
  OwnedRecord out(builtins::NewVectorLike(*args.Peek(1), n));
  std::fill(out->data, out->data + n, 0.0);
  // The rising crossings, then one frequency per period at its midpoint.
  std::vector<double> crossings;
  for (std::size_t i = 0; i + 1 < n; ++i)
    if (y[i] < level && level <= y[i + 1])
      crossings.push_back(t[i] + (level - y[i]) / (y[i + 1] - y[i]) * (t[i + 1] - t[i]));
  if (crossings.size() < 2) return args.Release(out.release());
  std::vector<double> mid(crossings.size() - 1), freq(crossings.size() - 1);
  for (std::size_t j = 0; j < mid.size(); ++j) {
    mid[j] = (crossings[j] + crossings[j + 1]) / 2.0;
    freq[j] = 1.0 / (crossings[j + 1] - crossings[j]);
  }
  std::size_t j = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if ((i & 0xFFFF) == 0) RunBudget::CheckTime();
    const double tau = t[i];
    if (!(tau > mid.front())) {
      out->data[i] = freq.front();
    } else if (!(tau < mid.back())) {
      out->data[i] = freq.back();
    } else {
      // Rising t walks forward; otherwise search.
      // A t that does not rise leaves the midpoints unordered: the search
      // may then land anywhere, but stays inside them.
      if (j + 1 >= mid.size() || mid[j] > tau || mid[j + 1] < tau) {
        const auto at = std::upper_bound(mid.begin(), mid.end(), tau) - mid.begin();
        j = std::clamp<std::size_t>(static_cast<std::size_t>(std::max<long>(at, 1)) - 1, 0,
                                    mid.size() - 2);
      }
      out->data[i] = freq[j] + (tau - mid[j]) / (mid[j + 1] - mid[j]) * (freq[j + 1] - freq[j]);
    }
  }
  return args.Release(out.release());
}

symtab* Vtdft(sym_list* list) {
  Args args(list);
  if (!CheckKinds(args, "vvvsvvwwww") || !SameCounts(args, {0, 1, 2})) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<const double> rpm = NumericElements(*args.Peek(2));
  std::span<const double> tracks = NumericElements(*args.Peek(4));
  std::span<const double> levels = NumericElements(*args.Peek(5));
  builtins::WindowKind window;
  builtins::TrackKind track_kind;
  Selector level_kind;
  builtins::Scaling scaling;
  std::size_t size = 0;
  if (!builtins::ReadWindow(args, 6, ErrorAt::kComma, &window) ||
      !builtins::ReadTrackKind(args, 7, ErrorAt::kComma, &track_kind) ||
      !builtins::ReadSelector(args, 8,
                              builtins::kSegmentSelectors & ~SelectorBit(Selector::kSlices),
                              ErrorAt::kComma, &level_kind) ||
      !builtins::ReadScaling(args, 9, ErrorAt::kComma, &scaling) ||
      !SegmentLength(*args.Peek(3), y.size(), &size))
    return nullptr;
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t n = y.size();
  numerics::Revolutions rev(t.data(), rpm.data(), n);
  if (level_kind == Selector::kRevolutions && !rev.Valid())
    return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
  OwnedRecord result(NewMatrix(levels.size(), tracks.size()));
  if (result == nullptr) return nullptr;
  const std::vector<double> w =
      builtins::WindowCoefficients(window, static_cast<std::int32_t>(size));
  const std::size_t cols = tracks.size();
  for (std::size_t r = 0; r < levels.size(); ++r) {
    RunBudget::CheckTime();
    const double level = levels[r];
    double tau = 0.0;
    bool triggered = false;
    if (level_kind == Selector::kTime) {
      tau = level;
      triggered = level >= t[0] && level <= t[n - 1];
    } else if (level_kind == Selector::kResponse) {
      numerics::Crossing c;
      triggered = numerics::FirstCrossing(t.data(), rpm.data(), n, level, 0, &c);
      tau = c.time;
    } else {
      triggered = level >= 0.0 && level <= rev.total();
      if (triggered) tau = rev.TimeAt(level);
    }
    double* row = result->data + r * cols;
    if (!triggered) {
      std::fill(row, row + cols, std::nan(""));
      continue;
    }
    const std::size_t s0 = numerics::SegmentStart(
        static_cast<long long>(numerics::NearestSample(t.data(), n, tau)), size, n);
    const double speed =
        track_kind == builtins::TrackKind::kOrder ? SpeedAt(t, rpm, tau) / 60.0 : 1.0;
    for (std::size_t j = 0; j < cols; ++j)
      row[j] = numerics::SingleLine(y.data() + s0, w.data(), size, tracks[j] * speed * dt,
                                    ToScaling(scaling));
  }
  return args.Release(result.release());
}

symtab* Storder(sym_list* list) {
  Args args(list);
  if (!CheckKinds(args, "vvvvsw") || !SameCounts(args, {0, 1, 2})) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<const double> rpm = NumericElements(*args.Peek(2));
  std::span<const double> orders = NumericElements(*args.Peek(3));
  builtins::WindowKind window;
  if (!builtins::ReadWindow(args, 5, ErrorAt::kComma, &window)) return nullptr;
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t n = y.size();
  numerics::Revolutions rev(t.data(), rpm.data(), n);
  if (!rev.Valid()) return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
  const int spr = numerics::SamplesPerRevolution(dt, *std::max_element(rpm.begin(), rpm.end()));
  const double count = numerics::AngleSampleCount(rev.total(), spr);
  if (!(3.0 * count <= static_cast<double>(ElementLimit())))
    return args.Fail(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
  const std::size_t m = static_cast<std::size_t>(count);
  std::size_t size = 0;
  if (!SegmentLength(*args.Peek(4), m, &size)) return nullptr;
  std::vector<double> angle(3 * m);
  numerics::AngleResample(rev, t.data(), y.data(), n, spr, m, angle.data(), angle.data() + m,
                          angle.data() + 2 * m);
  const double* ya = angle.data() + 2 * m;
  const std::size_t hop = std::max<std::size_t>(1, size / 2);
  const std::size_t segments = (m - size) / hop + 1;
  const std::size_t cols = orders.size() + 2;
  OwnedRecord result(NewMatrix(segments, cols));
  if (result == nullptr) return nullptr;
  const std::vector<double> w =
      builtins::WindowCoefficients(window, static_cast<std::int32_t>(size));
  for (std::size_t k = 0; k < segments; ++k) {
    if ((k & 0x3F) == 0) RunBudget::CheckTime();
    const std::size_t s0 = k * hop;
    double* row = result->data + k * cols;
    const numerics::SegmentAbscissa centre =
        numerics::AngleSegmentCentre(rev, t.data(), rpm.data(), n, spr, s0, size);
    row[0] = centre.time;
    row[1] = centre.rpm;
    for (std::size_t j = 0; j < orders.size(); ++j)
      row[2 + j] =
          numerics::SingleLine(ya + s0, w.data(), size, orders[j] / spr, SpectrumScaling::kPeak);
  }
  return args.Release(result.release());
}

// The triggers of the speed levels for `step`, in level order, as the
// rpm-stepped segments place them: the first-crossing time of each level,
// a last level within the slack of the extreme standing at the extreme.
// False after reporting a zero or non-finite step. rpm is a valid speed
// channel.
bool StepTriggers(std::span<const double> t, std::span<const double> rpm, double step,
                  std::vector<double>* times) {
  if (!std::isfinite(step) || step == 0.0) {
    Report(builtins::kValueOutOfRange, ErrorAt::kComma);
    return false;
  }
  const auto [lo, hi] = std::minmax_element(rpm.begin(), rpm.end());
  const numerics::LevelSequence levels = numerics::StepLevels(rpm[0], *lo, *hi, step);
  if (!(levels.count <= static_cast<double>(ElementLimit()))) {
    Report(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
    return false;
  }
  const std::size_t extreme = static_cast<std::size_t>((step > 0.0 ? hi : lo) - rpm.begin());
  std::size_t from = 0;
  for (double j = 0; j < levels.count; ++j) {
    if ((times->size() & 0xFFF) == 0) RunBudget::CheckTime();
    numerics::Crossing c;
    // Levels rise (or fall) away from the first sample, so each is first
    // reached after the one before it.
    if (!numerics::FirstCrossing(t.data(), rpm.data(), t.size(), levels.At(j), from, &c))
      c = {t[extreme], extreme, 0.0};
    from = c.index;
    times->push_back(c.time);
  }
  return true;
}

// The tracked lines of vtfreq or vtorder: a scalar or a vector, read from
// slot 6.
bool TrackList(const Args& args) {
  return args.Check(
      6, [](const symtab& v) { return v.IsScalar() != 0 || v.IsVector() != 0; },
      ArgumentMustBe(7, MustBe::kVector), ErrorAt::kComma);
}

// vtfreq and vtorder share their arguments: y, window, size, step, t, rpm
// and the tracks.
template <bool kAngle>
symtab* StepTracks(sym_list* list) {
  Args args(list);
  if (!args.HasCount(7) ||
      !args.Check(0, builtins::IsVectorArg, ArgumentMustBe(1, MustBe::kVector)))
    return nullptr;
  builtins::WindowKind window;
  if (!builtins::ReadWindow(args, 1, ErrorAt::kComma, &window) || !CheckKinds3To6(args) ||
      !TrackList(args) || !SameCounts(args, {0, 4, 5}))
    return nullptr;
  std::span<const double> y = NumericElements(*args.Peek(0));
  std::span<const double> t = NumericElements(*args.Peek(4));
  std::span<const double> rpm = NumericElements(*args.Peek(5));
  std::span<const double> tracks = NumericElements(*args.Peek(6));
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero, ErrorAt::kComma);
  const std::size_t n = y.size();
  std::vector<double> angle;
  const double* signal = y.data();
  std::size_t samples = n;
  int spr = 0;
  numerics::Revolutions rev(t.data(), rpm.data(), n);
  if (!rev.Valid()) return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
  if (kAngle) {
    spr = numerics::SamplesPerRevolution(dt, *std::max_element(rpm.begin(), rpm.end()));
    const double count = numerics::AngleSampleCount(rev.total(), spr);
    if (!(3.0 * count <= static_cast<double>(ElementLimit())))
      return args.Fail(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
    samples = static_cast<std::size_t>(count);
  }
  std::size_t size = 0;
  std::vector<double> triggers;
  if (!SegmentLength(*args.Peek(2), samples, &size) ||
      !StepTriggers(t, rpm, builtins::ScalarOf(*args.Peek(3)), &triggers))
    return nullptr;
  OwnedRecord result(NewMatrix(triggers.size(), tracks.size()));
  if (result == nullptr) return nullptr;
  if (kAngle) {
    angle.resize(3 * samples);
    numerics::AngleResample(rev, t.data(), y.data(), n, spr, samples, angle.data(),
                            angle.data() + samples, angle.data() + 2 * samples);
    signal = angle.data() + 2 * samples;
  }
  const std::vector<double> w =
      builtins::WindowCoefficients(window, static_cast<std::int32_t>(size));
  const double per_sample = kAngle ? 1.0 / spr : dt;
  for (std::size_t k = 0; k < triggers.size(); ++k) {
    if ((k & 0x3F) == 0) RunBudget::CheckTime();
    const long long centre =
        kAngle ? numerics::AngleCentre(rev.At(triggers[k]), spr)
               : static_cast<long long>(numerics::NearestSample(t.data(), n, triggers[k]));
    const std::size_t s0 = numerics::SegmentStart(centre, size, samples);
    double* row = result->data + k * tracks.size();
    for (std::size_t j = 0; j < tracks.size(); ++j)
      row[j] = numerics::SingleLine(signal + s0, w.data(), size, tracks[j] * per_sample,
                                    SpectrumScaling::kPeak);
  }
  return args.Release(result.release());
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kShortTimeBuiltins[] = {
    {"stfreq", Stfreq, 3, kNone, nullptr,
     "stfreq(t, y, level)",
     "frequency from the rising crossings of level, one per period, interpolated at every t",
     "stfreq({0, 1, 2, 3, 4, 5}, {0, 1, 0, 1, 0, 1}, 0.5)", true},
    {"stft", Stft, 7, kNone, nullptr,
     "stft(t, y, rpm, size, window, scaling, output)",
     "short-time amplitude spectra of half-overlapping segments: the map (\"slices\"), its "
     "\"frequency\" row or a per-segment \"time\", \"response\" or \"revolutions\" column",
     "stft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, \"none\", \"peak\", \"slices\")", true},
    {"storder", Storder, 6, kNone, nullptr,
     "storder(t, y, rpm, orders, size, window)",
     "order tracks, one row per half-overlapping angle-domain segment: its centre time, the "
     "rpm there and the amplitude of each order",
     "storder({0, 0.5, 1}, {0, 1, 4}, {60, 60, 60}, {1}, 2, \"none\")", true},
    {"vtdft", Vtdft, 10, kNone, nullptr,
     "vtdft(t, y, rpm, size, tracks, levels, window, trackkind, levelkind, scaling)",
     "single-line amplitudes of the segment placed at each level, one column per track",
     "vtdft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, {0}, {1}, \"none\", \"frequency\", "
     "\"time\", \"peak\")", true},
    {"vtfreq", StepTracks<false>, 7, kNone, nullptr,
     "vtfreq(y, window, size, step, t, rpm, freqs)",
     "single-line amplitudes of each frequency in the segments placed at every step of rpm",
     "vtfreq({0, 1, 0, -1, 0, 1}, \"none\", 4, 10, {0, 1, 2, 3, 4, 5}, {10, 20, 30, 40, 50, 60}, "
     "0.25)", true},
    {"vtorder", StepTracks<true>, 7, kNone, nullptr,
     "vtorder(y, window, size, step, t, rpm, orders)",
     "single-line amplitudes of each order in angle-domain segments placed at every step of rpm",
     "vtorder({0, 1, 4}, \"none\", 2, 30, {0, 0.5, 1}, {60, 90, 120}, 1)", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ShortTimeBuiltins() { return kShortTimeBuiltins; }

}  // namespace quorvix
