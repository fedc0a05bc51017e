// Short-time spectra and tracking: stft (a spectral map of overlapping
// segments), vtdft (the tracked transform at chosen levels), storder (order
// tracks over the angle-domain record) and stfreq (frequency from level
// crossings).
//
// Errors about the call and its first argument are reported at the opening
// parenthesis, every later one at a comma. Arguments are read in place; each
// result is a new record.
#include <strings.h>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "numerics/radix2.h"
#include "numerics/revolutions.h"
#include "numerics/segment_spectrum.h"
#include "numerics/window_function.h"
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
using numerics::SpectrumScaling;

constexpr char kWindowTooLong[] = "Window size must not be greater than number of data points";

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

// The index in `names` of the keyword in argument `position` (any case);
// -1 after reporting an unknown one.
int Keyword(const Args& args, int position, std::span<const char* const> names) {
  const char* text = builtins::FirstString(*args.Peek(position - 1));
  for (std::size_t i = 0; i < names.size(); ++i)
    if (strcasecmp(text, names[i]) == 0) return static_cast<int>(i);
  const std::string message =
      "invalid keyword \"" + std::string(text) + "\" for argument " + std::to_string(position);
  Report(message.c_str(), At(position));
  return -1;
}

constexpr const char* kWindowNames[] = {"none",  "hanning", "hamming",
                                        "parzen", "welch",  "blackman_harris"};
constexpr const char* kScalingNames[] = {"peak", "rms", "power"};
enum Selector { kSlices, kTime, kResponse, kRevolutions, kFrequency };
constexpr const char* kSelectorNames[] = {"slices", "time", "response", "revolutions",
                                          "frequency"};
constexpr const char* kTrackNames[] = {"order", "frequency"};

// The coefficients of window `kind` (an index of kWindowNames) for n points.
std::vector<double> WindowOf(int kind, std::int32_t n) {
  std::vector<double> w(static_cast<std::size_t>(n), 1.0);
  std::unique_ptr<numerics::WindowFunction> f;
  if (kind == 1) f = std::make_unique<numerics::Hanning>(n);
  if (kind == 2) f = std::make_unique<numerics::Hamming>(n);
  if (kind == 3) f = std::make_unique<numerics::Parzen>(n);
  if (kind == 4) f = std::make_unique<numerics::Welch>(n);
  if (kind == 5) f = std::make_unique<numerics::Blackman_Harris>(n);
  if (f != nullptr) std::copy(f->coefficients().begin(), f->coefficients().end(), w.begin());
  return w;
}

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
    Report(kWindowTooLong, ErrorAt::kComma);
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

// Linear interpolation of c (sampled at rising t) at tau, clamped to the
// ends.
double ValueAt(std::span<const double> t, std::span<const double> c, double tau) {
  const std::size_t n = t.size();
  if (!(tau > t[0])) return c[0];
  if (!(tau < t[n - 1])) return c[n - 1];
  const std::size_t i =
      static_cast<std::size_t>(std::upper_bound(t.begin(), t.end(), tau) - t.begin()) - 1;
  const double span = t[i + 1] - t[i];
  return span > 0.0 ? c[i] + (tau - t[i]) / span * (c[i + 1] - c[i]) : c[i];
}

// The start of the n-sample segment centred on the sample nearest tau
// (lower index on a tie), shifted inside a record of `total` samples.
std::size_t PlaceSegment(std::span<const double> t, double tau, std::size_t n) {
  const std::size_t total = t.size();
  std::size_t c = static_cast<std::size_t>(std::upper_bound(t.begin(), t.end(), tau) - t.begin());
  c = c == 0 ? 0 : c - 1;
  if (c + 1 < total && t[c + 1] - tau < tau - t[c]) ++c;
  const std::size_t half = n / 2;
  return std::min(c > half ? c - half : 0, total - n);
}

