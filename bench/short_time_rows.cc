#include "short_time_rows.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "peer.h"
#include "quorvix/math_parser.h"
#include "resampling_rows.h"
#include "workloads.h"

namespace bench {

bool ShortTimeRows(int number, const std::string& python, const std::string& script, int runs) {
  using Clock = std::chrono::steady_clock;
  const RunUpRecord rec = MakeRunUpRecord();
  MathParser p;
  AddRowVector(p, "st_t", rec.t);
  AddRowVector(p, "st_y", rec.y);
  AddRowVector(p, "st_rpm", rec.rpm);
  const char* text = "stft(st_t, st_y, st_rpm, 4096, \"hanning\", \"peak\", \"slices\")";
  std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
  double best = 1e300, map_sum = 0, sample = 0;
  int rows = 0, cols = 0;
  for (int run = 0; run <= runs; ++run) {  // the first run warms up
    const auto t0 = Clock::now();
    symtab* v = e ? p.Evaluate(e.get()) : nullptr;
    const auto t1 = Clock::now();
    if (v == nullptr || v->type != SYM_ARRAY) {
      std::fprintf(stderr, "quorvix %s failed: %s\n", text, MathParser::ErrorText().c_str());
      std::exit(1);
    }
    rows = v->rows;
    cols = v->cols;
    map_sum = Sum(v->data, static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
    sample = v->data[static_cast<std::size_t>(rows / 2) * static_cast<std::size_t>(cols) + 100];
    v->Delete();
    if (run > 0) best = std::min(best, std::chrono::duration<double>(t1 - t0).count() * 1e3);
  }

  std::map<std::string, std::string> peer;
  if (!python.empty()) peer = RunRecordPeer(python, script, rec, runs);
  bool agree = true;
  double peer_ms = 0;
  if (!peer.empty()) {
    peer_ms = std::strtod(peer["stft_best_ms"].c_str(), nullptr);
    const double ps = std::strtod(peer["map_sum"].c_str(), nullptr);
    const double pm = std::strtod(peer["sample"].c_str(), nullptr);
    const long pr = std::strtol(peer["rows"].c_str(), nullptr, 10);
    const long pc = std::strtol(peer["cols"].c_str(), nullptr, 10);
    // Different transforms (radix-2 here, pocketfft there): rounding only.
    if (pr != rows || pc != cols || !(std::fabs(map_sum - ps) <= 1e-9 * std::fabs(ps)) ||
        !(std::fabs(sample - pm) <= 1e-9 * std::fabs(pm) + 1e-12)) {
      std::printf(
          "MISMATCH stft: quorvix %dx%d, sum %.17g, sample %.17g; scipy %ldx%ld, %.17g %.17g\n",
          rows, cols, map_sum, sample, pr, pc, ps, pm);
      agree = false;
    }
  }
  const std::string label = std::to_string(number) + " stft 60 s, 51.2 kHz";
  PrintPeerRow(label, "scipy", best, peer_ms, 1);
  std::printf(
      "%d: stft(t, y, rpm, 4096, \"hanning\", \"peak\", \"slices\") of the run-up of %d (%d x %d\n"
      "   map, hop 2048), result allocated; peer scipy.signal.stft %s with the same periodic\n"
      "   Hann window in single precision, noverlap 2048, boundary=None, padded=False,\n"
      "   detrend=False, then abs with the inner lines doubled\n",
      number, number - 1, rows, cols, peer.empty() ? "-" : peer["scipy"].c_str());
  if (!python.empty() && peer.empty()) std::printf("   scipy peer unavailable (python3-scipy)\n");
  return agree;
}

}  // namespace bench
