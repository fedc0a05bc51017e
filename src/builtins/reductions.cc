// Reductions of one numeric argument to a scalar: sums and moments, median,
// extrema and their positions, delta and zero crossings; and the element-wise
// normal quantile.
//
// Reductions read their argument without taking it and return a new scalar,
// so a variable's array is never copied for them. On an argument of the
// wrong kind, sum, mean and the moments report "Invalid argument type" and
// still return a record: the argument's own, taken from the list, which the
// caller owns and frees like any result (the pending error fails the
// evaluation). max, min, indexofmax and indexofmin return null instead.
#include <cfloat>
#include <cstddef>
#include <span>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/packet_answers.h"
#include "numerics/normal_quantile.h"
#include "numerics/statistics.h"
#include "quorvix/stat_functions.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ErrorAt;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::kInvalidArgType;
using builtins::NewScalar;
using builtins::NumericElements;
using builtins::PacketEntries;
using numerics::Values;

// Packet entries of a per-vector statistic: its offset in the x and y blocks.
constexpr PacketEntries Block(int offset) {
  return {StatsPacket::kX + offset, StatsPacket::kY + offset};
}

double Itself(double x) { return x; }
double Zero(double) { return 0.0; }

struct Reduction {
  double (*of_values)(Values);            // of a numeric array's elements
  double (*in_place)(std::span<double>);  // instead, when it reorders them
  double (*of_scalar)(double);
  PacketEntries packet;
  ErrorAt at = ErrorAt::kCall;
  bool null_on_wrong_kind = false;
};

template <const Reduction& R>
symtab* Reduce(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, R.at)) return nullptr;
  if (symtab* answer = AnswerFromPacket(args, R.packet)) return answer;
  const symtab* v = args.Peek(0);
  if (v == nullptr || !IsNumeric(*v)) {
    if constexpr (R.null_on_wrong_kind) return args.Fail(kInvalidArgType, R.at);
    builtins::Report(kInvalidArgType, R.at);
    return args.Release(args.Take(0));
  }
  if (IsNumber(*v)) return args.Release(NewScalar(R.of_scalar(v->value)));
  // A plain test, not `if constexpr`: a function's address is no constant
  // expression under the sanitizers.
  if (R.in_place != nullptr) {
    symtab* own = args.Take(0);
    builtins::ReduceToScalar(*own, R.in_place(NumericElements(*own)));
    return args.Release(own);
  }
  return args.Release(NewScalar(R.of_values(NumericElements(*v))));
}

constexpr Reduction kSum{numerics::Sum, nullptr, Itself, {}, ErrorAt::kNone};
constexpr Reduction kMean{numerics::Mean, nullptr, Itself, Block(StatsPacket::kMean),
                          ErrorAt::kNone};
constexpr Reduction kVariance{numerics::Variance, nullptr, Zero, Block(StatsPacket::kVariance)};
constexpr Reduction kSkewness{numerics::Skewness, nullptr, Zero, Block(StatsPacket::kSkewness)};
constexpr Reduction kRms{numerics::Rms, nullptr, Itself, Block(StatsPacket::kRms)};
constexpr Reduction kAvgDev{numerics::AvgDev, nullptr, Zero, Block(StatsPacket::kAvgDev)};
constexpr Reduction kMedian{nullptr, numerics::MedianInPlace, Itself, Block(StatsPacket::kMedian)};
constexpr Reduction kDelta{
    numerics::Delta, nullptr, Zero, {StatsPacket::kDeltaX, StatsPacket::kDeltaY}};
constexpr Reduction kZeroCrossings{numerics::ZeroCrossings, nullptr, Zero,
                                   Block(StatsPacket::kZeroCrossings)};
constexpr Reduction kMax{numerics::Max,  nullptr, Itself, Block(StatsPacket::kMax),
                         ErrorAt::kCall, true};
constexpr Reduction kMin{numerics::Min,  nullptr, Itself, Block(StatsPacket::kMin),
                         ErrorAt::kCall, true};

