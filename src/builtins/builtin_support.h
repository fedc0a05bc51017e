// Helpers shared by every built-in handler.
//
// A handler receives the evaluated arguments in a sym_list and returns one
// record, or null after reporting an error. Args reads the list: it checks the
// count and the kinds with the exact messages the handlers owe, and owns what
// the handler takes until the handler releases its result, so that every
// early return frees the taken records. Elementwise maps a function over the
// numbers of one argument in place.
#ifndef QUORVIX_BUILTINS_BUILTIN_SUPPORT_H
#define QUORVIX_BUILTINS_BUILTIN_SUPPORT_H

#include <cstddef>
#include <span>
#include <vector>

#include "quorvix/symtab.h"

namespace quorvix::builtins {

// Messages shared by several families. Each is a literal of its own because
// hosts match on the exact text.
inline constexpr char kInvalidArgCount[] = "Invalid number of arguments";
inline constexpr char kInvalidArgType[] = "Invalid argument type";
inline constexpr char kInvalidTypeArg1[] = "Invalid type for argument 1";
inline constexpr char kInvalidTypeArg2[] = "Invalid type for argument 2";
inline constexpr char kDomainViolation[] = "Domain violation";
inline constexpr char kMatrixNotSquare[] = "Matrix must be square";
inline constexpr char kArg1MustBePositive[] = "Argument 1 must be positive";
inline constexpr char kArg2MustBePositive[] = "Argument 2 must be positive";
inline constexpr char kSameNumberOfElements[] = "Vectors must have the same number of elements";
inline constexpr char kSameNumberOfPointsShort[] = "Vectors must have same number of points";
inline constexpr char kSameNumberOfPoints[] = "Vectors must have the same number of points";
inline constexpr char kValueOutOfRange[] = "Value out of range";
inline constexpr char kIndexOutOfRange[] = "Index out of range";
inline constexpr char kSizeNotPositive[] = "Size must be greater than 0";
inline constexpr char kOutOfMemory[] = "Out of memory";
inline constexpr char kWindowTooLong[] =
    "Window size must not be greater than number of data points";

// "Argument N must be scalar" and its siblings for positions 1 to 10; null
// for another position.
enum class MustBe { kScalar, kVector, kString };
const char* ArgumentMustBe(int position, MustBe kind);

// The character of the call an error refers to, handed to
// MathParser::BackupTo. kNone skips BackupTo (a few handlers report without).
enum class ErrorAt : char {
  kNone = 0,
  kCall = '(',   // the call as a whole
  kComma = ',',  // a later argument
  kClose = ')',  // the end of the call (cat's count)
};

// Reports `message` through MathParser::Error, after BackupTo(at, 1, 0)
// unless `at` is kNone.
void Report(const char* message, ErrorAt at = ErrorAt::kCall);

// Kind tests on the kind code itself. symtab::IsScalar also accepts a
// one-element array, whose number lives in `data`, not in `value`.
inline bool IsNumber(const symtab& v) { return v.type == SYM_SCALAR; }
inline bool IsArray(const symtab& v) { return v.type == SYM_ARRAY; }
inline bool IsNumeric(const symtab& v) { return IsNumber(v) || IsArray(v); }
// A numeric array with at most one row or at most one column; an empty array
// counts as a vector.
inline bool IsVectorLike(const symtab& v) { return IsArray(v) && (v.rows <= 1 || v.cols <= 1); }

// The first string of a kind 3 record, which is what a function that takes a
// string reads; null for every other kind and for an empty list.
inline const char* FirstString(const symtab& v) {
  return v.type == SYM_STRINGS && v.num_strings > 0 && v.str_list != nullptr ? v.str_list[0]
                                                                             : nullptr;
}
// A string record with at least one string; handlers read the first.
inline bool HasString(const symtab& v) { return FirstString(v) != nullptr; }

// x cut toward zero to an integer, as a C conversion would, but defined for
// every double: NaN gives 0 and magnitudes past 2^62 are clamped.
inline long long TruncateToInteger(double x) {
  constexpr double kBound = 4611686018427387904.0;  // 2^62
  if (!(x == x)) return 0;
  if (x >= kBound) return static_cast<long long>(kBound);
  if (x <= -kBound) return -static_cast<long long>(kBound);
  return static_cast<long long>(x);
}

// The numbers a numeric record holds, in row-major order: the scalar's value,
// or all rows x cols array elements. Empty for every other kind.
std::span<double> NumericElements(symtab& v);
inline std::span<const double> NumericElements(const symtab& v) {
  return NumericElements(const_cast<symtab&>(v));
}

// A new anonymous scalar record holding x, for handlers that read their
// arguments without taking them.
symtab* NewScalar(double x);

// Turns any record into a scalar holding x: frees the payload, kind 1,
// rows = cols = 1. Name and flags stay.
void ReduceToScalar(symtab& v, double x);

// The argument list of one call, as a handler reads it. Records taken from the
// list belong to the reader until Release hands one back as the result or
// PutBack returns one to the list; whatever is still held when the reader goes
// out of scope is freed. Reports go through Report, after BackupTo(at). Only
// size and HasCount may be used on a missing list.
class Args {
 public:
  explicit Args(sym_list* list) : list_(list) {}
  Args(const Args&) = delete;
  Args& operator=(const Args&) = delete;
  ~Args();

