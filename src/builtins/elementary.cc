// Elementary math built-ins: trigonometric, hyperbolic, exponential and
// logarithmic functions, rounding, angle conversion, magnitude and counts.
#include <cmath>
#include <cstddef>
#include <span>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::BadElement;
using builtins::Elementwise;
using builtins::ElementwiseErrors;
using builtins::ErrorAt;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::IsNumeric;
using builtins::IsVectorLike;
using builtins::kInvalidArgType;
using builtins::NumericElements;
using builtins::ReduceToScalar;
using builtins::WrongKind;

// ---- Functions with their own domain checks --------------------------------

// NaN fails the arc functions' test but passes the others: the comparisons
// are written so that NaN falls on the intended side.
bool WithinUnit(double x) { return std::fabs(x) <= 1.0; }
bool NotNegative(double x) { return !(x < 0.0); }
bool NotNonPositive(double x) { return !(x <= 0.0); }

// A domain violation frees the argument; the arc functions do so for arrays
// too, while sqrt and the logarithms hand back an array converted up to the
// bad element.
constexpr ElementwiseErrors kChecked{};
constexpr ElementwiseErrors kKeepPartial{.bad_element = BadElement::kKeepPartial};

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
constexpr BuiltinHandler kNaturalLog = Elementwise<Log, kKeepPartial, NotNonPositive>;

// ---- Thin wrappers ---------------------------------------------------------

// No domain; they report without BackupTo and hand a record of another kind
// back unfreed, after the report.
constexpr ElementwiseErrors kWrapper{.wrong_kind = WrongKind::kReturn, .at = ErrorAt::kNone};

double Sin(double x) { return std::sin(x); }
double Cos(double x) { return std::cos(x); }
double Tan(double x) { return std::tan(x); }
double Sinh(double x) { return std::sinh(x); }
double Cosh(double x) { return std::cosh(x); }
double Tanh(double x) { return std::tanh(x); }
double Abs(double x) { return std::fabs(x); }
double Exp(double x) { return std::exp(x); }

// ---- atan2, mag, numpts, maxindex ------------------------------------------

bool IsNumberOrVector(const symtab& v) { return IsNumber(v) || IsVectorLike(v); }

symtab* Atan2(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  symtab* y = args.Take(0, IsNumberOrVector, builtins::kInvalidTypeArg1);
  if (y == nullptr || !args.Check(1, IsNumberOrVector, builtins::kInvalidTypeArg2)) return nullptr;
  const symtab* x = args.Peek(1);

  if (IsNumber(*y) && IsArray(*x)) {
    // The result lives in x's record; y goes back to the list for the caller
    // to free.
    symtab* result = args.Take(1);
    args.PutBack(1, y);
    for (double& e : NumericElements(*result)) e = std::atan2(y->value, e);
    return args.Release(result);
  }
  if (IsNumber(*x)) {
    for (double& e : NumericElements(*y)) e = std::atan2(e, x->value);
    return args.Release(y);
  }
  // Two vectors: element by element. Lengths that disagree are no error: y
  // comes back untouched and nothing is reported.
  std::span<double> ys = NumericElements(*y);
  std::span<const double> xs = NumericElements(*x);
  if (ys.size() != xs.size()) return args.Release(y);
  for (std::size_t i = 0; i < ys.size(); ++i) ys[i] = std::atan2(ys[i], xs[i]);
  return args.Release(y);
}

symtab* Mag(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0, IsNumeric, kInvalidArgType);
  if (v == nullptr) return nullptr;
  if (IsNumber(*v)) {
    v->value = std::fabs(v->value);
    return args.Release(v);
  }
  double sum = 0.0;
  for (double e : NumericElements(*v)) sum += e * e;
  ReduceToScalar(*v, std::sqrt(sum));
  return args.Release(v);
}

