// Data reduction and alignment of channels: suppress (points a straight line
// can stand for), sync2 (shift one channel onto another), batch (block
// statistics) and resvector (a strided block of a named variable).
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <utility>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "quorvix/math_parser.h"
#include "util/run_budget.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::CountOf;
using builtins::IsScalarArg;
using builtins::IsVectorArg;
using builtins::MustBe;
using builtins::OwnedRecord;
using builtins::ScalarOf;

constexpr char kToleranceTooLarge[] = "Tolerance must be less than 1";
constexpr char kVariableNotFound[] = "Unable to find variable";
constexpr char kVariableWrongType[] = "Variable is not of the correct type";

// Checks the count and the kinds given as 'v' (vector), 's' (scalar) or 't'
// (string), with the position message of the first bad argument.
bool HasKinds(const Args& args, const char* kinds) {
  const int count = static_cast<int>(std::char_traits<char>::length(kinds));
  if (!args.HasCount(count)) return false;
  for (int i = 0; i < count; ++i) {
    const bool ok =
        kinds[i] == 'v' ? args.Check(i, IsVectorArg, ArgumentMustBe(i + 1, MustBe::kVector))
        : kinds[i] == 's'
            ? args.Check(i, IsScalarArg, ArgumentMustBe(i + 1, MustBe::kScalar))
            : args.Check(i, builtins::HasString, ArgumentMustBe(i + 1, MustBe::kString));
    if (!ok) return false;
  }
  return true;
}

// A new anonymous rows x cols array.
symtab* NewArray(int rows, int cols) {
  symtab* v = new symtab;
  v->SetArray(rows, cols);
  return v;
}

// ---- suppress ------------------------------------------------------------

// Marks in `keep` the points of the Ramer-Douglas-Peucker reduction with
// vertical distances: the interior point farthest from the chord of a kept
// pair is kept when it lies more than eps off it.
void MarkKept(const double* x, const double* y, std::size_t n, double eps,
              std::vector<char>& keep) {
  keep.assign(n, 0);
  keep[0] = keep[n - 1] = 1;
  std::vector<std::pair<std::size_t, std::size_t>> pending{{0, n - 1}};
  std::size_t visited = 0;
  while (!pending.empty()) {
    const auto [a, b] = pending.back();
    pending.pop_back();
    const double run = x[b] - x[a];
    const double slope = run != 0.0 ? (y[b] - y[a]) / run : 0.0;
    std::size_t far = 0;
    double far_distance = -1.0;
    for (std::size_t i = a + 1; i < b; ++i) {
      const double d = std::fabs(y[i] - (y[a] + slope * (x[i] - x[a])));
      if (d > far_distance) far_distance = d, far = i;
    }
    if ((visited += b - a) >= (std::size_t{1} << 22)) visited = 0, RunBudget::CheckTime();
    if (far == 0 || !(far_distance > eps)) continue;
    keep[far] = 1;
    pending.emplace_back(a, far);
    pending.emplace_back(far, b);
  }
}

// suppress(x, y, tol): 2 x m, the kept x over the kept y. eps is tol times
// the range of y (NaN samples left out of the range; a NaN point is never
// far enough to be kept).
symtab* Suppress(sym_list* list) {
  Args args(list);
  if (!HasKinds(args, "vvs")) return nullptr;
  const symtab &xv = *args.Peek(0), &yv = *args.Peek(1);
  const std::size_t n = CountOf(xv);
  if (CountOf(yv) != n) return args.Fail(builtins::kSameNumberOfPointsShort);
  double tol = ScalarOf(*args.Peek(2));
  if (!(tol < 1.0)) return args.Fail(kToleranceTooLarge);
  if (tol < 0.0) tol = 0.0;
  std::vector<char> keep(n, 1);
  if (n >= 3) {
    double lo = INFINITY, hi = -INFINITY;
    for (std::size_t i = 0; i < n; ++i)
      lo = std::fmin(lo, yv.data[i]), hi = std::fmax(hi, yv.data[i]);
    MarkKept(xv.data, yv.data, n, tol * (hi - lo), keep);
  }
  const auto m = static_cast<int>(std::count(keep.begin(), keep.end(), 1));
  symtab* out = NewArray(2, m);
  for (std::size_t i = 0, j = 0; i < n; ++i)
    if (keep[i] != 0) out->data[j] = xv.data[i], out->data[m + j] = yv.data[i], ++j;
  return args.Release(out);
}