  // The number of arguments; 0 for a missing list.
  int size() const { return list_ != nullptr ? list_->count : 0; }

  // True when min <= size() <= max; otherwise reports "Invalid number of
  // arguments" and leaves the list untouched.
  bool HasCount(int min, int max, ErrorAt at = ErrorAt::kCall) const;
  bool HasCount(int count, ErrorAt at = ErrorAt::kCall) const { return HasCount(count, count, at); }

  // The record in slot i, still the list's, read-only (it may be a view of a
  // variable's storage); null for an empty slot.
  const symtab* Peek(int i) const { return list_->args[i]; }

  // Takes slot i (the slot becomes null) and makes the record anonymous, since
  // a result must never look like the variable it came from. A view of a
  // variable's array becomes a copy the reader owns. Null for an empty slot.
  symtab* Take(int i);
  // Takes slot i and returns it when `accepts` holds for it; otherwise reports
  // `message` and returns null (a record in the slot stays taken and is freed
  // with the reader).
  symtab* Take(int i, bool (*accepts)(const symtab&), const char* message,
               ErrorAt at = ErrorAt::kCall);
  // True when slot i holds a record for which `accepts` holds; otherwise
  // reports `message`. The slot stays the list's either way.
  bool Check(int i, bool (*accepts)(const symtab&), const char* message,
             ErrorAt at = ErrorAt::kCall) const;

  // Hands a taken record (or any record, or null) to the caller: the result.
  symtab* Release(symtab* v);
  // Gives a taken record back to the list in slot i (empty), for the caller to
  // free with the list.
  void PutBack(int i, symtab* v);

  // Reports `message` and returns null; the taken records are freed with the
  // reader. For `return args.Fail(kInvalidArgType);`.
  symtab* Fail(const char* message, ErrorAt at = ErrorAt::kCall) const;

 private:
  void Forget(const symtab* v);

  sym_list* list_;
  // Most handlers take one record or two; more spill into the vector.
  static constexpr int kInline = 4;
  symtab* taken_[kInline] = {};
  int num_taken_ = 0;
  std::vector<symtab*> more_taken_;
};

// How an element-wise built-in answers bad input. Each family owes its own
// answer, and hosts tell the answers apart, so each is a choice here.
enum class BadElement {
  kFree,         // the record is freed and null returned
  kKeepPartial,  // an array comes back converted up to the bad element
};
enum class WrongKind {
  kFree,    // the record is freed and null returned
  kReturn,  // the record itself comes back, unfreed
};
struct ElementwiseErrors {
  BadElement bad_element = BadElement::kFree;
  WrongKind wrong_kind = WrongKind::kFree;
  ErrorAt at = ErrorAt::kCall;  // for every report, the count's included
};

// The applier behind the one-argument element-wise built-ins: exactly one
// argument, taken and made anonymous; a scalar or every element of a numeric
// array replaced by F in place, in row-major order. Errors: a wrong count
// returns null; another kind reports "Invalid argument type"; a number for
// which InDomain (when given) fails reports "Domain violation" with nothing
// converted from it on; the record's fate follows E.
template <double (*F)(double), ElementwiseErrors E, bool (*InDomain)(double) = nullptr>
symtab* Elementwise(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, E.at)) return nullptr;
  symtab* v = args.Take(0);
  if (v == nullptr || !IsNumeric(*v)) {
    if constexpr (E.wrong_kind == WrongKind::kReturn) {
      Report(kInvalidArgType, E.at);
      return args.Release(v);
    }
    return args.Fail(kInvalidArgType, E.at);
  }
  // Find the first number outside the domain, then convert the ones before it
  // in one loop the compiler can vectorise.
  std::span<double> xs = NumericElements(*v);
  std::size_t bad = xs.size();
  if constexpr (InDomain != nullptr) {
    bool all = true;
    for (double x : xs) all &= InDomain(x);
    if (!all)
      for (bad = 0; bad < xs.size() && InDomain(xs[bad]); ++bad) {
      }
  }
  double* d = xs.data();
  for (std::size_t i = 0; i < bad; ++i) d[i] = F(d[i]);
  if (bad == xs.size()) return args.Release(v);
  if (E.bad_element == BadElement::kKeepPartial && IsArray(*v)) {
    Report(kDomainViolation, E.at);
    return args.Release(v);
  }
  return args.Fail(kDomainViolation, E.at);
}

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_BUILTIN_SUPPORT_H
