// Keywords of the signal families (resampling, segmentation, tracking):
// window names, output selectors, track kinds and scalings. Keywords match
// without regard to case; an unknown keyword, or a known one not allowed in
// its place, reports `invalid keyword "<text>" for argument N`.
#ifndef QUORVIX_BUILTINS_SIGNAL_KEYWORDS_H
#define QUORVIX_BUILTINS_SIGNAL_KEYWORDS_H

#include <cstdint>
#include <vector>

#include "builtins/builtin_support.h"

namespace quorvix::builtins {

enum class WindowKind { kNone, kHanning, kHamming, kParzen, kWelch, kBlackmanHarris };
enum class Selector { kSlices, kTime, kResponse, kRevolutions, kFrequency, kOrder };
enum class TrackKind { kOrder, kFrequency };
enum class Scaling { kPeak, kRms, kPower };

// The selectors a function accepts, as a bit set of 1 << Selector.
using SelectorSet = unsigned;
constexpr SelectorSet SelectorBit(Selector s) { return 1u << static_cast<unsigned>(s); }
inline constexpr SelectorSet kSegmentSelectors =
    SelectorBit(Selector::kSlices) | SelectorBit(Selector::kTime) |
    SelectorBit(Selector::kResponse) | SelectorBit(Selector::kRevolutions);
inline constexpr SelectorSet kMapSelectors =
    kSegmentSelectors | SelectorBit(Selector::kFrequency) | SelectorBit(Selector::kOrder);

// Each reader checks that slot `slot` holds a string ("Argument N must be
// string", N = slot + 1), then the word; false after reporting at `at`.
bool ReadWindow(const Args& args, int slot, ErrorAt at, WindowKind* out);
bool ReadSelector(const Args& args, int slot, SelectorSet allowed, ErrorAt at, Selector* out);
bool ReadTrackKind(const Args& args, int slot, ErrorAt at, TrackKind* out);
bool ReadScaling(const Args& args, int slot, ErrorAt at, Scaling* out);
// The one keyword `word` (a function that takes a fixed keyword).
bool ReadFixedKeyword(const Args& args, int slot, const char* word, ErrorAt at);

// The n coefficients of a window, single-precision values as doubles; "none"
// is all ones. Applied by plain multiplication. n >= 1.
std::vector<double> WindowCoefficients(WindowKind kind, std::int32_t n);

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_SIGNAL_KEYWORDS_H