// ---- sync2 ---------------------------------------------------------------

bool Constant(const double* v, std::size_t n) {
  return std::all_of(v, v + n, [&](double e) { return e == v[0]; });
}

// sync2(x, y): y shifted by the lag d of the largest cross-correlation of
// the mean-free channels (ties: smaller abs(d), then negative), its vacated
// end held at its end value. The sums are direct, so equal sums stay equal.
// A constant channel, or one with a NaN or infinite sample, leaves y as it is.
symtab* Sync2(sym_list* list) {
  Args args(list);
  if (!HasKinds(args, "vv")) return nullptr;
  const symtab& xv = *args.Peek(0);
  const std::size_t n = CountOf(xv);
  if (CountOf(*args.Peek(1)) != n) return args.Fail(builtins::kSameNumberOfPointsShort);
  symtab* yv = args.Take(1);
  double* y = yv->data;
  const auto finite = [](const double* v, std::size_t count) {
    return std::all_of(v, v + count, [](double e) { return std::isfinite(e); });
  };
  if (n < 2 || Constant(xv.data, n) || Constant(y, n) || !finite(xv.data, n) || !finite(y, n))
    return args.Release(yv);
  std::vector<double> xs(xv.data, xv.data + n), ys(y, y + n);
  for (std::vector<double>* v : {&xs, &ys}) {
    double mean = 0.0;
    for (double e : *v) mean += e;
    mean /= static_cast<double>(n);
    for (double& e : *v) e -= mean;
  }
  const auto r = [&](long long d) {
    const std::size_t from = d < 0 ? static_cast<std::size_t>(-d) : 0;
    const std::size_t to = d > 0 ? n - static_cast<std::size_t>(d) : n;
    double sum = 0.0;
    for (std::size_t i = from; i < to; ++i) sum += xs[i] * ys[i + d];
    return sum;
  };
  long long best = 0;
  double best_r = r(0);
  std::size_t work = 0;
  for (long long k = 1; k < static_cast<long long>(n); ++k) {
    for (long long d : {-k, k}) {
      const double rd = r(d);
      if (rd > best_r) best_r = rd, best = d;
    }
    if ((work += 2 * n) >= (std::size_t{1} << 22)) work = 0, RunBudget::CheckTime();
  }
  const auto last = static_cast<long long>(n) - 1;
  if (best > 0)
    for (long long i = 0; i <= last; ++i) y[i] = y[std::min(i + best, last)];
  else if (best < 0)
    for (long long i = last; i >= 0; --i) y[i] = y[std::max(i + best, 0LL)];
  return args.Release(yv);
}

// ---- batch ---------------------------------------------------------------

// The statistic of one block of y chosen by batch's mode. Minimum and
// maximum pass over NaN samples unless the block holds nothing else.
double BlockStatistic(const double* y, std::size_t count, long long mode) {
  double acc = mode == 2 ? INFINITY : mode == 3 || mode == 5 ? -INFINITY : 0.0;
  double lo = INFINITY;
  for (std::size_t i = 0; i < count; ++i) {
    const double v = y[i];
    switch (mode) {
      case 0:
        acc += v;
        break;
      case 1:
        acc += v * v;
        break;
      case 2:
        acc = std::fmin(acc, v);
        break;
      case 3:
        acc = std::fmax(acc, v);
        break;
      case 4:
        acc = std::fmax(acc, std::fabs(v));
        break;
      default:
        acc = std::fmax(acc, v), lo = std::fmin(lo, v);
        break;
    }
  }
  const auto c = static_cast<double>(count);
  if (mode == 0) return acc / c;
  if (mode == 1) return std::sqrt(acc / c);
  if (mode == 5) return acc - lo;
  return acc;
}

