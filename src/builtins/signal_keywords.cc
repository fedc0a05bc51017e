#include "builtins/signal_keywords.h"

#include <strings.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "numerics/window_function.h"

namespace quorvix::builtins {
namespace {

constexpr std::array<std::string_view, 6> kWindowWords = {"none",   "hanning", "hamming",
                                                          "parzen", "welch",   "blackman_harris"};
constexpr std::array<std::string_view, 6> kSelectorWords = {"slices",      "time",      "response",
                                                            "revolutions", "frequency", "order"};
constexpr std::array<std::string_view, 2> kTrackWords = {"order", "frequency"};
constexpr std::array<std::string_view, 3> kScalingWords = {"peak", "rms", "power"};

bool IsStringArg(const symtab& v) { return v.IsString() != 0 && HasString(v); }

void ReportKeyword(const char* text, int slot, ErrorAt at) {
  const std::string message =
      "invalid keyword \"" + std::string(text) + "\" for argument " + std::to_string(slot + 1);
  Report(message.c_str(), at);
}

// The index in `words` of the string in slot `slot` when `allowed` has its
// bit; -1 after reporting otherwise.
template <std::size_t N>
int ReadWord(const Args& args, int slot, const std::array<std::string_view, N>& words,
             unsigned allowed, ErrorAt at) {
  if (!args.Check(slot, IsStringArg, ArgumentMustBe(slot + 1, MustBe::kString), at)) return -1;
  const char* text = FirstString(*args.Peek(slot));
  for (std::size_t i = 0; i < N; ++i)
    if ((allowed >> i & 1u) != 0 && words[i].size() == std::string_view(text).size() &&
        strncasecmp(text, words[i].data(), words[i].size()) == 0)
      return static_cast<int>(i);
  ReportKeyword(text, slot, at);
  return -1;
}

}  // namespace

bool ReadWindow(const Args& args, int slot, ErrorAt at, WindowKind* out) {
  const int i = ReadWord(args, slot, kWindowWords, ~0u, at);
  if (i >= 0) *out = static_cast<WindowKind>(i);
  return i >= 0;
}

bool ReadSelector(const Args& args, int slot, SelectorSet allowed, ErrorAt at, Selector* out) {
  const int i = ReadWord(args, slot, kSelectorWords, allowed, at);
  if (i >= 0) *out = static_cast<Selector>(i);
  return i >= 0;
}

bool ReadTrackKind(const Args& args, int slot, ErrorAt at, TrackKind* out) {
  const int i = ReadWord(args, slot, kTrackWords, ~0u, at);
  if (i >= 0) *out = static_cast<TrackKind>(i);
  return i >= 0;
}

bool ReadScaling(const Args& args, int slot, ErrorAt at, Scaling* out) {
  const int i = ReadWord(args, slot, kScalingWords, ~0u, at);
  if (i >= 0) *out = static_cast<Scaling>(i);
  return i >= 0;
}

bool ReadFixedKeyword(const Args& args, int slot, const char* word, ErrorAt at) {
  const std::array<std::string_view, 1> words = {word};
  return ReadWord(args, slot, words, ~0u, at) == 0;
}

std::vector<double> WindowCoefficients(WindowKind kind, std::int32_t n) {
  std::unique_ptr<numerics::WindowFunction> w;
  switch (kind) {
    case WindowKind::kNone:
      return std::vector<double>(static_cast<std::size_t>(n), 1.0);
    case WindowKind::kHanning:
      w = std::make_unique<numerics::Hanning>(n);
      break;
    case WindowKind::kHamming:
      w = std::make_unique<numerics::Hamming>(n);
      break;
    case WindowKind::kParzen:
      w = std::make_unique<numerics::Parzen>(n);
      break;
    case WindowKind::kWelch:
      w = std::make_unique<numerics::Welch>(n);
      break;
    case WindowKind::kBlackmanHarris:
      w = std::make_unique<numerics::Blackman_Harris>(n);
      break;
  }
  const auto c = w->coefficients();
  return std::vector<double>(c.begin(), c.end());
}

}  // namespace quorvix::builtins