symtab* Stft(sym_list* list) {
  Args args(list);
  if (!CheckKinds(args, "vvvswww") || !SameCounts(args, {0, 1, 2})) return nullptr;
  std::span<const double> t = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<const double> rpm = NumericElements(*args.Peek(2));
  const int window = Keyword(args, 5, kWindowNames);
  const int scaling = window < 0 ? -1 : Keyword(args, 6, kScalingNames);
  const int selector = scaling < 0 ? -1 : Keyword(args, 7, kSelectorNames);
  std::size_t size = 0;
  if (selector < 0 || !SegmentLength(*args.Peek(3), y.size(), &size)) return nullptr;
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t n = y.size();
  const std::size_t hop = std::max<std::size_t>(1, size / 2);
  const std::size_t segments = (n - size) / hop + 1;
  const std::size_t m = numerics::Radix2Length(size);
  if (m == 0) return args.Fail(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
  const std::size_t lines = m / 2 + 1;

  if (selector == kFrequency) {
    OwnedRecord axis(NewMatrix(1, lines));
    if (axis == nullptr) return nullptr;
    for (std::size_t k = 0; k < lines; ++k)
      axis->data[k] = static_cast<double>(k) / (static_cast<double>(m) * dt);
    return args.Release(axis.release());
  }
  if (selector != kSlices) {
    std::unique_ptr<numerics::Revolutions> rev;
    if (selector == kRevolutions) {
      rev = std::make_unique<numerics::Revolutions>(t.data(), rpm.data(), n);
      if (!rev->Valid()) return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
    }
    OwnedRecord column(NewMatrix(segments, 1));
    if (column == nullptr) return nullptr;
    for (std::size_t k = 0; k < segments; ++k) {
      const double centre = (t[k * hop] + t[k * hop + size - 1]) / 2.0;
      column->data[k] = selector == kTime       ? centre
                        : selector == kResponse ? ValueAt(t, rpm, centre)
                                                : rev->At(centre);
    }
    return args.Release(column.release());
  }

  OwnedRecord map(NewMatrix(segments, lines));
  if (map == nullptr) return nullptr;
  const std::vector<double> w = WindowOf(window, static_cast<std::int32_t>(size));
  const numerics::Radix2Scratch work = numerics::ScratchArrays(m);
  std::vector<double> product(size);
  if (work.im == nullptr) return args.Fail(builtins::kOutOfMemory);
  for (std::size_t k = 0; k < segments; ++k) {
    if ((k & 0x3F) == 0) RunBudget::CheckTime();
    numerics::SegmentSpectrum(y.data() + k * hop, w.data(), size, m,
                              static_cast<SpectrumScaling>(scaling), product.data(), work.re,
                              work.im, map->data + k * lines);
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
      if (j + 1 >= mid.size() || mid[j] > tau || mid[j + 1] < tau)
        j = static_cast<std::size_t>(std::upper_bound(mid.begin(), mid.end(), tau) - mid.begin()) -
            1;
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
  static constexpr const char* kLevelNames[] = {"time", "response", "revolutions"};
  const int window = Keyword(args, 7, kWindowNames);
  const int track_kind = window < 0 ? -1 : Keyword(args, 8, kTrackNames);
  const int level_kind = track_kind < 0 ? -1 : Keyword(args, 9, kLevelNames);
  const int scaling = level_kind < 0 ? -1 : Keyword(args, 10, kScalingNames);
  std::size_t size = 0;
  if (scaling < 0 || !SegmentLength(*args.Peek(3), y.size(), &size)) return nullptr;
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t n = y.size();
  numerics::Revolutions rev(t.data(), rpm.data(), n);
  if (level_kind == 2 && !rev.Valid())
    return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
  OwnedRecord result(NewMatrix(levels.size(), tracks.size()));
  if (result == nullptr) return nullptr;
  const std::vector<double> w = WindowOf(window, static_cast<std::int32_t>(size));
  const std::size_t cols = tracks.size();
  for (std::size_t r = 0; r < levels.size(); ++r) {
    RunBudget::CheckTime();
    const double level = levels[r];
    double tau = 0.0;
    bool triggered = false;
    if (level_kind == 0) {
      tau = level;
      triggered = level >= t[0] && level <= t[n - 1];
    } else if (level_kind == 1) {
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
    const std::size_t s0 = PlaceSegment(t, tau, size);
    const double speed = track_kind == 0 ? ValueAt(t, rpm, tau) / 60.0 : 1.0;
    for (std::size_t j = 0; j < cols; ++j)
      row[j] = numerics::SingleLine(y.data() + s0, w.data(), size, tracks[j] * speed * dt,
                                    static_cast<SpectrumScaling>(scaling));
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
  const int window = Keyword(args, 6, kWindowNames);
  if (window < 0) return nullptr;
  const double dt = MeanStep(t);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t n = y.size();
  numerics::Revolutions rev(t.data(), rpm.data(), n);
  if (!rev.Valid())
    return args.Fail(builtins::kValueOutOfRange, ErrorAt::kComma);
  const int spr = numerics::SamplesPerRevolution(dt, *std::max_element(rpm.begin(), rpm.end()));
  const double count = numerics::AngleSampleCount(rev.total(), spr);
  if (!(count <= static_cast<double>(ElementLimit())))
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
  const std::vector<double> w = WindowOf(window, static_cast<std::int32_t>(size));
  for (std::size_t k = 0; k < segments; ++k) {
    if ((k & 0x3F) == 0) RunBudget::CheckTime();
    const std::size_t s0 = k * hop;
    double* row = result->data + k * cols;
    row[0] = rev.TimeAt((static_cast<double>(s0) + static_cast<double>(size - 1) / 2.0) / spr);
    row[1] = ValueAt(t, rpm, row[0]);
    for (std::size_t j = 0; j < orders.size(); ++j)
      row[2 + j] = numerics::SingleLine(ya + s0, w.data(), size, orders[j] / spr,
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
     "order tracks of half-overlapping angle-domain segments: rows of time, rpm and the "
     "amplitude of each order",
     "storder({0, 0.5, 1}, {0, 1, 4}, {60, 60, 60}, {1}, 2, \"none\")", true},
    {"vtdft", Vtdft, 10, kNone, nullptr,
     "vtdft(t, y, rpm, size, tracks, levels, window, trackkind, levelkind, scaling)",
     "single-line amplitudes of the segment placed at each level, one column per track",
     "vtdft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, {0}, {1}, \"none\", \"frequency\", "
     "\"time\", \"peak\")", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ShortTimeBuiltins() { return kShortTimeBuiltins; }

}  // namespace quorvix
