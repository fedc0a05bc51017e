// Polynomials: evaluation (polyval, ascending coefficients) and roots
// (polyrootsreal, polyrootsimag: coefficients from the highest power down,
// as eigenvalues of the companion matrix).
#include <algorithm>
#include <complex>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include <Eigen/Dense>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "numerics/polynomial_fit.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::IsVectorLike;
using builtins::MustBe;
using builtins::NumericElements;

constexpr char kEigensolverFailed[] = "Eigensolver failed.";
// The companion matrix is dense and its eigenvalues cost O(n^3): past this
// degree the work would run for minutes.
constexpr std::size_t kMaxRootsDegree = 500;

bool IsNumberOrVector(const symtab& v) { return IsNumber(v) || IsVectorLike(v); }

symtab* PolyVal(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  symtab* x = args.Take(0, IsNumeric, ArgumentMustBe(1, MustBe::kVector));
  if (x == nullptr || !args.Check(1, IsNumberOrVector, ArgumentMustBe(2, MustBe::kVector)))
    return nullptr;
  std::span<const double> c = NumericElements(*args.Peek(1));
  std::span<double> xs = NumericElements(*x);
  numerics::PolyEvaluate(c.data(), c.size(), xs.data(), xs.data(), xs.size());
  return args.Release(x);
}

// The roots of the polynomial, sorted by real part and then imaginary part,
// both descending, so that the two handlers pair up element by element.
template <bool Imaginary>
symtab* PolyRoots(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0, IsNumberOrVector, ArgumentMustBe(1, MustBe::kVector));
  if (v == nullptr) return nullptr;
  std::span<const double> c = NumericElements(*v);
  // Leading zeros lower the degree; they are not coefficients.
  std::size_t lead = 0;
  while (lead < c.size() && c[lead] == 0.0) ++lead;
  const std::size_t degree = lead < c.size() ? c.size() - lead - 1 : 0;
  if (degree > kMaxRootsDegree)
    return args.Fail(
        ("polynomial degree too large (limit " + std::to_string(kMaxRootsDegree) + ")").c_str());
  std::vector<std::complex<double>> roots;
  if (degree > 0) {
    const Eigen::Index n = static_cast<Eigen::Index>(degree);
    Eigen::MatrixXd companion = Eigen::MatrixXd::Zero(n, n);
    for (Eigen::Index j = 0; j < n; ++j) companion(0, j) = -c[lead + 1 + j] / c[lead];
    for (Eigen::Index i = 1; i < n; ++i) companion(i, i - 1) = 1.0;
    if (!companion.allFinite()) return args.Fail(kEigensolverFailed);
    Eigen::EigenSolver<Eigen::MatrixXd> solver(companion, /*computeEigenvectors=*/false);
    if (solver.info() != Eigen::Success) return args.Fail(kEigensolverFailed);
    for (Eigen::Index k = 0; k < n; ++k) roots.push_back(solver.eigenvalues()(k));
  }
  // Finite values only, so the comparison is a strict weak ordering.
  std::sort(roots.begin(), roots.end(), [](const auto& a, const auto& b) {
    return a.real() != b.real() ? a.real() > b.real() : a.imag() > b.imag();
  });
  double* out = v->SetArray(static_cast<int>(roots.size()), 1);
  for (std::size_t k = 0; k < roots.size(); ++k)
    out[k] = Imaginary ? roots[k].imag() : roots[k].real();
  return args.Release(v);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kPolynomialBuiltins[] = {
    {"polyrootsimag", PolyRoots<true>,  1, kNone, nullptr,
     "polyrootsimag(c)", "imaginary parts of the roots of the polynomial with coefficients c "
     "(highest power first), a column", "polyrootsimag({1, 0, 1})"},
    {"polyrootsreal", PolyRoots<false>, 1, kNone, nullptr,
     "polyrootsreal(c)", "real parts of the roots of the polynomial with coefficients c "
     "(highest power first), a column, largest first", "polyrootsreal({1, -6, 11, -6})"},
    {"polyval",       PolyVal,          2, kNone, nullptr,
     "polyval(x, c)", "c[0] + c[1] x + c[2] x^2 + ... at every element of x",
     "polyval(2, {1, 2, 3})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> PolynomialBuiltins() { return kPolynomialBuiltins; }

}  // namespace quorvix
