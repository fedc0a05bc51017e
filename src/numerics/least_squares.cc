#include "numerics/least_squares.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <Eigen/Dense>

#include "util/run_budget.h"

namespace quorvix::numerics {

namespace {

constexpr double kStepTolerance = 1e-10;
constexpr double kCostTolerance = 1e-12;
constexpr double kGradientTolerance = 1e-12;
constexpr double kDiagonalFloor = 1e-12;
constexpr double kMaxDamping = 1e10;

bool AllFinite(const Eigen::VectorXd& v) { return v.allFinite(); }

}  // namespace

FitOutcome FitLeastSquares(std::size_t m, std::vector<double>& params, const ResidualFunction& f,
                           const FitSettings& settings) {
  const Eigen::Index p = static_cast<Eigen::Index>(params.size());
  const Eigen::Index rows = static_cast<Eigen::Index>(m);
  const long long max_evaluations =
      settings.max_evaluations > 0 ? settings.max_evaluations : 200LL * (p + 1);
  long long evaluations = 0;

  Eigen::VectorXd x = Eigen::Map<Eigen::VectorXd>(params.data(), p);
  Eigen::VectorXd r(rows), r_trial(rows), r_step(rows), x_trial(p);
  Eigen::MatrixXd jac(rows, p);
  auto evaluate = [&](const Eigen::VectorXd& at, Eigen::VectorXd& out) {
    ++evaluations;
    return f(at.data(), out.data());
  };
  if (!evaluate(x, r)) return FitOutcome::kModelFailed;
  if (!AllFinite(r)) return FitOutcome::kNotFinite;
  double cost = 0.5 * r.squaredNorm();

  // Forward differences with steps of sqrt(eps) relative to each parameter.
  auto jacobian = [&]() -> bool {
    for (Eigen::Index j = 0; j < p; ++j) {
      Eigen::VectorXd shifted = x;
      const double h0 = std::sqrt(2.2e-16) * std::max(std::fabs(x(j)), 1.0);
      shifted(j) = x(j) + h0;
      const double h = shifted(j) - x(j);  // the step actually taken
      if (!evaluate(shifted, r_step)) return false;
      jac.col(j) = (r_step - r) / h;
    }
    return true;
  };
  if (!jacobian()) return FitOutcome::kModelFailed;

  Eigen::MatrixXd jtj = jac.transpose() * jac;
  Eigen::VectorXd grad = jac.transpose() * r;
  double mu = 1e-3 * (p > 0 ? jtj.diagonal().maxCoeff() : 0.0);
  if (!(mu > 0.0) || !std::isfinite(mu)) mu = 1e-3;
  double nu = 2.0;
  Eigen::LDLT<Eigen::MatrixXd> solver(p);
  auto finish = [&](FitOutcome outcome) {
    params.assign(x.data(), x.data() + p);
    return outcome;
  };

  for (int iteration = 0; iteration < settings.max_iterations; ++iteration) {
    RunBudget::CheckTime();
    if (p == 0 || grad.cwiseAbs().maxCoeff() <= kGradientTolerance) break;
    if (evaluations + 1 + p > max_evaluations) return finish(FitOutcome::kLimitReached);
    if (mu > kMaxDamping) {
      // The steps keep failing: either the minimum is reached or J'J is
      // singular and no damping helps.
      Eigen::FullPivLU<Eigen::MatrixXd> lu(jtj);
      return finish(lu.rank() < p ? FitOutcome::kSingular : FitOutcome::kConverged);
    }
    Eigen::VectorXd diag = jtj.diagonal().cwiseMax(kDiagonalFloor);
    Eigen::MatrixXd damped = jtj;
    damped.diagonal() += mu * diag;
    solver.compute(damped);
    Eigen::VectorXd step = solver.solve(-grad);
    if (solver.info() != Eigen::Success || !AllFinite(step)) {
      mu *= nu;
      nu *= 2.0;
      continue;
    }
    bool small = true;
    for (Eigen::Index j = 0; j < p; ++j)
      small = small && std::fabs(step(j)) <= kStepTolerance * (std::fabs(x(j)) + kStepTolerance);
    if (small) return finish(FitOutcome::kConverged);

    x_trial = x + step;
    if (!evaluate(x_trial, r_trial)) return FitOutcome::kModelFailed;
    const double trial_cost = 0.5 * r_trial.squaredNorm();
    const double predicted = 0.5 * step.dot(mu * diag.cwiseProduct(step) - grad);
    const double rho =
        std::isfinite(trial_cost) && predicted > 0.0 ? (cost - trial_cost) / predicted : -1.0;
    if (rho > 0.0) {
      const double decrease = cost - trial_cost;
      x = x_trial;
      r.swap(r_trial);
      cost = trial_cost;
      const double s = 2.0 * rho - 1.0;
      mu *= std::max(1.0 / 3.0, 1.0 - s * s * s);
      nu = 2.0;
      if (decrease <= kCostTolerance * (cost + decrease)) return finish(FitOutcome::kConverged);
      if (!jacobian()) return FitOutcome::kModelFailed;
      jtj.noalias() = jac.transpose() * jac;
      grad.noalias() = jac.transpose() * r;
    } else {
      mu *= nu;
      nu *= 2.0;
    }
    if (iteration + 1 == settings.max_iterations) return finish(FitOutcome::kLimitReached);
  }
  return finish(FitOutcome::kConverged);
}

}  // namespace quorvix::numerics
