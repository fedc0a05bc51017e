// One row of the side-by-side table for a workload timed against one peer:
// our time, the peer's, the ratio and the verdict against the target.
#ifndef QUORVIX_BENCH_PEER_ROW_H
#define QUORVIX_BENCH_PEER_ROW_H

#include <cstdio>
#include <string>

namespace bench {

// Times in milliseconds; a peer time <= 0 means the peer did not run, a
// target <= 0 that the row has none.
inline void PrintPeerRow(const std::string& label, const char* peer_name, double ours_ms,
                         double peer_ms, double target) {
  char qs[32], ps[32] = "-", ratio[32] = "-", goal[32] = "";
  std::snprintf(qs, sizeof qs, "%.3f", ours_ms);
  if (peer_ms > 0) {
    std::snprintf(ps, sizeof ps, "%.3f", peer_ms);
    std::snprintf(ratio, sizeof ratio, "%.2fx", ours_ms / peer_ms);
  }
  if (target > 0) std::snprintf(goal, sizeof goal, "<=%gx", target);
  const char* verdict =
      peer_ms > 0 && target > 0 ? (ours_ms / peer_ms <= target ? "ok" : "MISS") : "";
  std::printf("%-28s %-8s %10s  %-11s %10s  %10s  %9s  %-6s %-6s %9s\n", label.c_str(), "ms/eval",
              qs, peer_name, ps, "-", ratio, goal, verdict, "-");
}

}  // namespace bench

#endif  // QUORVIX_BENCH_PEER_ROW_H
