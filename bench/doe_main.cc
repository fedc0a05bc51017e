// Design study throughput: `quorvix doe` over 1,000 runs of a 1,000-line
// deck template with -j 2, against one plain `quorvix fill` of the same
// template (the floor a run could cost if each were its own command). The
// batch's cost per run should stay within 1.5x of that floor. One run's deck
// must match the plain fill with the same values byte for byte.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

double Seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

// Runs a shell command; its time in seconds, or -1 when it failed.
double Timed(const std::string& command) {
  const auto t0 = std::chrono::steady_clock::now();
  const int status = std::system(command.c_str());
  const double t = Seconds(std::chrono::steady_clock::now() - t0);
  return status == 0 ? t : -1.0;
}

std::string Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// A plate deck of `lines` lines: grid cards with coordinates from the mesh
// size, shell cards with the thickness, load cards with the pressure.
std::string DeckTemplate(int lines) {
  std::string t =
      "{parameter(thickness, real, 2.0, 1.0, 4.0)}\n"
      "{parameter(pressure, real, 0.05, 0.01, 0.2)}\n"
      "{parameter(material, level, \"steel\", \"aluminium\")}\n"
      "{parameter(h, real, 10, 5, 20)}\n"
      "{if material == \"steel\"}{E = 210000}{else}{E = 70000}{endif}\n"
      "MAT1,1,{E,%g},,0.3\n";
  for (int i = 6; i < lines - 1; ++i) {
    char line[160];
    switch (i % 3) {
      case 0:
        std::snprintf(line, sizeof line, "GRID,%d,,{%d * h,%%g},{%d * h,%%g},0.0\n", i, i % 40,
                      i / 40);
        break;
      case 1:
        std::snprintf(line, sizeof line, "PSHELL,%d,1,{thickness * %d / 100,%%g}\n", i,
                      90 + i % 20);
        break;
      default:
        std::snprintf(line, sizeof line, "PLOAD4,10,%d,{pressure,%%g}\n", i);
    }
    t += line;
  }
  return t + "ENDDATA\n";
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 1000, lines = 1000, parallel = 2, repeats = 3;
  std::string cli = QUORVIX_CLI;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--runs" && i + 1 < argc)
      runs = std::atoi(argv[++i]);
    else if (a == "--lines" && i + 1 < argc)
      lines = std::atoi(argv[++i]);
    else if (a == "-j" && i + 1 < argc)
      parallel = std::atoi(argv[++i]);
    else if (a == "--repeats" && i + 1 < argc)
      repeats = std::atoi(argv[++i]);
    else if (a == "--quorvix" && i + 1 < argc)
      cli = argv[++i];
  }
  char pattern[] = "/tmp/quorvix-doe-bench-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) return 1;
  const fs::path dir = pattern;
  std::ofstream(dir / "deck.qvx", std::ios::binary) << DeckTemplate(lines);
  {
    std::ofstream csv(dir / "runs.csv", std::ios::binary);
    csv << "thickness,pressure,material,h\n";
    for (int r = 0; r < runs; ++r)
      csv << 1.0 + (r % 7) * 0.5 << "," << 0.01 * (1 + r % 11) << ","
          << (r % 2 ? "aluminium" : "steel") << "," << 5 + r % 13 << "\n";
  }
  const std::string quote = "'";
  const std::string q = quote + cli + quote, d = quote + dir.string() + quote;

  // The floor: one whole command per deck, as a script would run them.
  const std::string single =
      q +
      " fill --lf -D thickness=1.5 -D pressure=0.02 -D material='\"aluminium\"'"
      " -D h=6 -o " +
      d + "/single.inp " + d + "/deck.qvx";
  double fill_best = 1e300;
  for (int r = 0; r < std::max(5, repeats); ++r) {
    const double t = Timed(single);
    if (t < 0) {
      std::fprintf(stderr, "quorvix fill failed\n");
      return 1;
    }
    fill_best = std::min(fill_best, t);
  }

  const std::string study = q + " doe " + d + "/deck.qvx --lf --runs " + d + "/runs.csv --out " +
                            d + "/study/{run}.inp -j " + std::to_string(parallel) + " >/dev/null";
  double doe_best = 1e300;
  for (int r = 0; r < repeats; ++r) {
    fs::remove_all(dir / "study");
    const double t = Timed(study);
    if (t < 0) {
      std::fprintf(stderr, "quorvix doe failed\n");
      return 1;
    }
    doe_best = std::min(doe_best, t);
  }
  // Row 2 of the matrix has the single fill's values.
  const bool same = Read(dir / "study" / "2.inp") == Read(dir / "single.inp");
  const double per_run = doe_best / runs;
  std::printf("design study: %d runs of a %d-line deck template, -j %d, best of %d\n", runs, lines,
              parallel, repeats);
  std::printf("%-34s %10.1f ms\n", "quorvix doe, whole study", doe_best * 1e3);
  std::printf("%-34s %10.0f\n", "runs per second", runs / doe_best);
  std::printf("%-34s %10.2f ms\n", "cost per run", per_run * 1e3);
  std::printf("%-34s %10.2f ms\n", "one plain quorvix fill (floor)", fill_best * 1e3);
  std::printf("per-run cost / single fill: %.2fx (target: at most 1.5x)\n", per_run / fill_best);
  std::printf("run 2 byte-identical to the plain fill: %s\n", same ? "yes" : "NO");
  fs::remove_all(dir);
  return same ? 0 : 1;
}
