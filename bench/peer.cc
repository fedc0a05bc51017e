#include "peer.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace bench {
namespace {

bool WriteDoubles(const std::string& path, const std::vector<double>& v) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return false;
  const bool ok = std::fwrite(v.data(), sizeof(double), v.size(), f) == v.size();
  return std::fclose(f) == 0 && ok;
}

}  // namespace

std::map<std::string, std::string> RunPeerScript(const std::string& python,
                                                 const std::string& script, const PeerFiles& files,
                                                 int runs) {
  std::map<std::string, std::string> out;
  const char* tmp = std::getenv("TMPDIR");
  std::string dir = std::string(tmp && *tmp ? tmp : "/tmp") + "/quorvix-peer-XXXXXX";
  if (mkdtemp(dir.data()) == nullptr) return out;
  bool written = true;
  for (const auto& [name, v] : files) written = written && WriteDoubles(dir + "/" + name, *v);
  if (written) {
    const std::string cmd =
        "'" + python + "' '" + script + "' '" + dir + "' " + std::to_string(runs);
    if (std::FILE* p = popen(cmd.c_str(), "r")) {
      char buf[4096];
      while (std::fgets(buf, sizeof buf, p) != nullptr) {
        std::string line(buf);
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
        const auto eq = line.find('=');
        if (eq != std::string::npos) out[line.substr(0, eq)] = line.substr(eq + 1);
      }
      if (pclose(p) != 0) out.clear();
    }
  }
  for (const auto& [name, v] : files) std::remove((dir + "/" + name).c_str());
  rmdir(dir.c_str());
  return out;
}

void PrintPeerRow(const std::string& label, const char* peer_name, double ours_ms, double peer_ms,
                  double target) {
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
