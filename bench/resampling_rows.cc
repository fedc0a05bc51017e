#include "resampling_rows.h"

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

}  // namespace

// A 60-second run-up from 600 to 6000 rpm sampled at 51.2 kHz: orders 2 and
// 7.5 of the shaft and a little noise.
constexpr double kRate = 51200.0;
constexpr double kSeconds = 60.0;

RunUpRecord MakeRunUpRecord() {
  RunUpRecord r;
  std::mt19937_64 rng(7);
  std::normal_distribution<double> noise(0.0, 0.05);
  const std::size_t n = static_cast<std::size_t>(kRate * kSeconds) + 1;
  const double pi = 4.0 * std::atan(1.0);
  for (std::size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / kRate;
    const double theta = (600.0 * t + 45.0 * t * t) / 60.0;  // rpm = 600 + 90 t
    r.t.push_back(t);
    r.rpm.push_back(600.0 + 90.0 * t);
    r.y.push_back(std::sin(2 * pi * 2 * theta) + 0.3 * std::sin(2 * pi * 7.5 * theta) + noise(rng));
  }
  return r;
}

std::map<std::string, std::string> RunRecordPeer(const std::string& python,
                                                 const std::string& script, const RunUpRecord& r,
                                                 int runs) {
  return RunPeerScript(python, script, {{"t", &r.t}, {"y", &r.y}, {"rpm", &r.rpm}}, runs);
}

bool ResamplingRows(int number, const std::string& python, const std::string& script, int runs) {
  const RunUpRecord rec = MakeRunUpRecord();
  MathParser p;
  AddRowVector(p, "rt", rec.t);
  AddRowVector(p, "ry", rec.y);
  AddRowVector(p, "rrpm", rec.rpm);
  const char* text = "resamprevs(rt, ry, rrpm, \"revolutions\")";
  std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
  double best = 1e300, time_sum = 0, value_sum = 0;
  int count = 0;
  for (int run = 0; run <= runs; ++run) {  // the first run warms up
    const auto t0 = Clock::now();
    symtab* v = e ? p.Evaluate(e.get()) : nullptr;
    const auto t1 = Clock::now();
    if (v == nullptr || v->type != SYM_ARRAY || v->rows != 3) {
      std::fprintf(stderr, "quorvix %s failed: %s\n", text, MathParser::ErrorText().c_str());
      std::exit(1);
    }
    count = v->cols;
    time_sum = Sum(v->data + count, static_cast<std::size_t>(count));
    value_sum = Sum(v->data + 2 * static_cast<std::size_t>(count), static_cast<std::size_t>(count));
    v->Delete();
    if (run > 0) best = std::min(best, std::chrono::duration<double>(t1 - t0).count() * 1e3);
  }

  std::map<std::string, std::string> peer;
  if (!python.empty()) peer = RunRecordPeer(python, script, rec, runs);
  bool agree = true;
  double peer_ms = 0;
  if (!peer.empty()) {
    peer_ms = std::strtod(peer["resamprevs_best_ms"].c_str(), nullptr);
    const double pt = std::strtod(peer["time_sum"].c_str(), nullptr);
    const double pv = std::strtod(peer["value_sum"].c_str(), nullptr);
    const long pc = std::strtol(peer["count"].c_str(), nullptr, 10);
    // The same algorithm on both sides: they differ by rounding and by the
    // order of the sums.
    if (pc != count || !(std::fabs(time_sum - pt) <= 1e-9 * std::fabs(pt)) ||
        !(std::fabs(value_sum - pv) <= 1e-9 * count)) {
      std::printf(
          "MISMATCH resamprevs: quorvix %d samples, sums %.17g %.17g; numpy %ld, %.17g %.17g\n",
          count, time_sum, value_sum, pc, pt, pv);
      agree = false;
    }
  }
  const std::string label = std::to_string(number) + " resamprevs 60 s, 51.2 kHz";
  PrintPeerRow(label, "numpy+scipy", best, peer_ms, 1);
  std::printf(
      "%d: resamprevs(t, y, rpm, \"revolutions\") of a 60 s run-up 600 to 6000 rpm at 51.2 kHz\n"
      "   (3,072,001 samples; %d angle samples, 512 a revolution), result allocated; peer the\n"
      "   same algorithm in numpy/scipy %s: cumulative trapezoid, searchsorted and the\n"
      "   closed-form root for the times, CubicSpline(t, y, bc_type=\"natural\") for the values\n",
      number, count, peer.empty() ? "-" : peer["scipy"].c_str());
  if (!python.empty() && peer.empty())
    std::printf("   numpy/scipy peer unavailable (python3-scipy)\n");
  return agree;
}

}  // namespace bench
