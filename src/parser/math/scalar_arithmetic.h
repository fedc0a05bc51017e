// The arithmetic of the scalar paths, written once for the tree's scalar
// evaluation and the compiled program. Each operation either gives the
// double the general value operations would give, or false where those
// take another route (a report, a complex case), so that the caller can
// hand the work to the general path.
#ifndef QUORVIX_PARSER_MATH_SCALAR_ARITHMETIC_H
#define QUORVIX_PARSER_MATH_SCALAR_ARITHMETIC_H

#include <cmath>

#include "values/value_ops.h"

namespace MathParser_NS {

inline bool ScalarDivide(double l, double r, double& out) {
  if (r == 0.0) return false;
  out = l / r;
  return true;
}

inline bool ScalarPower(double l, double r, double& out) {
  if (r == 2.0) {
    out = l * l;
    return true;
  }
  if ((l < 0.0 && std::fabs(r) < 1.0 && r != 0.0) || (l == 0.0 && r < 0.0)) return false;
  out = std::pow(l, r);
  return true;
}

// 1 or 0 for the relation bits (quorvix::ops::kLess, kEqual, kGreater).
inline double ScalarCompare(unsigned relation, double l, double r) {
  const unsigned rel = l < r    ? quorvix::ops::kLess
                       : l > r  ? quorvix::ops::kGreater
                       : l == r ? quorvix::ops::kEqual
                                : 0u;
  // NaN stands in no relation, so only "!=" holds for it.
  if (rel == 0u) return relation == (quorvix::ops::kLess | quorvix::ops::kGreater) ? 1.0 : 0.0;
  return (relation & rel) != 0 ? 1.0 : 0.0;
}

}  // namespace MathParser_NS

#endif
