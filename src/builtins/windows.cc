// Data windows applied to a vector in place: the weighted mean removed, the
// window applied and the power restored (numerics/window_function.h).
#include <algorithm>
#include <cstdint>
#include <span>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "numerics/window_function.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::IsVectorArg;

// Windows x (taken, so a variable's array is copied) with W and returns it.
template <class W, class... Parameters>
symtab* Windowed(Args& args, Parameters... parameters) {
  symtab* x = args.Take(0);
  const auto n = static_cast<std::int32_t>(x->NumElements());
  W window(n, parameters...);
  const std::span<const double> out = window.Apply(x->data);
  std::copy(out.begin(), out.end(), x->data);
  return args.Release(x);
}

template <class W>
symtab* Window(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, IsVectorArg, builtins::kInvalidArgType)) return nullptr;
  return Windowed<W>(args);
}

symtab* Kaiser(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2) || !args.Check(0, IsVectorArg, builtins::kInvalidArgType) ||
      !args.Check(1, builtins::IsScalarArg, builtins::ArgumentMustBe(2, builtins::MustBe::kScalar)))
    return nullptr;
  return Windowed<numerics::Kaiser_Bessel>(args, builtins::ScalarOf(*args.Peek(1)));
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kWindowBuiltins[] = {
    {"blackman", Window<numerics::Blackman_Harris>, 1, kNone, nullptr,
     "blackman(x)", "x windowed with 0.42 - 0.5 cos(2 pi i/N) + 0.08 cos(4 pi i/N), weighted mean "
     "removed, power restored", "blackman({1, 2, 3, 4})", true},
    {"hamming",  Window<numerics::Hamming>,         1, kNone, nullptr,
     "hamming(x)", "x windowed with 0.54 - 0.46 cos(2 pi i/N), weighted mean removed, power "
     "restored", "hamming({1, 2, 3, 4})", true},
    {"hanning",  Window<numerics::Hanning>,         1, kNone, nullptr,
     "hanning(x)", "x windowed with (1 - cos(2 pi i/N)) / 2, weighted mean removed, power "
     "restored", "hanning({1, 2, 3, 4})", true},
    {"kaiser",   Kaiser,                            2, kNone, nullptr,
     "kaiser(x, alpha)", "x windowed with the Kaiser-Bessel window of parameter alpha, weighted "
     "mean removed, power restored", "kaiser({1, 2, 3, 4}, 2)", true},
    {"parzen",   Window<numerics::Parzen>,          1, kNone, nullptr,
     "parzen(x)", "x windowed with the triangle 1 - abs((i - N/2) / (N/2)), weighted mean removed, "
     "power restored", "parzen({1, 2, 3, 4})", true},
    {"welch",    Window<numerics::Welch>,           1, kNone, nullptr,
     "welch(x)", "x windowed with the parabola 1 - ((i - N/2) / (N/2))^2, weighted mean removed, "
     "power restored", "welch({1, 2, 3, 4})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> WindowBuiltins() { return kWindowBuiltins; }

}  // namespace quorvix
