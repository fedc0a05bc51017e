#include "linalg_rows.h"

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

constexpr int kOrder = 500;

// Best milliseconds of `text` over `runs` evaluations after a warm-up; the
// last value goes to `out`.
double TimeExpression(MathParser& p, const char* text, int runs, symtab& out) {
  std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
  double best = 1e300;
  for (int r = 0; r <= runs; ++r) {
    auto t0 = Clock::now();
    symtab* v = e ? p.Evaluate(e.get()) : nullptr;
    auto t1 = Clock::now();
    if (v == nullptr) {
      std::fprintf(stderr, "quorvix %s failed: %s\n", text, MathParser::ErrorText().c_str());
      std::exit(1);
    }
    if (r == runs) out = *v;
    v->Delete();
    if (r > 0) best = std::min(best, std::chrono::duration<double>(t1 - t0).count() * 1e3);
  }
  return best;
}

void AddMatrix(MathParser& p, const char* name, const std::vector<double>& v, int rows, int cols) {
  symtab rec;
  rec.SetName(name);
  std::copy(v.begin(), v.end(), rec.SetArray(rows, cols));
  p.AddVariable(&rec);
}

double PeerNumber(std::map<std::string, std::string>& peer, const char* key) {
  return peer.count(key) ? std::strtod(peer[key].c_str(), nullptr) : 0.0;
}

}  // namespace

bool LinalgRows(int number, const std::string& python, const std::string& script, int runs) {
  // The identity plus uniform entries in [-0.01, 0.01): its eigenvalues stay
  // near 1, so the inverse is well conditioned and the determinant finite,
  // and both sides' roundings stay far below the tolerance of the check.
  std::vector<double> m(static_cast<std::size_t>(kOrder) * kOrder);
  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> u(-0.01, 0.01);
  for (double& v : m) v = u(rng);
  for (int i = 0; i < kOrder; ++i) m[static_cast<std::size_t>(i) * kOrder + i] += 1.0;
  MathParser p;
  AddMatrix(p, "m", m, kOrder, kOrder);
  symtab inverse, det;
  const double inverse_ms = TimeExpression(p, "inverse(m)", runs, inverse);
  const double det_ms = TimeExpression(p, "determinant(m)", runs, det);
  double inverse_sum = 0.0;
  for (int i = 0; i < kOrder * kOrder; ++i) inverse_sum += inverse.data[i];

  std::map<std::string, std::string> peer;
  if (!python.empty()) peer = RunPeerScript(python, script, {{"m", &m}}, runs);
  bool agree = true;
  if (!peer.empty()) {
    const double peer_sum = PeerNumber(peer, "inverse_sum");
    const double peer_det = PeerNumber(peer, "det");
    if (!(std::fabs(peer_sum - inverse_sum) <= 1e-9 * std::fabs(peer_sum))) {
      std::printf("MISMATCH inverse sum: quorvix %.17g, numpy %.17g\n", inverse_sum, peer_sum);
      agree = false;
    }
    if (!(std::fabs(peer_det - det.value) <= 1e-9 * std::fabs(peer_det))) {
      std::printf("MISMATCH determinant: quorvix %.17g, numpy %.17g\n", det.value, peer_det);
      agree = false;
    }
  }
  PrintPeerRow(std::to_string(number) + " inverse 500x500", "numpy", inverse_ms,
               PeerNumber(peer, "inverse_best_ms"), 3);
  PrintPeerRow("  determinant 500x500", "numpy", det_ms, PeerNumber(peer, "det_best_ms"), 3);
  std::printf(
      "%d: inverse(m) and determinant(m) of a 500 x 500 matrix (the identity plus uniform\n"
      "   entries in [-0.01, 0.01)); peer np.linalg.inv and np.linalg.det (LAPACK through\n"
      "   numpy's BLAS), numpy %s, one thread\n",
      number, peer.empty() ? "-" : peer["numpy"].c_str());
  if (!python.empty() && peer.empty()) std::printf("   numpy peer unavailable (python3-numpy)\n");
  return agree;
}

}  // namespace bench
