#include "fitting_rows.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "peer.h"
#include "quorvix/math_parser.h"
#include "workloads.h"

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kTable = 10000;
constexpr std::size_t kQueries = 1000000;
constexpr std::size_t kPoints = 1000000;

struct Inputs {
  std::vector<double> tx, ty, qs, qr, px, py;
};

Inputs MakeInputs() {
  Inputs in;
  std::mt19937_64 rng(42);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  // An uneven table: steps between 0.5 and 1.5 hundredths.
  double x = 0.0;
  for (std::size_t i = 0; i < kTable; ++i) {
    in.tx.push_back(x);
    in.ty.push_back(std::sin(x) + 0.1 * u(rng));
    x += 0.005 + 0.01 * u(rng);
  }
  const double end = in.tx.back();
  for (std::size_t i = 0; i < kQueries; ++i)
    in.qs.push_back(end * static_cast<double>(i) / static_cast<double>(kQueries - 1));
  for (std::size_t i = 0; i < kQueries; ++i) in.qr.push_back(end * u(rng));
  for (std::size_t i = 0; i < kPoints; ++i) {
    const double t = 2.0 * u(rng) - 1.0;
    in.px.push_back(t);
    in.py.push_back(1 - 2 * t + 0.5 * t * t * t - 0.3 * t * t * t * t * t + 0.01 * u(rng));
  }
  return in;
}

// Best milliseconds of `runs` evaluations of the expression; `keep` gets the
// last result.
double TimeExpression(MathParser& p, const char* text, int runs, std::vector<double>& keep) {
  std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
  double best = 1e300;
  for (int r = 0; r <= runs; ++r) {  // the first run warms up
    auto t0 = Clock::now();
    symtab* v = e ? p.Evaluate(e.get()) : nullptr;
    auto t1 = Clock::now();
    if (v == nullptr || v->type != SYM_ARRAY) {
      std::fprintf(stderr, "quorvix %s failed: %s\n", text, MathParser::ErrorText().c_str());
      std::exit(1);
    }
    keep.assign(v->data, v->data + static_cast<std::size_t>(v->rows) * v->cols);
    v->Delete();
    if (r > 0) best = std::min(best, std::chrono::duration<double>(t1 - t0).count() * 1e3);
  }
  return best;
}

void PrintRow(const std::string& label, double q, const char* peer_name, double peer,
              double target) {
  PrintPeerRow(label, peer_name, q, peer, target);
}

}  // namespace

bool FittingRows(int number, const std::string& python, const std::string& script, int runs) {
  const Inputs in = MakeInputs();
  MathParser p;
  AddRowVector(p, "tx", in.tx);
  AddRowVector(p, "ty", in.ty);
  AddRowVector(p, "qs", in.qs);
  AddRowVector(p, "qr", in.qr);
  AddRowVector(p, "px", in.px);
  AddRowVector(p, "py", in.py);
  std::vector<double> sorted_values, random_values, coef;
  const double q_sorted = TimeExpression(p, "spline(tx, ty, qs)", runs, sorted_values);
  const double q_random = TimeExpression(p, "spline(tx, ty, qr)", runs, random_values);
  const double q_fit = TimeExpression(p, "polyfit(px, py, 5, 1)", runs, coef);

  std::map<std::string, std::string> peer;
  if (!python.empty())
    peer = RunPeerScript(python, script,
                         {{"tx", &in.tx},
                          {"ty", &in.ty},
                          {"qs", &in.qs},
                          {"qr", &in.qr},
                          {"px", &in.px},
                          {"py", &in.py}},
                         runs);
  auto ms = [&](const char* key) {
    auto it = peer.find(key);
    return it == peer.end() ? 0.0 : std::strtod(it->second.c_str(), nullptr);
  };
  bool agree = true;
  if (!peer.empty()) {
    // Both sides solve the same natural spline; they differ by rounding.
    const double sum = Sum(sorted_values.data(), sorted_values.size());
    const double peer_sum = std::strtod(peer["spline_sum"].c_str(), nullptr);
    if (!(std::fabs(sum - peer_sum) <= 1e-9 * std::fabs(peer_sum))) {
      std::printf("MISMATCH spline sum: quorvix %.17g, scipy %.17g\n", sum, peer_sum);
      agree = false;
    }
    // Normal equations against numpy's least squares by SVD: equal to the
    // conditioning of the normal equations.
    std::string list = peer["polyfit_coef"];
    for (std::size_t k = 0, at = 0; k < coef.size(); ++k) {
      const double c = std::strtod(list.c_str() + at, nullptr);
      if (!(std::fabs(c - coef[k]) <= 1e-7 * (1.0 + std::fabs(c)))) {
        std::printf("MISMATCH polyfit coefficient %zu: quorvix %.17g, numpy %.17g\n", k, coef[k],
                    c);
        agree = false;
      }
      at = list.find(',', at);
      if (at == std::string::npos) break;
      ++at;
    }
  }
  PrintRow(std::to_string(number) + " spline 1e4 table, 1e6 q", q_sorted, "scipy",
           ms("spline_sorted_best_ms"), 1);
  PrintRow("  (random queries)", q_random, "scipy", ms("spline_random_best_ms"), 0);
  PrintRow(std::to_string(number + 1) + " polyfit order 5, 1e6", q_fit, "numpy",
           ms("polyfit_best_ms"), 0);
  std::printf(
      "%d: spline(tx, ty, q): natural cubic spline through a 1e4-point uneven table built and\n"
      "   evaluated at 1e6 rising queries (then random ones), result allocated; peer\n"
      "   CubicSpline(tx, ty, bc_type=\"natural\")(q), scipy %s, built and evaluated each time\n"
      "%d: polyfit(px, py, 5, 1), coefficients of 1e6 points; peer numpy.polyfit(px, py, 5)\n",
      number, peer.empty() ? "-" : peer["scipy"].c_str(), number + 1);
  if (!python.empty() && peer.empty()) std::printf("   scipy peer unavailable (python3-scipy)\n");
  return agree;
}

}  // namespace bench
