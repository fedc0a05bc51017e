// Interpolation on tabulated data: lininterp, spline and akima.
//
// Each reads the table in place and writes its results over the query
// record it takes, which keeps the queries' shape.
#include <algorithm>
#include <cstddef>
#include <span>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "numerics/interpolation.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::IsNumber;
using builtins::IsVectorLike;
using builtins::MustBe;
using builtins::NumericElements;

constexpr char kNotIncreasing[] = "Vector 1 must be strictly increasing";
constexpr char kAkimaFailed[] = "Akima failed";

bool IsNumberOrVector(const symtab& v) { return IsNumber(v) || IsVectorLike(v); }

// The checks all three share: three arguments, the table's two vectors of
// equal length, then the queries (kind by `queries_ok`, message for
// position 3). Returns the taken query record, or null after reporting.
symtab* TakeTableAndQueries(Args& args, bool (*queries_ok)(const symtab&),
                            const char* queries_message) {
  if (!args.HasCount(3)) return nullptr;
  if (!args.Check(0, IsVectorLike, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorLike, ArgumentMustBe(2, MustBe::kVector)) ||
      !args.Check(2, queries_ok, queries_message))
    return nullptr;
  if (NumericElements(*args.Peek(0)).size() != NumericElements(*args.Peek(1)).size()) {
    args.Fail(builtins::kSameNumberOfElements);
    return nullptr;
  }
  return args.Take(2);
}

symtab* LinInterpHandler(sym_list* list) {
  Args args(list);
  symtab* q = TakeTableAndQueries(args, IsNumberOrVector, ArgumentMustBe(3, MustBe::kScalar));
  if (q == nullptr) return nullptr;
  std::span<const double> x = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<double> qs = NumericElements(*q);
  if (x.empty()) return args.Fail(builtins::kValueOutOfRange);
  // The table may run either way; its ends bound the queries, which are
  // answered inside it only.
  const double lo = std::min(x.front(), x.back()), hi = std::max(x.front(), x.back());
  for (double v : qs)
    if (v < lo || v > hi) return args.Fail(builtins::kValueOutOfRange);
  numerics::LinearInterpolate(x.data(), y.data(), x.size(), qs.data(), qs.data(), qs.size());
  return args.Release(q);
}

symtab* SplineHandler(sym_list* list) {
  Args args(list);
  symtab* q = TakeTableAndQueries(args, IsVectorLike, ArgumentMustBe(3, MustBe::kVector));
  if (q == nullptr) return nullptr;
  std::span<const double> x = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<double> qs = NumericElements(*q);
  if (x.size() < 2) return args.Fail(builtins::kValueOutOfRange);
  if (!numerics::StrictlyRising(x.data(), x.size())) return args.Fail(kNotIncreasing);
  for (double v : qs)
    if (v < x.front() || v > x.back()) return args.Fail(builtins::kValueOutOfRange);
  numerics::NaturalSpline spline;
  spline.Build(x.data(), y.data(), x.size());
  spline.Evaluate(qs.data(), qs.data(), qs.size());
  return args.Release(q);
}

symtab* AkimaHandler(sym_list* list) {
  Args args(list);
  symtab* q = TakeTableAndQueries(args, IsVectorLike, ArgumentMustBe(3, MustBe::kVector));
  if (q == nullptr) return nullptr;
  std::span<const double> x = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  std::span<double> qs = NumericElements(*q);
  if (!numerics::AkimaInterpolate(x.data(), y.data(), x.size(), qs.data(), qs.data(), qs.size()))
    return args.Fail(kAkimaFailed);
  return args.Release(q);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kInterpolationBuiltins[] = {
    {"akima",     AkimaHandler,     3, kNone, nullptr,
     "akima(x, y, q)", "Akima interpolation of the table (x, y) at the rising queries q, "
     "extrapolating with the end cubics", "akima({0, 1, 2, 3, 4}, {0, 1, 4, 9, 16}, {0.5, 2.5})",
     true},
    {"lininterp", LinInterpHandler, 3, kNone, nullptr,
     "lininterp(x, y, q)", "linear interpolation of the table (x, y) at q (scalar or vector), "
     "inside the table only", "lininterp({0, 1}, {0, 10}, 0.25)", true},
    {"spline",    SplineHandler,    3, kNone, nullptr,
     "spline(x, y, q)", "natural cubic spline through (x, y), x strictly rising, at the queries q "
     "inside the table", "spline({0, 1, 2, 3}, {0, 1, 0, 1}, {0.5, 1.5})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> InterpolationBuiltins() { return kInterpolationBuiltins; }

}  // namespace quorvix
