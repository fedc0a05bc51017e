// Built-ins that make vectors: array, stringarray, cat, subrange, size and
// rand.
//
// Sizes beyond the parser's element limit report the limit ("array too
// large (limit N elements)"); an allocation the system refuses below it
// reports "Array too large:  out of memory in array() function" (or cat()).
// Nothing is allocated before the size is known to fit.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::ErrorAt;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsVectorLike;
using builtins::kInvalidArgType;
using builtins::MustBe;
using builtins::NumericElements;

constexpr char kArrayOutOfMemory[] = "Array too large:  out of memory in array() function";
constexpr char kCatOutOfMemory[] = "Array too large:  out of memory in cat() function";
constexpr char kBothOne[] = "Both arguments cannot be 1";
constexpr char kCannotMix[] = "Cannot mix concatenation argument types";
constexpr char kEndNotAfterStart[] = "End value must be greater than starting value";
constexpr char kNoPoints[] = "No points found in given range";

bool IsStrings(const symtab& v) { return v.type == SYM_STRINGS; }

// Truncates toward zero, saturating far outside the int range (NaN gives 0),
// so that comparisons with limits need no further care.
long long Truncate(double d) {
  if (!(d == d)) return 0;
  if (d >= 4e18) return 4'000'000'000'000'000'000LL;
  if (d <= -4e18) return -4'000'000'000'000'000'000LL;
  return static_cast<long long>(d);
}

// A new rows x cols array of zeros, or null after reporting the limit or
// `out_of_memory`.
symtab* NewArray(long long rows, long long cols, const char* out_of_memory, bool zero,
                 ErrorAt at = ErrorAt::kCall) {
  if (!ElementCountFits(rows, cols)) {
    builtins::Report(ArrayTooLargeMessage().c_str(), at);
    return nullptr;
  }
  auto* v = new symtab;
  try {
    double* d = v->SetArray(static_cast<int>(rows), static_cast<int>(cols));
    if (zero && d != nullptr)
      std::memset(d, 0, static_cast<std::size_t>(rows * cols) * sizeof(double));
  } catch (const std::bad_alloc&) {
    v->Delete();
    builtins::Report(out_of_memory, at);
    return nullptr;
  }
  return v;
}

// A record that is freed unless released, for results built in steps that
// may throw.
using OwnedRecord = std::unique_ptr<symtab, void (*)(symtab*)>;

// A list of n null strings (which a record frees as well as real ones).
OwnedRecord NewStringList(long long n) {
  OwnedRecord v(new symtab, [](symtab* s) { s->Delete(); });
  v->SetStrings(new char*[static_cast<std::size_t>(n)](), static_cast<int>(n));
  return v;
}

symtab* Array(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, 2)) return nullptr;
  if (args.size() == 1) {
    if (!args.Check(0, IsNumber, kInvalidArgType)) return nullptr;
    const long long n = Truncate(args.Peek(0)->value);
    if (n <= 0) return args.Fail(builtins::kSizeNotPositive);
    return args.Release(NewArray(1, n, kArrayOutOfMemory, true));
  }
  if (!args.Check(0, IsNumber, ArgumentMustBe(1, MustBe::kScalar)) ||
      !args.Check(1, IsNumber, ArgumentMustBe(2, MustBe::kScalar)))
    return nullptr;
  const double first = args.Peek(0)->value;
  const long long rows = Truncate(first), cols = Truncate(args.Peek(1)->value);
  // The blame follows the first argument: when it is at least 1 the fault
  // must be the second's.
  if (rows <= 0 || cols <= 0)
    return args.Fail(first >= 1.0 ? builtins::kArg2MustBePositive : builtins::kArg1MustBePositive);
  if (rows == 1 && cols == 1) return args.Fail(kBothOne);
  return args.Release(NewArray(rows, cols, kArrayOutOfMemory, true));
}

symtab* StringArray(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, IsNumber, kInvalidArgType)) return nullptr;
  const long long n = Truncate(args.Peek(0)->value);
  if (n <= 0) return args.Fail(builtins::kSizeNotPositive);
  if (!ElementCountFits(1, n)) return args.Fail(ArrayTooLargeMessage().c_str());
  OwnedRecord v = NewStringList(n);
  for (long long i = 0; i < n; ++i) v->str_list[i] = newstrdup("");
  return args.Release(v.release());
}

// Numbers: a column of every element of every argument in order. Strings: a
// list of copies of every string. The arguments are read, not taken.
symtab* Cat(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2, 1 << 30, ErrorAt::kClose)) return nullptr;
  long long total = 0;
  bool numeric = true;
  for (int i = 0; i < args.size() && numeric; ++i) {
    const symtab* v = args.Peek(i);
    numeric = v != nullptr && (IsNumber(*v) || IsVectorLike(*v));
    if (numeric) total += static_cast<long long>(NumericElements(*v).size());
  }
  if (numeric && total > 1) {
    symtab* out = NewArray(total, 1, kCatOutOfMemory, false, ErrorAt::kComma);
    if (out == nullptr) return nullptr;
    double* d = out->data;
    for (int i = 0; i < args.size(); ++i) {
      std::span<const double> xs = NumericElements(*args.Peek(i));
      if (!xs.empty()) std::memcpy(d, xs.data(), xs.size() * sizeof(double));
      d += xs.size();
    }
    return args.Release(out);
  }
  long long strings = 0;
  for (int i = 0; i < args.size(); ++i) {
    const symtab* v = args.Peek(i);
    if (v == nullptr || !IsStrings(*v)) return args.Fail(kCannotMix, ErrorAt::kComma);
    strings += v->num_strings;
  }
  if (strings <= 1) return args.Fail(kCannotMix, ErrorAt::kComma);
  if (!ElementCountFits(1, strings))
    return args.Fail(ArrayTooLargeMessage().c_str(), ErrorAt::kComma);
  try {
    OwnedRecord out = NewStringList(strings);
    std::size_t k = 0;
    for (int i = 0; i < args.size(); ++i) {
      const symtab* v = args.Peek(i);
      for (int s = 0; s < v->num_strings; ++s) out->str_list[k++] = newstrdup(v->str_list[s]);
    }
    return args.Release(out.release());
  } catch (const std::bad_alloc&) {
    return args.Fail(kCatOutOfMemory, ErrorAt::kComma);
  }
}

