// Elementary math built-ins: trigonometric, hyperbolic, exponential and
// logarithmic functions, rounding, angle conversion, magnitude and counts.
#include <cmath>
#include <cstddef>
#include <span>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"

namespace quorvix {
namespace {

using builtins::Fail;
using builtins::HasArgCount;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::IsVectorLike;
using builtins::kDomainViolation;
using builtins::kInvalidArgType;
using builtins::NumericElements;
using builtins::ReduceToScalar;
using builtins::TakeArg;

// ---- Functions with their own domain checks --------------------------------

using RealFunction = double (*)(double);
using DomainTest = bool (*)(double);

// What a domain violation inside an array does. The logarithms and sqrt hand
// back the array converted up to the bad element; the arc functions drop it.
enum class ArrayViolation { kFree, kKeepPartial };

symtab* ApplyChecked(sym_list* args, RealFunction f, DomainTest in_domain,
                     ArrayViolation on_array_violation) {
  if (!HasArgCount(args, 1)) return nullptr;
  symtab* v = TakeArg(args, 0);
  if (v == nullptr || !IsNumeric(*v)) return Fail(v, kInvalidArgType);
  for (double& x : NumericElements(*v)) {
    if (in_domain != nullptr && !in_domain(x)) {
      if (IsArray(*v) && on_array_violation == ArrayViolation::kKeepPartial) {
        builtins::Report(kDomainViolation);
        return v;
      }
      return Fail(v, kDomainViolation);
    }
    x = f(x);
  }
  return v;
}

template <RealFunction F, DomainTest InDomain = nullptr,
          ArrayViolation OnArray = ArrayViolation::kFree>
symtab* Checked(sym_list* args) {
  if (args == nullptr || args->count != 1 || args->args[0] == nullptr ||
      args->args[0]->type != SYM_ARRAY)
    return ApplyChecked(args, F, InDomain, OnArray);
  // Arrays: find the first element outside the domain, then convert the
  // elements before it in one loop the compiler can vectorise.
  symtab* v = TakeArg(args, 0);
  std::span<double> xs = NumericElements(*v);
  std::size_t bad = xs.size();
  if constexpr (InDomain != nullptr) {
    bool all = true;
    for (double x : xs) all &= InDomain(x);
    if (!all)
      for (bad = 0; bad < xs.size() && InDomain(xs[bad]); ++bad) {}
  }
  double* d = xs.data();
  for (std::size_t i = 0; i < bad; ++i) d[i] = F(d[i]);
  if (bad == xs.size()) return v;
  if (OnArray == ArrayViolation::kKeepPartial) {
    builtins::Report(kDomainViolation);
    return v;
  }
  return Fail(v, kDomainViolation);
}

// NaN fails the arc functions' test but passes the others: the comparisons
// are written so that NaN falls on the intended side.
bool WithinUnit(double x) { return std::fabs(x) <= 1.0; }
bool NotNegative(double x) { return !(x < 0.0); }
bool NotNonPositive(double x) { return !(x <= 0.0); }

double Acos(double x) { return std::acos(x); }
double Asin(double x) { return std::asin(x); }
double Atan(double x) { return std::atan(x); }
double Sqrt(double x) { return std::sqrt(x); }
double Log(double x) { return std::log(x); }
double Log10(double x) { return std::log10(x); }
// int rounds toward minus infinity, not toward zero.
double Int(double x) { return std::floor(x); }
// Halves round upward: cint(-2.5) is -2.
double Cint(double x) { return std::floor(x + 0.5); }
double RadToDeg(double x) { return x * 180.0 / (4.0 * std::atan(1.0)); }
double DegToRad(double x) { return 4.0 * std::atan(1.0) * (x / 180.0); }

// ln and log are one handler under two names.
constexpr BuiltinHandler kNaturalLog = Checked<Log, NotNonPositive, ArrayViolation::kKeepPartial>;

// ---- Thin wrappers over the shared applier ---------------------------------

template <RealFunction F>
symtab* Wrapped(sym_list* args) {
  if (args == nullptr || args->count != 1 || args->args[0] == nullptr ||
      args->args[0]->type != SYM_ARRAY)
    return builtins::ApplyElementwise(args, F);
  symtab* v = TakeArg(args, 0);
  for (double& x : NumericElements(*v)) x = F(x);  // inlined, so vectorisable
  return v;
}

double Sin(double x) { return std::sin(x); }
double Cos(double x) { return std::cos(x); }
double Tan(double x) { return std::tan(x); }
double Sinh(double x) { return std::sinh(x); }
double Cosh(double x) { return std::cosh(x); }
double Tanh(double x) { return std::tanh(x); }
double Abs(double x) { return std::fabs(x); }
double Exp(double x) { return std::exp(x); }

// ---- atan2, mag, numpts, maxindex ------------------------------------------

symtab* Atan2(sym_list* args) {
  if (!HasArgCount(args, 2)) return nullptr;
  symtab* y = TakeArg(args, 0);
  if (y == nullptr || !(IsNumber(*y) || IsVectorLike(*y)))
    return Fail(y, builtins::kInvalidTypeArg1);
  const symtab* x = args->args[1];
  if (x == nullptr || !(IsNumber(*x) || IsVectorLike(*x)))
    return Fail(y, builtins::kInvalidTypeArg2);

  if (IsNumber(*y) && IsArray(*x)) {
    // The result lives in x's record; y goes back to the list for the caller
    // to free.
    symtab* result = TakeArg(args, 1);
    args->args[1] = y;
    for (double& e : NumericElements(*result)) e = std::atan2(y->value, e);
    return result;
  }
  if (IsNumber(*x)) {
    for (double& e : NumericElements(*y)) e = std::atan2(e, x->value);
    return y;
  }
  // Two vectors: element by element, and y stays untouched when the lengths
  // disagree.
  std::span<double> ys = NumericElements(*y);
  std::span<double> xs = NumericElements(*args->args[1]);
  if (ys.size() != xs.size()) return y;
  for (std::size_t i = 0; i < ys.size(); ++i) ys[i] = std::atan2(ys[i], xs[i]);
  return y;
}

symtab* Mag(sym_list* args) {
  if (!HasArgCount(args, 1)) return nullptr;
  symtab* v = TakeArg(args, 0);
  if (v == nullptr || !IsNumeric(*v)) return Fail(v, kInvalidArgType);
  if (IsNumber(*v)) {
    v->value = std::fabs(v->value);
    return v;
  }
  double sum = 0.0;
  for (double e : NumericElements(*v)) sum += e * e;
  ReduceToScalar(*v, std::sqrt(sum));
  return v;
}

// numpts and maxindex differ only by the offset added to the count.
template <int Offset>
symtab* CountOf(sym_list* args) {
  if (!HasArgCount(args, 1)) return nullptr;
  symtab* v = TakeArg(args, 0);
  if (v == nullptr) return Fail(nullptr, kInvalidArgType);
  int count = 0;
  switch (v->type) {
    case SYM_SCALAR:
      count = 1;
      break;
    case SYM_ARRAY:
      count = v->rows * v->cols;
      break;
    case SYM_STRINGS:
      // Clear releases the strings but keeps their count.
      v->Clear();
      count = v->num_strings;
      break;
    default:
      return Fail(v, kInvalidArgType);
  }
  ReduceToScalar(*v, static_cast<double>(count + Offset));
  return v;
}

constexpr BuiltinEntry kElementaryBuiltins[] = {
    {"abs", Wrapped<Abs>, 1},
    {"acos", Checked<Acos, WithinUnit>, 1},
    {"asin", Checked<Asin, WithinUnit>, 1},
    {"atan", Checked<Atan>, 1},
    {"atan2", Atan2, 2},
    {"cint", Checked<Cint>, 1},
    {"cos", Wrapped<Cos>, 1},
    {"cosh", Wrapped<Cosh>, 1},
    {"dtor", Checked<DegToRad>, 1},
    {"exp", Wrapped<Exp>, 1},
    {"int", Checked<Int>, 1},
    {"ln", kNaturalLog, 1},
    {"log", kNaturalLog, 1},
    {"log10", Checked<Log10, NotNonPositive, ArrayViolation::kKeepPartial>, 1},
    {"mag", Mag, 1},
    {"maxindex", CountOf<-1>, 1},
    {"numpts", CountOf<0>, 1},
    {"rtod", Checked<RadToDeg>, 1},
    {"sin", Wrapped<Sin>, 1},
    {"sinh", Wrapped<Sinh>, 1},
    {"sqrt", Checked<Sqrt, NotNegative, ArrayViolation::kKeepPartial>, 1},
    {"tan", Wrapped<Tan>, 1},
    {"tanh", Wrapped<Tanh>, 1},
};

}  // namespace

std::span<const BuiltinEntry> ElementaryBuiltins() { return kElementaryBuiltins; }

double (*ScalarKernel(BuiltinHandler h))(double) {
  // Only the thin wrappers are pure: the checked functions report domain errors.
  static const struct { BuiltinHandler h; double (*f)(double); } kPure[] = {
      {Wrapped<Abs>, Abs}, {Wrapped<Sin>, Sin}, {Wrapped<Cos>, Cos}, {Wrapped<Tan>, Tan},
      {Wrapped<Exp>, Exp}, {Wrapped<Sinh>, Sinh}, {Wrapped<Cosh>, Cosh}, {Wrapped<Tanh>, Tanh}};
  for (const auto& k : kPure)
    if (k.h == h) return k.f;
  return nullptr;
}

}  // namespace quorvix
