#include "filter_rows.h"

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

constexpr std::size_t kSamples = 10000000;

// A 4th-order Butterworth low-pass at 0.2 of the Nyquist frequency
// (scipy.signal.butter(4, 0.2)).
const std::vector<double> kFilterB = {0.004824343357716231, 0.019297373430864923,
                                      0.028946060146297387, 0.019297373430864923,
                                      0.004824343357716231};
const std::vector<double> kFilterA = {1.0, -2.3695130071820376, 2.31398841441588,
                                      -1.0546654058785676, 0.18737949236818488};

}  // namespace

bool FilterRows(int number, const std::string& python, const std::string& script, int runs) {
  std::vector<double> x(kSamples);
  std::mt19937_64 rng(7);
  std::normal_distribution<double> noise(0.0, 1.0);
  for (std::size_t i = 0; i < kSamples; ++i)
    x[i] = std::sin(0.001 * static_cast<double>(i)) + 0.5 * noise(rng);
  MathParser p;
  AddRowVector(p, "b", kFilterB);
  AddRowVector(p, "a", kFilterA);
  AddRowVector(p, "x", x);
  const char* text = "irfilter(b, a, x)";
  std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
  std::vector<double> y;
  double best = 1e300;
  for (int r = 0; r <= runs; ++r) {  // the first run warms up
    auto t0 = Clock::now();
    symtab* v = e ? p.Evaluate(e.get()) : nullptr;
    auto t1 = Clock::now();
    if (v == nullptr || v->type != SYM_ARRAY) {
      std::fprintf(stderr, "quorvix %s failed: %s\n", text, MathParser::ErrorText().c_str());
      std::exit(1);
    }
    if (r == runs) y.assign(v->data, v->data + static_cast<std::size_t>(v->rows) * v->cols);
    v->Delete();
    if (r > 0) best = std::min(best, std::chrono::duration<double>(t1 - t0).count() * 1e3);
  }

  std::map<std::string, std::string> peer;
  if (!python.empty())
    peer = RunPeerScript(python, script, {{"b", &kFilterB}, {"a", &kFilterA}, {"x", &x}}, runs);
  const double peer_ms =
      peer.count("lfilter_best_ms") ? std::strtod(peer["lfilter_best_ms"].c_str(), nullptr) : 0.0;
  bool agree = true;
  if (!peer.empty()) {
    // The same recurrence in the same form: equal but for the rounding of
    // the coefficients' normalisation.
    const std::string& list = peer["lfilter_samples"];
    const std::size_t at[] = {0, kSamples / 3, 2 * kSamples / 3, kSamples - 1};
    for (std::size_t k = 0, pos = 0; k < 4 && pos != std::string::npos; ++k) {
      const double c = std::strtod(list.c_str() + pos, nullptr);
      if (!(std::fabs(c - y[at[k]]) <= 1e-10 * (1.0 + std::fabs(c)))) {
        std::printf("MISMATCH irfilter sample %zu: quorvix %.17g, scipy %.17g\n", at[k], y[at[k]],
                    c);
        agree = false;
      }
      pos = list.find(',', pos);
      if (pos != std::string::npos) ++pos;
    }
  }
  const std::string label = std::to_string(number) + " irfilter IIR4, 1e7";
  PrintPeerRow(label, "scipy", best, peer_ms, 1);
  std::printf(
      "%d: irfilter(b, a, x), a 4th-order Butterworth low-pass (butter(4, 0.2)) over 1e7\n"
      "   samples, result in a copy of x; peer scipy.signal.lfilter(b, a, x), scipy %s,\n"
      "   one thread\n",
      number, peer.empty() ? "-" : peer["scipy"].c_str());
  if (!python.empty() && peer.empty()) std::printf("   scipy peer unavailable (python3-scipy)\n");
  return agree;
}

}  // namespace bench
