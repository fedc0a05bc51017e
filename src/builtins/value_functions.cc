// Value built-ins: the frozen flag, the sample scaling of sound, the common
// elements of two vectors, and sorting of parallel arrays by a key.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "numerics/sort.h"
#include "quorvix/math_parser.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsVectorLike;
using builtins::kInvalidArgType;
using builtins::NumericElements;
using builtins::ReduceToScalar;

constexpr char kArg1Vector[] = "Argument 1 must be a vector";
constexpr char kArg2Vector[] = "Argument 2 must be a vector";
constexpr char kNothingInCommon[] = "Arguments have no elements in common";
constexpr char kSortDirection[] = "The first parameter to SORT must be a scalar";
constexpr char kSortKey[] = "The second (key) parameter to SORT must be a vector or a string";
constexpr char kSortCount[] =
    "The number of elements in the sorted arrays does not match the number of elements in the "
    "key array";

// The name a variable argument arrived with; empty for a computed value.
std::string NameOf(const symtab* v) { return v != nullptr && v->name != nullptr ? v->name : ""; }

// ---- freeze, thaw --------------------------------------------------------

// Sets or clears the frozen flag; a variable argument is stored back with
// the new flag. The result is the argument's copy.
template <unsigned short Frozen>
symtab* SetFrozen(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  const std::string name = NameOf(args.Peek(0));
  symtab* v = args.Take(0);
  if (v == nullptr) return args.Fail(kInvalidArgType);
  v->frozen = Frozen;
  if (MathParser* parser = MathParser::current_parser; parser != nullptr && !name.empty()) {
    v->SetName(name.c_str());
    parser->AddVariable(v);
    v->DropName();
  }
  return args.Release(v);
}

// ---- sound ---------------------------------------------------------------

// Scales the samples to unsigned 8-bit values around the middle of their
// range, as a player would take them. There is no audio device to hand them
// to, so the buffer goes no further; the result is the sample count.
symtab* Sound(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  symtab* samples = args.Take(0, IsArray, kInvalidArgType);
  if (samples == nullptr || !args.Check(1, IsNumber, kInvalidArgType)) return nullptr;
  std::span<const double> xs = NumericElements(*samples);
  if (!xs.empty()) {
    const auto [lo, hi] = std::minmax_element(xs.begin(), xs.end());
    const double mid = (*lo + *hi) / 2.0;
    const double half = (*hi - *lo) / 2.0;
    std::vector<unsigned char> pcm(xs.size());
    for (std::size_t i = 0; i < xs.size(); ++i) {
      const double scaled = half > 0.0 ? -128.0 * (xs[i] - mid) / half : 0.0;
      pcm[i] = static_cast<unsigned char>(128 - (builtins::TruncateToInteger(scaled) & 0xff));
    }
  }
  ReduceToScalar(*samples, static_cast<double>(xs.size()));
  return args.Release(samples);
}

// ---- intersect -----------------------------------------------------------

// The elements of a that b holds too, ascending, with their repetitions in
// a, as a column. Both are put in ascending order (NaNs last); a NaN equals
// nothing, and -0 equals 0.
symtab* Intersect(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  symtab* a = args.Take(0, IsVectorLike, kArg1Vector);
  if (a == nullptr) return nullptr;
  symtab* b = args.Take(1, IsVectorLike, kArg2Vector);
  if (b == nullptr) return nullptr;
  std::span<double> as = NumericElements(*a);
  std::span<double> bs = NumericElements(*b);
  numerics::SortDoubles(as, false);
  numerics::SortDoubles(bs, false);
  std::size_t count = 0;
  for (std::size_t i = 0, j = 0; i < as.size() && j < bs.size();) {
    if (std::isnan(as[i]) || std::isnan(bs[j])) break;
    if (as[i] < bs[j]) {
      ++i;
    } else if (bs[j] < as[i]) {
      ++j;
    } else {
      as[count++] = as[i++];  // b's element stays for a's repetitions
    }
  }
  if (count == 0) return args.Fail(kNothingInCommon);
  a->rows = static_cast<int>(count);
  a->cols = 1;
  return args.Release(a);
}

// ---- sort ----------------------------------------------------------------

bool IsKey(const symtab& v) { return IsArray(v) || v.type == SYM_STRINGS; }

// Stores a sorted argument back into its variable, when assignments are
// allowed and the variable is defined. The payload moves into the table;
// only the result, which the caller also receives, is copied, and into the
// variable's own storage when the shape allows.
void StoreBack(const std::string& name, symtab& value, bool is_result) {
  MathParser* parser = MathParser::current_parser;
  if (parser == nullptr || name.empty() || !parser->AllowAssign()) return;
  const auto& variables = parser->Variables();
  auto it = variables.find(name);
  if (it == variables.end() || it->second->type == SYM_UNDEFINED) return;
  symtab& record = *it->second;
  const unsigned short frozen = value.frozen;
  if (is_result && IsArray(record) && IsArray(value) && record.data != nullptr &&
      record.rows * record.cols == value.rows * value.cols) {
    std::copy_n(value.data, static_cast<std::size_t>(value.rows) * value.cols, record.data);
    record.rows = value.rows;
    record.cols = value.cols;
  } else {
    char* keep = record.name;
    record.name = nullptr;
    if (is_result)
      record = value;
    else
      record = std::move(value);
    record.DropName();
    record.name = keep;
  }
  record.shared = 1;
  record.frozen = frozen;
}

