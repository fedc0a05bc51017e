// Non-linear least squares: Levenberg-Marquardt in trust-region form
// (Gauss-Newton steps damped by mu diag(J'J), damping updated from the gain
// ratio as Nielsen does), Jacobian by forward differences.
#ifndef QUORVIX_NUMERICS_LEAST_SQUARES_H
#define QUORVIX_NUMERICS_LEAST_SQUARES_H

#include <cstddef>
#include <functional>
#include <vector>

namespace quorvix::numerics {

// Fills the m residuals (model - data) for the parameters; false when the
// model cannot be evaluated (its error is the caller's to report). A
// non-finite residual is no failure: the step that led there is refused.
using ResidualFunction = std::function<bool(const double* params, double* residuals)>;

enum class FitOutcome {
  kConverged,     // a stopping test held
  kLimitReached,  // iteration or evaluation limit: the best point so far
  kModelFailed,   // the residual function returned false
  kNotFinite,     // the residuals at the start are not finite
  kSingular,      // J'J stayed singular while the damping grew past its bound
};

struct FitSettings {
  int max_iterations = 200;
  // Model evaluations (a Jacobian costs p); 0 means 200 (p + 1).
  long long max_evaluations = 0;
};

// Fits `params` (start values in, best values out) to m residuals. Checks
// the time limit between iterations (RunBudget::CheckTime, which throws past
// the deadline).
FitOutcome FitLeastSquares(std::size_t m, std::vector<double>& params, const ResidualFunction& f,
                           const FitSettings& settings = {});

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_LEAST_SQUARES_H
