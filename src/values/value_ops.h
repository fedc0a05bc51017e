// Operator semantics on value records. Every operation works in place: the
// left record becomes the result and the right one may be consumed (its
// arrays moved into the result, or used as scratch). On failure an operation
// reports its message through the error sink and returns false; the left
// record is then valid but unspecified, and the caller releases both. Left
// and right must be distinct records (right division factors the right's
// storage in place).
//
// "Scalar" in the arithmetic operations means kind 1 only; comparisons and
// logical operations also accept a one-element array as a scalar.
// Names and the shared/frozen flags of the left record are never touched.
#ifndef QUORVIX_VALUES_VALUE_OPS_H
#define QUORVIX_VALUES_VALUE_OPS_H

#include <cstddef>

#include "quorvix/symtab.h"

namespace quorvix::ops {

// Where the operations report their failures. The expression service
// installs its error function here; the value layer cannot name it.
using ErrorSink = void (*)(const char* message);
void SetErrorSink(ErrorSink sink);
// Reports through the sink.
void ReportError(const char* message);

bool Add(symtab& left, symtab& right);
bool Subtract(symtab& left, symtab& right);
bool Multiply(symtab& left, symtab& right);
bool Divide(symtab& left, symtab& right);
bool Modulus(symtab& left, symtab& right);
bool Power(symtab& left, symtab& right);

bool Negate(symtab& v);
bool Transpose(symtab& v);
bool Dot(symtab& left, symtab& right);
bool Cross(symtab& left, symtab& right);

// Relation flags for Compare; combinations give <=, >=, !=.
enum Relation : unsigned { kLess = 1, kEqual = 2, kGreater = 4 };
// left becomes 1.0/0.0, or an array of them for an array against a scalar.
// Two string lists compare lexicographically (strcmp per string, then count).
bool Compare(symtab& left, symtab& right, unsigned relation);
// Full (non-short-circuited) logical operations; non-zero is true.
bool LogicalAnd(symtab& left, symtab& right);
bool LogicalOr(symtab& left, symtab& right);
bool LogicalNot(symtab& v);

// Room AppendNumber needs behind the text already in the buffer.
inline constexpr std::size_t kNumberTextRoom = 33;
// Number-to-text rule used when a number meets a string: "%d" for integral
// values of magnitude below 2147483647, "%g" otherwise. Appends to the
// zero-terminated text in `buffer`, which must have kNumberTextRoom bytes free.
void AppendNumber(char* buffer, double x);

// Building blocks shared by the operation units. Not for other callers.
namespace detail {

// Reports `msg` through the error sink; returns false for `return Fail(..)`.
bool Fail(const char* msg);

inline bool IsNumeric(const symtab& v) { return v.type == SYM_SCALAR || v.type == SYM_ARRAY; }
inline std::size_t Count(const symtab& v) {
  return static_cast<std::size_t>(v.rows) * static_cast<std::size_t>(v.cols);
}
inline bool SameShape(const symtab& a, const symtab& b) {
  return a.rows == b.rows && a.cols == b.cols;
}

// Moves src's array (kind 2) into dst, freeing dst's payload; src is left
// empty (kind 0). Names stay where they are.
void AdoptArray(symtab& dst, symtab& src);
// Same for a string list (kind 3).
void AdoptStrings(symtab& dst, symtab& src);

inline constexpr const char* kIncompatible = "Operands do not have compatible dimensions";

// Element-wise numeric applier for the pairs scalar/scalar, array/scalar,
// scalar/array (the right's array is moved into the left and computed in
// place) and array/array of equal shape. `op(a, b, ok)` returns the element
// and clears `ok` when the pair is invalid; `op_error` is then reported.
// Any other kind pair reports `type_error`.
template <class Op>
bool ApplyNumeric(symtab& left, symtab& right, Op op, const char* op_error,
                  const char* type_error) {
  if (!IsNumeric(left) || !IsNumeric(right)) return Fail(type_error);
  bool ok = true;
  if (left.type == SYM_SCALAR && right.type == SYM_SCALAR) {
    left.value = op(left.value, right.value, ok);
  } else if (right.type == SYM_SCALAR) {
    const double b = right.value;
    double* d = left.data;
    for (std::size_t i = 0, n = Count(left); i < n; ++i) d[i] = op(d[i], b, ok);
  } else if (left.type == SYM_SCALAR) {
    const double a = left.value;
    AdoptArray(left, right);
    double* d = left.data;
    for (std::size_t i = 0, n = Count(left); i < n; ++i) d[i] = op(a, d[i], ok);
  } else {
    if (!SameShape(left, right)) return Fail(kIncompatible);
    double* d = left.data;
    const double* e = right.data;
    for (std::size_t i = 0, n = Count(left); i < n; ++i) d[i] = op(d[i], e[i], ok);
  }
  return ok || Fail(op_error);
}

// Applies the string rules of addition and subtraction (the left or the
// right is a string list).
bool AddStrings(symtab& left, symtab& right);
bool SubtractStrings(symtab& left, symtab& right);

}  // namespace detail
}  // namespace quorvix::ops

#endif
