// Helpers shared by every built-in handler.
//
// A handler receives the evaluated arguments in a sym_list and returns one
// record, or null after reporting an error. The helpers below carry out the
// steps every handler repeats: check the argument count, take the argument
// that becomes the result (the list keeps owning whatever is not taken),
// report an error and free what was taken, and map a function over the
// elements of a numeric value in place.
#ifndef QUORVIX_BUILTINS_BUILTIN_SUPPORT_H
#define QUORVIX_BUILTINS_BUILTIN_SUPPORT_H

#include <span>

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
inline constexpr char kValueOutOfRange[] = "Value out of range";
inline constexpr char kIndexOutOfRange[] = "Index out of range";
inline constexpr char kSizeNotPositive[] = "Size must be greater than 0";
inline constexpr char kOutOfMemory[] = "Out of memory";
// Three wordings of the same complaint; each family keeps its own.
inline constexpr char kSameNumberOfElements[] = "Vectors must have the same number of elements";
inline constexpr char kSameNumberOfPointsShort[] = "Vectors must have same number of points";
inline constexpr char kSameNumberOfPoints[] = "Vectors must have the same number of points";

// The character of the call an error refers to, handed to
// MathParser::BackupTo. kNone skips BackupTo (a few handlers report without).
enum class ErrorAt : char {
  kNone = 0,
  kCall = '(',          // the call as a whole
  kLaterArgument = ',', // an argument after the first
  kCallEnd = ')',
};

// Reports `message` through MathParser::Error, after BackupTo(at, 1, 0)
// unless `at` is kNone.
void Report(const char* message, ErrorAt at = ErrorAt::kCall);

// Reports `message`, deletes `taken` (may be null) and returns null, so a
// handler can write `return Fail(v, kInvalidArgType);`.
symtab* Fail(symtab* taken, const char* message, ErrorAt at = ErrorAt::kCall);

// True when min <= args->count <= max; otherwise reports
// "Invalid number of arguments" and leaves the list untouched.
bool HasArgCount(const sym_list* args, int min, int max, ErrorAt at = ErrorAt::kCall);
inline bool HasArgCount(const sym_list* args, int count) {
  return HasArgCount(args, count, count);
}

// Takes ownership of slot i (the slot becomes null) and makes the record
// anonymous, since a result must never look like the variable it came from.
symtab* TakeArg(sym_list* args, int i);

// Position messages "Argument N must be ...". Positions 1 to 10 have their
// own literal; any other position yields "Invalid argument type".
enum class ArgKind {
  kScalar,    // "must be scalar"
  kVector,    // "must be vector"
  kString,    // "must be string"
  kPositive,  // "must be positive"
  kAScalar,   // "must be a scalar"
  kAVector,   // "must be a vector"
  kAString,   // "must be a string"
};
const char* ArgumentMessage(int position, ArgKind kind);

// Kind tests on the kind code itself. symtab::IsScalar also accepts a
// one-element array, whose number lives in `data`, not in `value`.
inline bool IsNumber(const symtab& v) { return v.type == SYM_SCALAR; }
inline bool IsArray(const symtab& v) { return v.type == SYM_ARRAY; }
inline bool IsNumeric(const symtab& v) { return IsNumber(v) || IsArray(v); }
// A numeric array with at most one row or at most one column; an empty array
// counts as a vector.
inline bool IsVectorLike(const symtab& v) {
  return IsArray(v) && (v.rows <= 1 || v.cols <= 1);
}

// The numbers a numeric record holds, in row-major order: the scalar's value,
// or all rows x cols array elements. Empty for every other kind.
std::span<double> NumericElements(symtab& v);

// Turns any record into a scalar holding x: frees the payload, kind 1,
// rows = cols = 1. Name and flags stay.
void ReduceToScalar(symtab& v, double x);

// The element-wise applier behind the thin one-argument wrappers (sin, cos,
// exp, ...): exactly one argument, taken and made anonymous, every number
// replaced by f(number) in place. Reports without BackupTo. A wrong count
// returns null; a kind other than scalar or numeric array reports
// "Invalid argument type" and returns the taken record itself, not freed.
symtab* ApplyElementwise(sym_list* args, double (*f)(double));

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_BUILTIN_SUPPORT_H
