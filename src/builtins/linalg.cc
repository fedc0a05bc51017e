// Linear-algebra built-ins: inverse, determinant and the eigen family.
//
// A kind-1 scalar is treated as a 1 x 1 matrix everywhere except inverse,
// which takes 1 / x without a check so that inverse(0) is infinity.
// Eigenvalues come back as an n x 1 column vector, eigenvectors as an n x n
// matrix with one unit-norm eigenvector per column; both in the solver's
// order, which is the same for the value and the vector handlers.
#include <cstddef>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "numerics/eigen.h"
#include "quorvix/linalg.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::kInvalidArgType;
using builtins::kMatrixNotSquare;
using builtins::ReduceToScalar;

constexpr char kMatrixSingular[] = "Matrix is singular";
constexpr char kEigensolverFailed[] = "Eigensolver failed.";

// Takes the single argument and checks that it is a square numeric value.
// Returns null after reporting.
symtab* TakeSquare(Args& args) {
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0, IsNumeric, kInvalidArgType);
  if (v != nullptr && IsArray(*v) && v->rows != v->cols) return args.Fail(kMatrixNotSquare);
  return v;
}

symtab* Inverse(sym_list* list) {
  Args args(list);
  symtab* v = TakeSquare(args);
  if (v == nullptr) return nullptr;
  if (IsNumber(*v)) {
    v->value = 1.0 / v->value;
    return args.Release(v);
  }
  if (v->rows == 0) return args.Release(v);
  // mtxinverse leaves the input factored, so it may work on the record's own
  // data, which is replaced by the result anyway.
  double* inverse = mtxinverse(v->data, v->rows);
  if (inverse == nullptr) return args.Fail(kMatrixSingular);
  delete[] v->data;
  v->data = inverse;
  return args.Release(v);
}

symtab* Determinant(sym_list* list) {
  Args args(list);
  symtab* v = TakeSquare(args);
  if (v == nullptr) return nullptr;
  if (IsNumber(*v)) return args.Release(v);
  int n = v->rows;
  std::vector<int> indx(static_cast<std::size_t>(n));
  double det = 0.0;
  if (ludcmp(v->data, n, indx.data(), &det) == 0) {
    for (int i = 0; i < n; ++i) det *= v->data[static_cast<std::size_t>(i) * n + i];
  } else {
    det = 0.0;
  }
  ReduceToScalar(*v, det);
  return args.Release(v);
}

// Which part of the decomposition a handler returns.
enum class EigenPart { kValuesReal, kValuesImag, kVectorsReal, kVectorsImag };

template <EigenPart Part>
symtab* EigenHandler(sym_list* list) {
  Args args(list);
  symtab* v = TakeSquare(args);
  if (v == nullptr) return nullptr;
  int n = IsNumber(*v) ? 1 : v->rows;
  const double* a = IsNumber(*v) ? &v->value : v->data;
  numerics::EigenDecomposition eigen;
  if (!eigen.Compute(a, n)) return args.Fail(kEigensolverFailed);

  const std::vector<double>* source = nullptr;
  int cols = 1;
  switch (Part) {
    case EigenPart::kValuesReal:
      source = &eigen.values_real();
      break;
    case EigenPart::kValuesImag:
      source = &eigen.values_imag();
      break;
    case EigenPart::kVectorsReal:
      source = &eigen.vectors_real();
      cols = n;
      break;
    case EigenPart::kVectorsImag:
      source = &eigen.vectors_imag();
      cols = n;
      break;
  }
  double* out = v->SetArray(n, cols);
  for (std::size_t i = 0; i < source->size(); ++i) out[i] = (*source)[i];
  return args.Release(v);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kLinalgBuiltins[] = {
    {"determinant", Determinant,                           1, kNone, nullptr,
     "determinant(m)", "determinant of the square matrix m", "determinant({{2, 1}, {1, 3}})"},
    {"eigvalimag",  EigenHandler<EigenPart::kValuesImag>,  1, kNone, nullptr,
     "eigvalimag(m)", "imaginary parts of the eigenvalues of m, a column",
     "eigvalimag({{0, -1}, {1, 0}})"},
    {"eigvalreal",  EigenHandler<EigenPart::kValuesReal>,  1, kNone, nullptr,
     "eigvalreal(m)", "real parts of the eigenvalues of m, a column",
     "eigvalreal({{2, 1}, {1, 2}})"},
    {"eigvecimag",  EigenHandler<EigenPart::kVectorsImag>, 1, kNone, nullptr,
     "eigvecimag(m)", "imaginary parts of the unit eigenvectors of m, one a column",
     "eigvecimag({{0, -1}, {1, 0}})"},
    {"eigvecreal",  EigenHandler<EigenPart::kVectorsReal>, 1, kNone, nullptr,
     "eigvecreal(m)", "real parts of the unit eigenvectors of m, one a column",
     "eigvecreal({{2, 1}, {1, 2}})"},
    {"inverse",     Inverse,                               1, kNone, nullptr,
     "inverse(m)", "inverse of the square matrix m; of a scalar x, 1 / x",
     "inverse({{4, 7}, {2, 6}})"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> LinalgBuiltins() { return kLinalgBuiltins; }

}  // namespace quorvix
