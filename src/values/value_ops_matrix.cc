// Products and division: scaling, the matrix product, right matrix
// division, transposition, and the dot and cross products.
#include <memory>
#include <utility>

#include "numerics/matrix_product.h"
#include "quorvix/linalg.h"
#include "util/run_budget.h"
#include "values/value_limits.h"
#include "values/value_ops.h"

namespace quorvix::ops {

using detail::ApplyNumeric;
using detail::Count;
using detail::Fail;
using detail::kIncompatible;

namespace {

// left (r x k) times b (k x c), row-major, into left. A 1 x 1 result is a
// scalar, summed in order of p. Larger products run on Eigen's blocked
// kernels. False (reported) when the result would pass the element limit.
bool MatrixProduct(symtab& left, const double* b, int k, int c) {
  const int r = left.rows;
  const double* a = left.data;
  if (r == 1 && c == 1) {
    double sum = 0.0;
    for (int p = 0; p < k; ++p) sum += a[p] * b[p];
    left.SetScalar(sum);
    return true;
  }
  if (!CheckedElementCount(r, c)) return false;
  symtab product;
  numerics::MatrixProduct(a, b, product.SetArray(r, c), r, k, c);
  detail::AdoptArray(left, product);
  return true;
}

}  // namespace

bool Multiply(symtab& left, symtab& right) {
  if (left.type == SYM_ARRAY && right.type == SYM_ARRAY) {
    if (left.cols != right.rows) return Fail(kIncompatible);
    return MatrixProduct(left, right.data, right.rows, right.cols);
  }
  return ApplyNumeric(
      left, right, [](double a, double b, bool&) { return a * b; }, nullptr,
      "Invalid multiplication type");
}

bool Divide(symtab& left, symtab& right) {
  if (left.type == SYM_ARRAY && right.type == SYM_ARRAY) {
    const int n = right.rows;
    if (right.cols != n || left.cols != n) return Fail(kIncompatible);
    if (n == 0) return Fail("Right hand side is not invertible");
    // The kernel factors its input in place; the right operand is ours to use.
    std::unique_ptr<double[]> inverse(mtxinverse(right.data, n));
    if (!inverse) return Fail("Right hand side is not invertible");
    return MatrixProduct(left, inverse.get(), n, n);
  }
  return ApplyNumeric(
      left, right,
      [](double a, double b, bool& ok) {
        ok &= b != 0.0;
        return a / b;
      },
      "Divide by zero", "Invalid division type");
}

bool Transpose(symtab& v) {
  if (v.type == SYM_SCALAR) return true;
  if (v.type == SYM_STRINGS) return Fail("Transpose operator is invalid for string variables");
  if (v.type != SYM_ARRAY) return Fail("Invalid left hand side");
  const int r = v.rows;
  const int c = v.cols;
  if (r > 1 && c > 1) {
    if (r == c) {
      for (int i = 0; i < r; ++i)
        for (int j = i + 1; j < c; ++j)
          std::swap(v.data[static_cast<std::size_t>(i) * c + j],
                    v.data[static_cast<std::size_t>(j) * c + i]);
    } else {
      symtab t;
      double* out = t.SetArray(c, r);
      for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j)
          out[static_cast<std::size_t>(j) * r + i] = v.data[static_cast<std::size_t>(i) * c + j];
      detail::AdoptArray(v, t);
    }
  }
  // A vector's elements keep their order; only the shape turns.
  v.rows = c;
  v.cols = r;
  return true;
}

bool Dot(symtab& left, symtab& right) {
  if (!left.IsVector()) return Fail("Operand 1 must be vector");
  if (!right.IsVector()) return Fail("Operand 2 must be vector");
  if (Count(left) != Count(right)) return Fail(kIncompatible);
  double sum = 0.0;
  for (std::size_t i = 0, n = Count(left); i < n; ++i) sum += left.data[i] * right.data[i];
  left.SetScalar(sum);
  return true;
}

bool Cross(symtab& left, symtab& right) {
  if (left.type != SYM_ARRAY || Count(left) != 3) return Fail("Operand 1 must have 3 elements");
  if (right.type != SYM_ARRAY || Count(right) != 3) return Fail("Operand 2 must have 3 elements");
  const double* a = left.data;
  const double* b = right.data;
  const double x = a[1] * b[2] - a[2] * b[1];
  const double y = a[2] * b[0] - a[0] * b[2];
  const double z = a[0] * b[1] - a[1] * b[0];
  left.data[0] = x;
  left.data[1] = y;
  left.data[2] = z;
  return true;
}

}  // namespace quorvix::ops