// The order of the rows: a permutation of 0..n-1 that sorts the key,
// stable. Numbers use the total order of numerics::SortKey (NaNs last);
// strings compare byte by byte.
std::vector<std::uint32_t> SortOrder(const symtab& key, bool descending) {
  const std::size_t n = static_cast<std::size_t>(key.NumElements());
  std::vector<std::uint32_t> order(n);
  if (IsArray(key)) {
    // The index breaks ties, which makes the plain sort stable.
    std::vector<std::pair<std::uint64_t, std::uint32_t>> rows(n);
    for (std::size_t i = 0; i < n; ++i)
      rows[i] = {numerics::SortKey(key.data[i], descending), static_cast<std::uint32_t>(i)};
    std::sort(rows.begin(), rows.end());
    for (std::size_t i = 0; i < n; ++i) order[i] = rows[i].second;
    return order;
  }
  for (std::size_t i = 0; i < n; ++i) order[i] = static_cast<std::uint32_t>(i);
  char* const* s = key.str_list;
  std::stable_sort(order.begin(), order.end(), [s, descending](std::uint32_t x, std::uint32_t y) {
    const int c = std::strcmp(s[x], s[y]);  // compares as unsigned bytes
    return descending ? c > 0 : c < 0;
  });
  return order;
}

// Puts the elements of v (numbers or strings) in the given order; scalars
// and undefined values hold nothing to move.
void Permute(symtab& v, const std::vector<std::uint32_t>& order) {
  const std::size_t n = order.size();
  if (IsArray(v) && n > 0) {
    std::unique_ptr<double[]> moved(new double[n]);
    for (std::size_t i = 0; i < n; ++i) moved[i] = v.data[order[i]];
    delete[] v.data;
    v.data = moved.release();
  } else if (v.type == SYM_STRINGS && n > 0) {
    std::unique_ptr<char*[]> moved(new char*[n]);
    for (std::size_t i = 0; i < n; ++i) moved[i] = v.str_list[order[i]];
    delete[] v.str_list;
    v.str_list = moved.release();
  }
}

// sort(direction, key, a1, a2, ...): the rows (key[i], a1[i], ...) in the
// order of the key, ascending when direction is exactly 0. The result is
// the key when it stands alone, else a1.
symtab* Sort(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2, INT_MAX)) return nullptr;
  if (!args.Check(0, IsNumber, kSortDirection) || !args.Check(1, IsKey, kSortKey)) return nullptr;
  const bool descending = args.Peek(0)->value != 0.0;  // NaN too
  const int count = args.size();
  const int n = args.Peek(1)->NumElements();
  for (int i = 2; i < count; ++i)
    if (args.Peek(i) == nullptr || args.Peek(i)->NumElements() != n) return args.Fail(kSortCount);

  std::vector<std::string> names(static_cast<std::size_t>(count));
  std::vector<symtab*> arrays(static_cast<std::size_t>(count));
  for (int i = 1; i < count; ++i) {
    names[i] = NameOf(args.Peek(i));
    arrays[i] = args.Take(i);
  }
  symtab& key = *arrays[1];
  if (count == 2 && IsArray(key)) {
    numerics::SortDoubles(NumericElements(key), descending);
  } else {
    const std::vector<std::uint32_t> order = SortOrder(key, descending);
    for (int i = 1; i < count; ++i) Permute(*arrays[i], order);
  }
  const int result = count == 2 ? 1 : 2;
  for (int i = 1; i < count; ++i) StoreBack(names[i], *arrays[i], i == result);
  return args.Release(arrays[result]);
}

constexpr unsigned kNone = kNoCallFlags;
// freeze, thaw and sort store back into their arguments' variables.
constexpr unsigned kStores = kWritesVariables;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kValueBuiltins[] = {
    {"freeze",    SetFrozen<1>, 1, kStores, nullptr,
     "freeze(x)", "x with its frozen flag set; a variable keeps the flag", "freeze(3)"},
    {"intersect", Intersect,    2, kNone, nullptr,
     "intersect(a, b)", "elements of a also in b, ascending, as a column",
     "intersect({3, 1, 2, 2}, {2, 3, 5})"},
    {"sort",      Sort,         1, kStores, nullptr,
     "sort(direction, key [, a1, ...])",
     "key (numbers or strings) and parallel arrays sorted by key; ascending when direction "
     "is 0, NaNs last; variables are sorted in place",
     "sort(0, {3, 1, 2}, {30, 10, 20})"},
    {"sound",     Sound,        1, kNone, nullptr,
     "sound(samples, rate)", "number of samples (nothing is played)", "sound({0, 1, 0.5}, 8000)"},
    {"thaw",      SetFrozen<0>, 1, kStores, nullptr,
     "thaw(x)", "x with its frozen flag cleared; a variable loses the flag", "thaw(3)"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ValueBuiltins() { return kValueBuiltins; }

}  // namespace quorvix
