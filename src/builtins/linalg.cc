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

using builtins::Fail;
using builtins::HasArgCount;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::kInvalidArgType;
using builtins::kMatrixNotSquare;
using builtins::ReduceToScalar;
using builtins::TakeArg;

constexpr char kMatrixSingular[] = "Matrix is singular";
constexpr char kEigensolverFailed[] = "Eigensolver failed.";

// Takes the single argument and checks that it is a square numeric value.
// Returns null after reporting; the taken record is then already freed.
symtab* TakeSquare(sym_list* args) {
  if (!HasArgCount(args, 1)) return nullptr;
  symtab* v = TakeArg(args, 0);
  if (v == nullptr || !IsNumeric(*v)) return Fail(v, kInvalidArgType);
  if (IsArray(*v) && v->rows != v->cols) return Fail(v, kMatrixNotSquare);
  return v;
}

symtab* Inverse(sym_list* args) {
  symtab* v = TakeSquare(args);
  if (v == nullptr) return nullptr;
  if (IsNumber(*v)) {
    v->value = 1.0 / v->value;
    return v;
  }
  if (v->rows == 0) return v;
  // mtxinverse leaves the input factored, so it may work on the record's own
  // data, which is replaced by the result anyway.
  double* inverse = mtxinverse(v->data, v->rows);
  if (inverse == nullptr) return Fail(v, kMatrixSingular);
  delete[] v->data;
  v->data = inverse;
  return v;
}

symtab* Determinant(sym_list* args) {
  symtab* v = TakeSquare(args);
  if (v == nullptr) return nullptr;
  if (IsNumber(*v)) return v;
  int n = v->rows;
  std::vector<int> indx(static_cast<std::size_t>(n));
  double det = 0.0;
  if (ludcmp(v->data, n, indx.data(), &det) == 0) {
    for (int i = 0; i < n; ++i) det *= v->data[static_cast<std::size_t>(i) * n + i];
  } else {
    det = 0.0;
  }
  ReduceToScalar(*v, det);
  return v;
}

// Which part of the decomposition a handler returns.
enum class EigenPart { kValuesReal, kValuesImag, kVectorsReal, kVectorsImag };

template <EigenPart Part>
symtab* EigenHandler(sym_list* args) {
  symtab* v = TakeSquare(args);
  if (v == nullptr) return nullptr;
  int n = IsNumber(*v) ? 1 : v->rows;
  const double* a = IsNumber(*v) ? &v->value : v->data;
  numerics::EigenDecomposition eigen;
  if (!eigen.Compute(a, n)) return Fail(v, kEigensolverFailed);

  const std::vector<double>* source = nullptr;
  int cols = 1;
  switch (Part) {
    case EigenPart::kValuesReal: source = &eigen.values_real(); break;
    case EigenPart::kValuesImag: source = &eigen.values_imag(); break;
    case EigenPart::kVectorsReal: source = &eigen.vectors_real(); cols = n; break;
    case EigenPart::kVectorsImag: source = &eigen.vectors_imag(); cols = n; break;
  }
  double* out = v->SetArray(n, cols);
  for (std::size_t i = 0; i < source->size(); ++i) out[i] = (*source)[i];
  return v;
}

constexpr BuiltinEntry kLinalgBuiltins[] = {
    {"determinant", Determinant, 1},
    {"eigvalimag", EigenHandler<EigenPart::kValuesImag>, 1},
    {"eigvalreal", EigenHandler<EigenPart::kValuesReal>, 1},
    {"eigvecimag", EigenHandler<EigenPart::kVectorsImag>, 1},
    {"eigvecreal", EigenHandler<EigenPart::kVectorsReal>, 1},
    {"inverse", Inverse, 1},
};

}  // namespace

std::span<const BuiltinEntry> LinalgBuiltins() { return kLinalgBuiltins; }

}  // namespace quorvix