// The indices of the first run of elements within [start, end], in x's
// orientation. A bad kind reports its position and then the general message
// (the first report is the one that counts).
symtab* Subrange(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3)) return nullptr;
  const char* wrong = nullptr;
  if (!IsVectorLike(*args.Peek(0)))
    wrong = ArgumentMustBe(1, MustBe::kVector);
  else if (!IsNumber(*args.Peek(1)))
    wrong = ArgumentMustBe(2, MustBe::kScalar);
  else if (!IsNumber(*args.Peek(2)))
    wrong = ArgumentMustBe(3, MustBe::kScalar);
  if (wrong != nullptr) {
    builtins::Report(wrong, ErrorAt::kComma);
    return args.Fail(kInvalidArgType);
  }
  const double start = args.Peek(1)->value, end = args.Peek(2)->value;
  symtab* x = args.Take(0);
  if (end <= start) {
    builtins::Report(kEndNotAfterStart, ErrorAt::kComma);
    return args.Release(x);
  }
  std::span<const double> xs = NumericElements(*x);
  auto inside = [&](double e) { return start <= e && e <= end; };
  std::size_t first = 0;
  while (first < xs.size() && !inside(xs[first])) ++first;
  if (first == xs.size()) {
    builtins::Report(kNoPoints, ErrorAt::kNone);
    return args.Release(x);
  }
  std::size_t last = first;
  while (last + 1 < xs.size() && inside(xs[last + 1])) ++last;
  const int count = static_cast<int>(last - first + 1);
  const bool row = x->rows == 1;
  double* d = x->SetArray(row ? 1 : count, row ? count : 1);
  for (int i = 0; i < count; ++i) d[i] = static_cast<double>(first + static_cast<std::size_t>(i));
  return args.Release(x);
}

symtab* Size(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, ErrorAt::kNone)) return nullptr;
  const symtab* v = args.Peek(0);
  std::vector<double> sizes;
  switch (v != nullptr ? v->type : static_cast<unsigned short>(SYM_UNDEFINED)) {
    case SYM_SCALAR:
      sizes = {1, 1};
      break;
    case SYM_ARRAY:
      sizes = {static_cast<double>(v->rows), static_cast<double>(v->cols)};
      break;
    case SYM_STRINGS:
      for (int i = 0; i < v->num_strings; ++i)
        sizes.push_back(static_cast<double>(std::strlen(v->str_list[i])));
      break;
    default: {
      const std::string message =
          std::string("Unknown variable ") + (v != nullptr && v->name ? v->name : "");
      return args.Fail(message.c_str());
    }
  }
  auto* out = new symtab;
  double* d = out->SetArray(1, static_cast<int>(sizes.size()));
  if (!sizes.empty()) std::memcpy(d, sizes.data(), sizes.size() * sizeof(double));
  return args.Release(out);
}

// The classic 15-bit linear congruential generator (multiplier 214013,
// increment 2531011, bits 16 to 30), kept here rather than the C library's
// rand so that values step by 1/32767 on every platform and the host's own
// use of rand is left alone. Reseeded from the calendar time whenever the
// second has changed since the last seeding, so calls within one second
// continue one sequence.
symtab* Rand(sym_list* list) {
  static std::time_t seeded_at = -1;
  static unsigned state = 0;
  Args args(list);
  // Arguments are an error, but the value is drawn all the same.
  if (args.size() != 0) builtins::Report(builtins::kInvalidArgCount, ErrorAt::kNone);
  const std::time_t now = std::time(nullptr);
  if (now != seeded_at) {
    seeded_at = now;
    state = static_cast<unsigned>(now);
  }
  state = state * 214013u + 2531011u;
  const unsigned draw = (state >> 16) & 0x7FFFu;
  return args.Release(builtins::NewScalar(static_cast<double>(draw) / 32767.0));
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kVectorConstructionBuiltins[] = {
    {"array",       Array,        1, kNone, nullptr,
     "array(n) | array(rows, cols)", "row of n zeros, or a rows x cols matrix of zeros",
     "array(2, 3)", true},
    {"cat",         Cat,          2, kNone, nullptr,
     "cat(a, b, ...)", "column of all elements of numbers and vectors, or list of all strings, "
     "in order", "cat({1, 2}, 3)", true},
    {"rand",        Rand,         1, kNone, nullptr,
     "rand()", "random number in [0, 1] in steps of 1/32767", "rand()", true},
    {"size",        Size,         1, kNone, nullptr,
     "size(v)", "(rows, cols) of an array, (1, 1) of a number, the length of each string",
     "size(array(2, 3))", true},
    {"stringarray", StringArray,  1, kNone, nullptr,
     "stringarray(n)", "list of n empty strings", "stringarray(3)", true},
    {"subrange",    Subrange,     3, kNone, nullptr,
     "subrange(v, start, end)", "indices of the first run of elements of v within [start, end]",
     "subrange({5, 1, 2, 3, 9}, 1, 3)", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> VectorConstructionBuiltins() { return kVectorConstructionBuiltins; }

}  // namespace quorvix