// The first index whose element beats every earlier one (and the start
// value, as max and min have it), so ties keep the earliest and NaN never
// wins.
template <bool Largest>
symtab* IndexOfExtreme(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, IsArray, kInvalidArgType)) return nullptr;
  std::span<const double> xs = NumericElements(*args.Peek(0));
  double best = Largest ? -DBL_MAX : DBL_MAX;
  std::size_t at = 0;
  for (std::size_t i = 0; i < xs.size(); ++i) {
    if (Largest ? xs[i] > best : xs[i] < best) {
      best = xs[i];
      at = i;
    }
  }
  return args.Release(NewScalar(static_cast<double>(at)));
}

// invcdf reports a wrong kind after BackupTo and returns the argument itself.
constexpr builtins::ElementwiseErrors kQuantileErrors{.wrong_kind = builtins::WrongKind::kReturn};

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kReductionBuiltins[] = {
    {"avgdev",        Reduce<kAvgDev>,        1, kNone, nullptr,
     "avgdev(v)", "mean absolute deviation of the elements of v from their mean",
     "avgdev({1, 2, 3, 6})", true},
    {"delta",         Reduce<kDelta>,         1, kNone, nullptr,
     "delta(v)", "last element of v minus its first", "delta({2, 5, 9})", true},
    {"indexofmax",    IndexOfExtreme<true>,   1, kNone, nullptr,
     "indexofmax(v)", "0-based index of the first largest element of the array v",
     "indexofmax({1, 5, 5})", true},
    {"indexofmin",    IndexOfExtreme<false>,  1, kNone, nullptr,
     "indexofmin(v)", "0-based index of the first smallest element of the array v",
     "indexofmin({4, 2, 2})", true},
    {"invcdf",        builtins::Elementwise<numerics::NormalQuantile, kQuantileErrors>, 1, kNone,
     nullptr,
     "invcdf(p)", "inverse of the standard normal distribution function, element by element "
     "(-99999 for p <= 0, 99999 for p >= 1)", "invcdf({0.1, 0.5, 0.975})", true},
    {"max",           Reduce<kMax>,           1, kNone, nullptr,
     "max(v)", "largest element of v (NaN never wins)", "max({2, 7, 1})", true},
    {"mean",          Reduce<kMean>,          1, kNone, nullptr,
     "mean(v)", "arithmetic mean of all elements of v", "mean({1, 2, 3, 4})", true},
    {"median",        Reduce<kMedian>,        1, kNone, nullptr,
     "median(v)", "middle element of v in ascending order, or the mean of the two middle ones",
     "median({3, 1, 2, 10})", true},
    {"min",           Reduce<kMin>,           1, kNone, nullptr,
     "min(v)", "smallest element of v (NaN never wins)", "min({2, 7, 1})", true},
    {"rms",           Reduce<kRms>,           1, kNone, nullptr,
     "rms(v)", "root mean square of the elements of v", "rms({3, 4})", true},
    {"skewness",      Reduce<kSkewness>,      1, kNone, nullptr,
     "skewness(v)", "mean cubed deviation of v over the cube of its sample standard deviation (divisor n - 1)", "skewness({1, 2, 3, 10})", true},
    {"sum",           Reduce<kSum>,           1, kNone, nullptr,
     "sum(v)", "sum of all elements of v", "sum({1, 2, 3, 4})", true},
    {"variance",      Reduce<kVariance>,      1, kNone, nullptr,
     "variance(v)", "sample variance (divisor n - 1) of the elements of v",
     "variance({1, 2, 3, 4})", true},
    {"zerocrossings", Reduce<kZeroCrossings>, 1, kNone, nullptr,
     "zerocrossings(v)", "number of sign changes between neighbouring elements of v",
     "zerocrossings({1, -1, 1})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ReductionBuiltins() { return kReductionBuiltins; }

}  // namespace quorvix
