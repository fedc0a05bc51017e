// nonlinfit(expr, names, start, x1 [, x2 ...], y): least-squares fit of the
// parameters of an expression to data.
//
// The expression is parsed once by a private parser that shares the
// caller's policy (restricted mode and limits carry over), get functions and
// variables, and is evaluated point by point with the independent variables
// x1 .. xk (and x when k = 1) and the parameters bound to scalars there; the
// caller's own variables are never touched.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/private_run.h"
#include "numerics/least_squares.h"
#include "quorvix/math_parser.h"
#include "util/run_budget.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::IsNumber;
using builtins::IsVectorLike;
using builtins::NumericElements;

constexpr char kNoExpression[] = "Function expression not specified";
constexpr char kXCounts[] = "All X-vectors must have the same number of elements";
constexpr char kXYCounts[] = "All X-vectors and the Y-vector must have the same number of elements";
constexpr char kInvalidTypes[] = "Invalid type of arguments";
constexpr char kUnableToFit[] = "Unable to fit data";
// J'J is p x p and solved every iteration; beyond this it is no longer a
// curve fit.
constexpr std::size_t kMaxParameters = 1000;

bool IsStringList(const symtab& v) {
  if (v.type != SYM_STRINGS || v.num_strings < 1 || v.str_list == nullptr) return false;
  for (int i = 0; i < v.num_strings; ++i)
    if (v.str_list[i] == nullptr) return false;
  return true;
}

bool IsNumberOrVector(const symtab& v) { return IsNumber(v) || IsVectorLike(v); }

bool IsBlank(const char* s) {
  for (; *s != '\0'; ++s)
    if (*s != ' ' && *s != '\t' && *s != '\n' && *s != '\r' && *s != '\v' && *s != '\f')
      return false;
  return true;
}

// The model of one fit: the parsed expression and the names it reads.
class Model {
 public:
  Model(MathParser& parser, MathParserExpression* expr, const symtab& names,
        std::vector<std::span<const double>> xs, std::span<const double> y)
      : parser_(parser), expr_(expr), xs_(std::move(xs)), y_(y) {
    for (int i = 0; i < names.num_strings; ++i) param_names_.emplace_back(names.str_list[i]);
    // Appended, not "x" + ...: GCC 12 at -O3 warns falsely (-Wrestrict) about
    // a literal added in front of a temporary string.
    for (std::size_t k = 0; k < xs_.size(); ++k)
      x_names_.emplace_back("x").append(std::to_string(k + 1));
    if (xs_.size() == 1) x_names_.emplace_back("x");
    symtab scalar;
    scalar.SetScalar(0.0);
    for (const std::string& name : param_names_) Bind(scalar, name);
    for (const std::string& name : x_names_) Bind(scalar, name);
  }

  // Residuals model - y at every point; false after a failed evaluation,
  // whose message is kept.
  bool Residuals(const double* params, double* r) {
    for (std::size_t j = 0; j < param_names_.size(); ++j)
      parser_.SetVariable(param_names_[j].c_str(), &params[j]);
    for (std::size_t i = 0; i < y_.size(); ++i) {
      for (std::size_t k = 0; k < xs_.size(); ++k) {
        parser_.SetVariable(x_names_[k].c_str(), &xs_[k][i]);
        if (xs_.size() == 1) parser_.SetVariable("x", &xs_[k][i]);
      }
      symtab* v = nullptr;
      {
        builtins::QuietErrors quiet;
        v = parser_.Evaluate(expr_);
      }
      if (v == nullptr) {
        const char* m = parser_.ErrorMessage();
        message_ = m != nullptr && *m != '\0' ? m : MathParser::ErrorText();
        if (message_.empty()) message_ = kUnableToFit;
        return false;
      }
      std::span<const double> value = NumericElements(*v);
      const bool one = value.size() == 1;
      r[i] = one ? value[0] - y_[i] : 0.0;
      v->Delete();
      if (!one) {
        message_ = kUnableToFit;
        return false;
      }
    }
    return true;
  }

  const std::string& message() const { return message_; }

 private:
  void Bind(symtab& scalar, const std::string& name) {
    scalar.SetName(name.c_str());
    parser_.AddVariable(&scalar);
  }

