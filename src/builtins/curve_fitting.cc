// Least-squares curve fits with closed-form solutions: polyfit (global
// polynomial), batchpolyfit (local polynomials) and expfit (exponential
// through the logarithm of y). polyfit and expfit describe their fit to the
// parser's message service, when there is one.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "numerics/polynomial_fit.h"
#include "quorvix/math_parser.h"
#include "quorvix/message_service.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::ErrorAt;
using builtins::IsNumber;
using builtins::IsVectorLike;
using builtins::MustBe;
using builtins::NumericElements;
using builtins::TruncateToInteger;

constexpr char kOrderTooHigh[] = "Order must be less than the number of points";
constexpr char kUnableToFit[] = "Unable to fit data";
constexpr char kUnknownOption[] = "Unknown option";
constexpr char kNegativeExpData[] = "Cannot perform expfit with negative data";
constexpr int kMaxPolyOrder = 20;

std::string Number(double v) {
  char text[64];
  std::snprintf(text, sizeof text, "%g", v);
  return text;
}

// The two lines that close every fit report: the RMS of the residuals and
// the Pearson correlation of fit and data (1 when either is constant).
void ReportQuality(MessageServiceBase& service, std::span<const double> fit,
                   std::span<const double> y) {
  const std::size_t n = fit.size();
  double sq = 0.0, mf = 0.0, my = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    sq += (fit[i] - y[i]) * (fit[i] - y[i]);
    mf += fit[i];
    my += y[i];
  }
  mf /= static_cast<double>(n);
  my /= static_cast<double>(n);
  double sfy = 0.0, sff = 0.0, syy = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    sfy += (fit[i] - mf) * (y[i] - my);
    sff += (fit[i] - mf) * (fit[i] - mf);
    syy += (y[i] - my) * (y[i] - my);
  }
  const double correlation = sff == 0.0 || syy == 0.0 ? 1.0 : sfy / std::sqrt(sff * syy);
  service.Message(("Mean deviation: " + Number(std::sqrt(sq / static_cast<double>(n)))).c_str());
  service.Message(("Correlation coefficient: " + Number(correlation)).c_str());
}

MessageServiceBase* ReportService() {
  MathParser* p = MathParser::current_parser;
  return p != nullptr ? p->MessageService() : MathParser::GetActiveMessageService();
}

bool SameCount(const Args& args) {
  return NumericElements(*args.Peek(0)).size() == NumericElements(*args.Peek(1)).size();
}

bool CheckVectorsAndScalars(const Args& args, int num_scalars, ErrorAt scalar_at) {
  if (!args.Check(0, IsVectorLike, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorLike, ArgumentMustBe(2, MustBe::kVector)))
    return false;
  for (int i = 2; i < 2 + num_scalars; ++i)
    if (!args.Check(i, IsNumber, ArgumentMustBe(i + 1, MustBe::kScalar), scalar_at)) return false;
  return true;
}

// polyfit(x, y, order [, option]): option 1 returns the coefficients
// (ascending powers, a row); option 0, like no option, the fitted curve in
// x's shape with the report.
symtab* PolyFit(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3, 4)) return nullptr;
  if (!CheckVectorsAndScalars(args, 1, ErrorAt::kCall)) return nullptr;
  if (args.size() == 4 &&
      !args.Check(3, IsNumber, ArgumentMustBe(4, MustBe::kScalar), ErrorAt::kComma))
    return nullptr;
  if (!SameCount(args)) return args.Fail(builtins::kSameNumberOfPoints);
  const double order_arg = args.Peek(2)->value;
  // Clamped to 1..20 (an order of 1e9 is 20, 0.5 is 1).
  const int order =
      static_cast<int>(std::clamp<long long>(TruncateToInteger(order_arg), 1, kMaxPolyOrder));
  const long long option = args.size() == 4 ? TruncateToInteger(args.Peek(3)->value) : 0;
  if (option != 0 && option != 1) return args.Fail(kUnknownOption, ErrorAt::kComma);
  std::span<const double> x = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  if (x.size() <= static_cast<std::size_t>(order)) return args.Fail(kOrderTooHigh);
  double coef[kMaxPolyOrder + 1];
  if (!numerics::PolyFitNormal(x.data(), y.data(), x.size(), order, coef))
    return args.Fail(kUnableToFit);

  symtab* result = args.Take(0);
  if (option == 1) {
    double* out = result->SetArray(1, order + 1);
    std::copy(coef, coef + order + 1, out);
    return args.Release(result);
  }
  std::span<double> fit = NumericElements(*result);
  numerics::PolyEvaluate(coef, static_cast<std::size_t>(order) + 1, fit.data(), fit.data(),
                         fit.size());
  if (MessageServiceBase* service = ReportService()) {
    std::string line = "Polynomial coefficients: ";
    for (int k = 0; k <= order; ++k)
      line += (k > 0 ? " + " : "") + Number(coef[k]) + " * X^" + std::to_string(k);
    service->Message(line.c_str());
    ReportQuality(*service, fit, y);
  }
  return args.Release(result);
}