// batch(x, y, size, mode): 2 x K, the block means of x over the block
// statistics of y; the last block may be shorter. Empty vectors give 2 x 0.
symtab* Batch(sym_list* list) {
  Args args(list);
  if (!HasKinds(args, "vvss")) return nullptr;
  const symtab &xv = *args.Peek(0), &yv = *args.Peek(1);
  const std::size_t n = CountOf(xv);
  if (CountOf(yv) != n) return args.Fail(builtins::kSameNumberOfPointsShort);
  const long long size = builtins::TruncateToInteger(ScalarOf(*args.Peek(2)));
  if (size < 1) return args.Fail(builtins::kSizeNotPositive);
  const long long mode = builtins::TruncateToInteger(ScalarOf(*args.Peek(3)));
  if (mode < 0 || mode > 5) return args.Fail(builtins::kValueOutOfRange);
  const auto block = static_cast<std::size_t>(size);
  const std::size_t k = n == 0 ? 0 : (n - 1) / block + 1;
  symtab* out = NewArray(2, static_cast<int>(k));
  for (std::size_t j = 0; j < k; ++j) {
    const std::size_t from = j * block, count = std::min(block, n - from);
    out->data[j] = BlockStatistic(xv.data + from, count, 0);
    out->data[k + j] = BlockStatistic(yv.data + from, count, mode);
  }
  return args.Release(out);
}

// ---- resvector -----------------------------------------------------------

// The indices start, start + step, ... <= end of one axis of `length`
// entries (end -1: the last); false when start or end lies outside it or
// end is below start.
bool AxisSelection(double start_arg, double end_arg, double step_arg, long long length,
                   long long* start, long long* count, long long* step) {
  *start = builtins::TruncateToInteger(start_arg);
  long long end = builtins::TruncateToInteger(end_arg);
  if (end == -1) end = length - 1;
  *step = std::max(1LL, builtins::TruncateToInteger(step_arg));
  if (*start < 0 || *start >= length || end < *start || end >= length) return false;
  *count = (end - *start) / *step + 1;
  return true;
}

// resvector(name, r0, r1, rstep, c0, c1, cstep): the rows and columns
// selected of the named variable, as a new array.
symtab* ResVector(sym_list* list) {
  Args args(list);
  if (!HasKinds(args, "tssssss")) return nullptr;
  MathParser* parser = MathParser::current_parser;
  OwnedRecord stored(parser != nullptr ? parser->GetVariable(builtins::FirstString(*args.Peek(0)))
                                       : nullptr);
  if (stored == nullptr) return args.Fail(kVariableNotFound);
  if (stored->type != SYM_ARRAY) return args.Fail(kVariableWrongType);
  double a[6];
  for (int i = 0; i < 6; ++i) a[i] = ScalarOf(*args.Peek(i + 1));
  long long r0, rows, rstep, c0, cols, cstep;
  if (!AxisSelection(a[0], a[1], a[2], stored->rows, &r0, &rows, &rstep) ||
      !AxisSelection(a[3], a[4], a[5], stored->cols, &c0, &cols, &cstep))
    return args.Fail(builtins::kIndexOutOfRange);
  symtab* out = NewArray(static_cast<int>(rows), static_cast<int>(cols));
  for (long long i = 0; i < rows; ++i)
    for (long long j = 0; j < cols; ++j)
      out->data[i * cols + j] = stored->data[(r0 + i * rstep) * stored->cols + c0 + j * cstep];
  return args.Release(out);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kAlignmentBuiltins[] = {
    {"batch", Batch, 4, kNone, nullptr,
     "batch(x, y, size, mode)",
     "2 x K: mean of x and mean, rms, min, max, max abs or range (mode 0..5) of y per block",
     "batch({0, 1, 2, 3}, {1, 3, 2, 6}, 2, 3)", true},
    {"resvector", ResVector, 7, kNone, nullptr,
     "resvector(name, r0, r1, rstep, c0, c1, cstep)",
     "the rows r0:rstep:r1 and columns c0:cstep:c1 of the named variable (end -1: the last)",
     "resvector(\"m\", 0, 1, 1, 1, 1, 1 + 0 * numpts(m = {{1, 2}, {3, 4}}))", true},
    {"suppress", Suppress, 3, kNone, nullptr,
     "suppress(x, y, tol)",
     "2 x m: the points (x; y) kept when those within tol * range(y) of a chord are dropped",
     "suppress({0, 1, 2, 3, 4}, {0, 1, 2, 1, 0}, 0)", true},
    {"sync2", Sync2, 1, kNone, nullptr,
     "sync2(x, y)",
     "y shifted by the lag of its largest cross-correlation with x, the vacated end held",
     "sync2({0, 1, 0, 0}, {0, 0, 1, 0})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> AlignmentBuiltins() { return kAlignmentBuiltins; }

}  // namespace quorvix