  MathParser& parser_;
  MathParserExpression* expr_;
  std::vector<std::span<const double>> xs_;
  std::span<const double> y_;
  std::vector<std::string> param_names_, x_names_;
  std::string message_;
};

symtab* NonlinFit(sym_list* list) {
  Args args(list);
  if (!args.HasCount(5, 1 << 30)) return nullptr;
  const symtab* expr = args.Peek(0);
  if (expr == nullptr || expr->type != SYM_STRINGS) return args.Fail(kInvalidTypes);
  const char* text = builtins::FirstString(*expr);
  if (text == nullptr || IsBlank(text)) return args.Fail(kNoExpression);
  const int last = args.size() - 1;
  bool kinds = args.Peek(1) != nullptr && IsStringList(*args.Peek(1)) && args.Peek(2) != nullptr &&
               IsNumberOrVector(*args.Peek(2));
  for (int i = 3; kinds && i <= last; ++i)
    kinds = args.Peek(i) != nullptr && IsVectorLike(*args.Peek(i));
  if (!kinds) return args.Fail(kInvalidTypes);
  const symtab& names = *args.Peek(1);
  std::span<const double> start = NumericElements(*args.Peek(2));
  if (start.size() != static_cast<std::size_t>(names.num_strings)) return args.Fail(kInvalidTypes);
  if (start.size() > kMaxParameters)
    return args.Fail(
        ("too many fit parameters (limit " + std::to_string(kMaxParameters) + ")").c_str());
  std::vector<std::span<const double>> xs;
  for (int i = 3; i < last; ++i) {
    xs.push_back(NumericElements(*args.Peek(i)));
    if (xs.back().size() != xs.front().size()) return args.Fail(kXCounts);
  }
  std::span<const double> y = NumericElements(*args.Peek(last));
  if (y.size() != xs.front().size()) return args.Fail(kXYCounts);
  if (!ElementCountFits(static_cast<long long>(y.size()), static_cast<long long>(start.size())))
    return args.Fail(ArrayTooLargeMessage().c_str());

  // The model may call nonlinfit again: the nesting is bounded like eval's.
  RunBudget::Nesting depth;
  const Limits& limits = CurrentLimits();
  if (depth.too_deep(limits.fills))
    return args.Fail(
        ("nonlinfit nested too deeply (limit " + std::to_string(limits.fills) + ")").c_str());
  MathParser inner;
  builtins::ShareCallerState(MathParser::current_parser, inner);
  std::unique_ptr<MathParserExpression> parsed(inner.CreateExpression(text));
  if (parsed == nullptr) {
    // Parse again through Evaluate for the message the parse failure gives.
    {
      builtins::QuietErrors quiet;
      symtab* v = inner.Evaluate(text);
      if (v != nullptr) v->Delete();
    }
    const char* m = inner.ErrorMessage();
    return args.Fail(m != nullptr && *m != '\0' ? m : "Syntax error");
  }
  Model model(inner, parsed.get(), names, std::move(xs), y);
  std::vector<double> params(start.begin(), start.end());
  const numerics::FitOutcome outcome = numerics::FitLeastSquares(
      y.size(), params, [&model](const double* p, double* r) { return model.Residuals(p, r); });
  MathParser::ClearError();
  switch (outcome) {
    case numerics::FitOutcome::kModelFailed:
      return args.Fail(model.message().c_str());
    case numerics::FitOutcome::kNotFinite:
    case numerics::FitOutcome::kSingular:
      return args.Fail(kUnableToFit);
    case numerics::FitOutcome::kConverged:
    case numerics::FitOutcome::kLimitReached:
      break;
  }
  symtab* result = new symtab;
  double* out = result->SetArray(1, static_cast<int>(params.size()));
  std::copy(params.begin(), params.end(), out);
  return args.Release(result);
}

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kNonlinearFitBuiltins[] = {
    {"nonlinfit", NonlinFit, 1, kEvaluatesText, nullptr,
     "nonlinfit(expr, names, start, x1 [, x2 ...], y)", "least-squares values of the parameters "
     "names (start values start) of the expression expr in x1 .. xk (x when one) fitted to y, a row",
     "nonlinfit(\"a*x+b\", {\"a\", \"b\"}, {0, 0}, {0, 1, 2}, {1, 3, 5})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> NonlinearFitBuiltins() { return kNonlinearFitBuiltins; }

}  // namespace quorvix