// batchpolyfit(x, y, order, size, deriv): local polynomial smoothing, or a
// derivative, over windows of size points (odd, centred where possible).
symtab* BatchPolyFit(sym_list* list) {
  Args args(list);
  if (!args.HasCount(5)) return nullptr;
  if (!CheckVectorsAndScalars(args, 3, ErrorAt::kCall)) return nullptr;
  if (!SameCount(args)) return args.Fail(builtins::kSameNumberOfPointsShort);
  const long long deriv = TruncateToInteger(args.Peek(4)->value);
  if (deriv < 0) return args.Fail(builtins::kValueOutOfRange);
  const int order =
      static_cast<int>(std::clamp<long long>(TruncateToInteger(args.Peek(2)->value), 0, 20));
  std::span<const double> x = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  const long long n = static_cast<long long>(x.size());
  const long long half = std::min(TruncateToInteger(std::floor(args.Peek(3)->value / 2.0)), n);
  const long long window = std::min(2 * half + 1, n);
  if (window < order + 1) return args.Fail(kUnableToFit);
  std::vector<double> out(x.size());
  if (!numerics::LocalPolyFit(x.data(), y.data(), x.size(), order, static_cast<std::size_t>(window),
                              static_cast<int>(std::min<long long>(deriv, order + 1)), out.data()))
    return args.Fail(kUnableToFit);
  symtab* result = args.Take(0);
  std::copy(out.begin(), out.end(), NumericElements(*result).begin());
  return args.Release(result);
}

// expfit(x, y): y = a exp(b x) from the least-squares line through
// (x, ln y).
symtab* ExpFit(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (!CheckVectorsAndScalars(args, 0, ErrorAt::kCall)) return nullptr;
  if (!SameCount(args)) return args.Fail(builtins::kSameNumberOfPoints);
  std::span<const double> x = NumericElements(*args.Peek(0));
  std::span<const double> y = NumericElements(*args.Peek(1));
  for (double v : y)
    if (!(v > 0.0)) return args.Fail(kNegativeExpData);
  const std::size_t n = x.size();
  if (n < 2) return args.Fail(kUnableToFit);
  double mx = 0.0, ml = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    mx += x[i];
    ml += std::log(y[i]);
  }
  mx /= static_cast<double>(n);
  ml /= static_cast<double>(n);
  double sxx = 0.0, sxl = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    sxx += (x[i] - mx) * (x[i] - mx);
    sxl += (x[i] - mx) * (std::log(y[i]) - ml);
  }
  const double b = sxl / sxx, a = std::exp(ml - b * mx);
  if (!(sxx > 0.0) || !std::isfinite(b) || !std::isfinite(a)) return args.Fail(kUnableToFit);

  symtab* result = args.Take(0);
  std::span<double> fit = NumericElements(*result);
  for (double& v : fit) v = a * std::exp(b * v);
  if (MessageServiceBase* service = ReportService()) {
    service->Message(
        ("Exponential coefficients: " + Number(a) + " * exp(" + Number(b) + " * X)").c_str());
    ReportQuality(*service, fit, y);
  }
  return args.Release(result);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kCurveFittingBuiltins[] = {
    {"batchpolyfit", BatchPolyFit, 5, kNone, nullptr,
     "batchpolyfit(x, y, order, size, deriv)", "local least-squares polynomial of the order over "
     "windows of size points at each x: its value (deriv 0) or deriv-th derivative",
     "batchpolyfit({0, 1, 2, 3, 4}, {0, 1, 4, 9, 16}, 2, 3, 1)", true},
    {"expfit",       ExpFit,       2, kNone, nullptr,
     "expfit(x, y)", "least-squares fit a exp(b x) through ln y, evaluated at x; the "
     "coefficients go to the message service", "expfit({0, 1, 2}, {1, 2.7, 7.4})", true},
    {"polyfit",      PolyFit,      3, kNone, nullptr,
     "polyfit(x, y, order [, option])", "least-squares polynomial of the order (1 to 20) "
     "evaluated at x; option 1 gives its coefficients, lowest power first",
     "polyfit({0, 1, 2, 3}, {1, 3, 5, 7.1}, 1, 1)", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> CurveFittingBuiltins() { return kCurveFittingBuiltins; }

}  // namespace quorvix
