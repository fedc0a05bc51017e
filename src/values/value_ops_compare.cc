// Comparisons and logical operations: each gives 1.0 or 0.0, element by
// element when an array meets a scalar.
#include <algorithm>
#include <cstring>
#include <functional>

#include "values/value_ops.h"

namespace quorvix::ops {

using detail::Count;
using detail::Fail;
using detail::IsNumeric;

namespace {

inline double Truth(bool b) { return b ? 1.0 : 0.0; }

// Callers have checked the kind; a one-element array stands for its element.
inline double ScalarOf(const symtab& v) { return v.type == SYM_SCALAR ? v.value : v.data[0]; }

// Element-wise truth of pred over two numeric operands, at least one of them
// a scalar. The result takes the array operand's shape; when the array is on
// the right its storage is moved into the left and overwritten.
template <class Pred>
bool ApplyTruth(symtab& left, symtab& right, Pred pred) {
  if (!IsNumeric(left)) return Fail("Invalid left hand side");
  if (!IsNumeric(right)) return Fail("Invalid right hand side");
  const bool left_scalar = left.IsScalar();
  const bool right_scalar = right.IsScalar();
  if (left_scalar && right_scalar) {
    left.SetScalar(Truth(pred(ScalarOf(left), ScalarOf(right))));
  } else if (right_scalar) {
    const double b = ScalarOf(right);
    double* d = left.data;
    for (std::size_t i = 0, n = Count(left); i < n; ++i) d[i] = Truth(pred(d[i], b));
  } else if (left_scalar) {
    const double a = ScalarOf(left);
    detail::AdoptArray(left, right);
    double* d = left.data;
    for (std::size_t i = 0, n = Count(left); i < n; ++i) d[i] = Truth(pred(a, d[i]));
  } else {
    return Fail("At least one operand must be a scalar");
  }
  return true;
}

// Calls f with the comparison functor for a set of relation flags, so that
// the element loops are instantiated per relation instead of testing the
// flags for every element.
template <class F>
bool WithRelation(unsigned relation, F f) {
  switch (relation & (kLess | kEqual | kGreater)) {
    case kLess:
      return f(std::less<double>());
    case kEqual:
      return f(std::equal_to<double>());
    case kGreater:
      return f(std::greater<double>());
    case kLess | kEqual:
      return f(std::less_equal<double>());
    case kGreater | kEqual:
      return f(std::greater_equal<double>());
    case kLess | kGreater:
      return f(std::not_equal_to<double>());
    case kLess | kEqual | kGreater:
      return f([](double, double) { return true; });
    default:
      return f([](double, double) { return false; });
  }
}

// Lexicographic order of two string lists: string by string, then by count.
int CompareLists(const symtab& a, const symtab& b) {
  const int n = std::min(a.num_strings, b.num_strings);
  for (int i = 0; i < n; ++i) {
    const int c = std::strcmp(a.str_list[i], b.str_list[i]);
    if (c != 0) return c;
  }
  return (a.num_strings > b.num_strings) - (a.num_strings < b.num_strings);
}

}  // namespace

bool Compare(symtab& left, symtab& right, unsigned relation) {
  return WithRelation(relation, [&](auto pred) {
    if (left.type == SYM_STRINGS && right.type == SYM_STRINGS) {
      left.SetScalar(Truth(pred(CompareLists(left, right), 0)));
      return true;
    }
    return ApplyTruth(left, right, pred);
  });
}

bool LogicalAnd(symtab& left, symtab& right) {
  return ApplyTruth(left, right, [](double a, double b) { return a != 0.0 && b != 0.0; });
}

bool LogicalOr(symtab& left, symtab& right) {
  return ApplyTruth(left, right, [](double a, double b) { return a != 0.0 || b != 0.0; });
}

bool LogicalNot(symtab& v) {
  if (!IsNumeric(v)) return Fail("Invalid right hand side");
  if (v.IsScalar()) {
    v.SetScalar(Truth(ScalarOf(v) == 0.0));
    return true;
  }
  for (std::size_t i = 0, n = Count(v); i < n; ++i) v.data[i] = Truth(v.data[i] == 0.0);
  return true;
}

}  // namespace quorvix::ops