// numpts and maxindex differ only by the offset added to the count.
template <int Offset>
symtab* CountOf(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0);
  if (v == nullptr) return args.Fail(kInvalidArgType);
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
      return args.Fail(kInvalidArgType);
  }
  ReduceToScalar(*v, static_cast<double>(count + Offset));
  return args.Release(v);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kElementaryBuiltins[] = {
    {"abs",      Elementwise<Abs, kWrapper>,                       1, kNone, Abs,
     "abs(x)", "absolute value of x, element by element", "abs(-2.5)"},
    {"acos",     Elementwise<Acos, kChecked, WithinUnit>,          1, kNone, nullptr,
     "acos(x)", "arc cosine of x in [-1, 1], in radians, element by element", "acos(0.5)"},
    {"asin",     Elementwise<Asin, kChecked, WithinUnit>,          1, kNone, nullptr,
     "asin(x)", "arc sine of x in [-1, 1], in radians, element by element", "asin(0.5)"},
    {"atan",     Elementwise<Atan, kChecked>,                      1, kNone, nullptr,
     "atan(x)", "arc tangent of x, in radians, element by element", "atan(1)"},
    {"atan2",    Atan2,                                            2, kNone, nullptr,
     "atan2(y, x)", "angle of the point (x, y), in radians, element by element", "atan2(1, -1)"},
    {"cint",     Elementwise<Cint, kChecked>,                      1, kNone, nullptr,
     "cint(x)", "x rounded to the nearest integer, halves upward", "cint(-2.5)"},
    {"cos",      Elementwise<Cos, kWrapper>,                       1, kNone, Cos,
     "cos(x)", "cosine of x (radians), element by element", "cos(dtor(60))"},
    {"cosh",     Elementwise<Cosh, kWrapper>,                      1, kNone, Cosh,
     "cosh(x)", "hyperbolic cosine of x, element by element", "cosh(1)"},
    {"dtor",     Elementwise<DegToRad, kChecked>,                  1, kNone, nullptr,
     "dtor(x)", "x degrees in radians, element by element", "dtor(180)"},
    {"exp",      Elementwise<Exp, kWrapper>,                       1, kNone, Exp,
     "exp(x)", "e to the power x, element by element", "exp(1)"},
    {"int",      Elementwise<Int, kChecked>,                       1, kNone, nullptr,
     "int(x)", "largest integer not above x, element by element", "int(-2.5)"},
    {"ln",       kNaturalLog,                                      1, kNone, nullptr,
     "ln(x)", "natural logarithm of x > 0, element by element", "ln(exp(2))"},
    {"log",      kNaturalLog,                                      1, kNone, nullptr,
     "log(x)", "natural logarithm of x > 0, element by element", "log(exp(2))"},
    {"log10",    Elementwise<Log10, kKeepPartial, NotNonPositive>, 1, kNone, nullptr,
     "log10(x)", "decimal logarithm of x > 0, element by element", "log10(1000)"},
    {"mag",      Mag,                                              1, kNone, nullptr,
     "mag(v)", "Euclidean norm of v; of a scalar, its absolute value", "mag({3, 4})"},
    {"maxindex", CountOf<-1>,                                      1, kNone, nullptr,
     "maxindex(v)", "last index of v (its element or string count minus 1)", "maxindex({5, 6, 7})"},
    {"numpts",   CountOf<0>,                                       1, kNone, nullptr,
     "numpts(v)", "number of elements (or strings) in v", "numpts({5, 6, 7})"},
    {"rtod",     Elementwise<RadToDeg, kChecked>,                  1, kNone, nullptr,
     "rtod(x)", "x radians in degrees, element by element", "rtod(asin(1))"},
    {"sin",      Elementwise<Sin, kWrapper>,                       1, kNone, Sin,
     "sin(x)", "sine of x (radians), element by element", "sin(dtor(30))"},
    {"sinh",     Elementwise<Sinh, kWrapper>,                      1, kNone, Sinh,
     "sinh(x)", "hyperbolic sine of x, element by element", "sinh(1)"},
    {"sqrt",     Elementwise<Sqrt, kKeepPartial, NotNegative>,     1, kNone, nullptr,
     "sqrt(x)", "square root of x >= 0, element by element", "sqrt({4, 9})"},
    {"tan",      Elementwise<Tan, kWrapper>,                       1, kNone, Tan,
     "tan(x)", "tangent of x (radians), element by element", "tan(dtor(45))"},
    {"tanh",     Elementwise<Tanh, kWrapper>,                      1, kNone, Tanh,
     "tanh(x)", "hyperbolic tangent of x, element by element", "tanh(1)"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ElementaryBuiltins() { return kElementaryBuiltins; }

}  // namespace quorvix
