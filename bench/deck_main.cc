// Deck generation: a 100,000-line GRID deck filled from node vectors by a
// template "for" loop, against the same deck rendered by Jinja2, a plain C++
// snprintf loop and a std::to_chars loop (the floor). All outputs must be
// byte-identical. Then the fill alone at 10,000 to 1,000,000 lines, whose
// time per line must stay flat.
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "workloads.h"

namespace {

constexpr const char* kTemplate =
    "{for (i = 0; i < n; i = i + 1)}GRID,{id[i],%d},,{x[i]},{y[i]},{z[i]}\n"
    "{endloop}";

struct Nodes {
  std::vector<double> id, x, y, z;
};

Nodes MakeNodes(int n) {
  Nodes d;
  for (int i = 0; i < n; ++i) {
    d.id.push_back(i + 1);
    d.x.push_back(i * 0.25);
    d.y.push_back(100.0 * std::sin(i * 0.001));
    d.z.push_back(i / 7.0 - 3.0);
  }
  return d;
}

double Seconds(std::chrono::steady_clock::duration d) {
  return std::chrono::duration<double>(d).count();
}

std::string PlainDeck(const Nodes& d) {
  std::string out;
  char line[160];
  for (std::size_t i = 0; i < d.id.size(); ++i) {
    int n = std::snprintf(line, sizeof line, "GRID,%d,,%g,%g,%g\r\n", static_cast<int>(d.id[i]),
                          d.x[i], d.y[i], d.z[i]);
    out.append(line, static_cast<std::size_t>(n));
  }
  return out;
}

// The same bytes without printf: to_chars writes "%g" exactly when given
// the general format and six digits.
std::string ToCharsDeck(const Nodes& d) {
  std::string out;
  char line[160];
  char* const end = line + sizeof line;
  for (std::size_t i = 0; i < d.id.size(); ++i) {
    char* p = line;
    std::memcpy(p, "GRID,", 5);
    p = std::to_chars(p + 5, end, static_cast<int>(d.id[i])).ptr;
    *p++ = ',';
    *p++ = ',';
    for (double v : {d.x[i], d.y[i], d.z[i]}) {
      p = std::to_chars(p, end, v, std::chars_format::general, 6).ptr;
      *p++ = ',';
    }
    p[-1] = '\r';
    *p++ = '\n';
    out.append(line, static_cast<std::size_t>(p - line));
  }
  return out;
}

template <class Make>
double Best(int runs, std::string& out, Make make) {
  double best = 1e300;
  for (int r = 0; r < runs; ++r) {
    auto t0 = std::chrono::steady_clock::now();
    out = make();
    best = std::min(best, Seconds(std::chrono::steady_clock::now() - t0));
  }
  return best;
}

// Best seconds of a quorvix fill of an n-line deck; the text goes to `out`.
// Returns a negative time when the fill reports an error.
double QuorvixDeck(const Nodes& nodes, int runs, std::string& out) {
  const int n = static_cast<int>(nodes.id.size());
  MathParser parser;
  bench::AddRowVector(parser, "id", nodes.id);
  bench::AddRowVector(parser, "x", nodes.x);
  bench::AddRowVector(parser, "y", nodes.y);
  bench::AddRowVector(parser, "z", nodes.z);
  bench::AddScalar(parser, "n", n);
  Filler filler(&parser);
  double best = 1e300;
  for (int r = 0; r < runs; ++r) {
    auto t0 = std::chrono::steady_clock::now();
    char* errors = nullptr;
    char* text = filler.Fill(kTemplate, &errors);
    best = std::min(best, Seconds(std::chrono::steady_clock::now() - t0));
    const bool failed = errors != nullptr;
    if (failed) std::fprintf(stderr, "quorvix fill failed: %s\n", errors);
    out = text != nullptr ? text : "";
    delete[] text;
    delete[] errors;
    if (failed) return -1;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  int n = 100000, runs = 3;
  std::string python = "python3", script = QUORVIX_BENCH_DIR "/jinja_deck.py";
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--lines" && i + 1 < argc)
      n = std::atoi(argv[++i]);
    else if (a == "--runs" && i + 1 < argc)
      runs = std::atoi(argv[++i]);
    else if (a == "--python" && i + 1 < argc)
      python = argv[++i];
  }
  const Nodes nodes = MakeNodes(n);

  std::string q_out, c_out, t_out;
  const double q_best = QuorvixDeck(nodes, runs, q_out);
  if (q_best < 0) return 1;
  const double c_best = Best(runs, c_out, [&] { return PlainDeck(nodes); });
  const double t_best = Best(runs, t_out, [&] { return ToCharsDeck(nodes); });

  // Jinja2, in its own process, on the exact same numbers.
  char data_path[] = "/tmp/quorvix-deck-data-XXXXXX";
  char out_path[] = "/tmp/quorvix-deck-out-XXXXXX";
  int fd1 = mkstemp(data_path), fd2 = mkstemp(out_path);
  if (fd1 < 0 || fd2 < 0) return 1;
  close(fd1);
  close(fd2);
  {
    std::FILE* f = std::fopen(data_path, "w");
    for (int i = 0; i < n; ++i)
      std::fprintf(f, "%d %a %a %a\n", static_cast<int>(nodes.id[static_cast<std::size_t>(i)]),
                   nodes.x[static_cast<std::size_t>(i)], nodes.y[static_cast<std::size_t>(i)],
                   nodes.z[static_cast<std::size_t>(i)]);
    std::fclose(f);
  }
  std::string cmd =
      python + " '" + script + "' " + data_path + " " + out_path + " " + std::to_string(runs);
  double j_best = -1;
  if (std::FILE* p = popen(cmd.c_str(), "r")) {
    if (std::fscanf(p, "%lf", &j_best) != 1) j_best = -1;
    pclose(p);
  }
  std::ifstream jf(out_path, std::ios::binary);
  std::stringstream js;
  js << jf.rdbuf();
  std::string j_out = js.str();
  std::remove(data_path);
  std::remove(out_path);

  std::printf("deck of %d GRID lines (%zu bytes), best of %d\n", n, c_out.size(), runs);
  std::printf("%-22s %10s %12s %12s %12s\n", "contender", "ms", "vs quorvix", "vs snprintf",
              "vs to_chars");
  std::printf("%-22s %10.1f %12s %11.2fx %11.2fx\n", "quorvix fill", q_best * 1e3, "1.00x",
              q_best / c_best, q_best / t_best);
  if (j_best > 0)
    std::printf("%-22s %10.1f %11.2fx %11.2fx %11.2fx\n", "Jinja2", j_best * 1e3, j_best / q_best,
                j_best / c_best, j_best / t_best);
  else
    std::printf("%-22s %10s   (python3-jinja2 not available)\n", "Jinja2", "-");
  std::printf("%-22s %10.1f %11.2fx %11.2fx %11.2fx\n", "C++ snprintf loop", c_best * 1e3,
              c_best / q_best, 1.0, c_best / t_best);
  std::printf("%-22s %10.1f %11.2fx %11.2fx %11.2fx\n", "C++ to_chars loop", t_best * 1e3,
              t_best / q_best, t_best / c_best, 1.0);
  bool same_c = q_out == c_out && t_out == c_out;
  bool same_j = j_best <= 0 || j_out == q_out;
  std::printf("quorvix is %.2fx faster than Jinja2 (target: at least 2x)\n",
              j_best > 0 ? j_best / q_best : 0.0);
  std::printf("quorvix takes %.2fx the to_chars floor (target: within 1.5x)\n", q_best / t_best);
  std::printf("outputs byte-identical: C++ %s, Jinja2 %s\n", same_c ? "yes" : "NO",
              j_best > 0 ? (same_j ? "yes" : "NO") : "n/a");

  // Scaling: the time per line must not grow with the deck.
  std::printf("\nscaling of the quorvix fill (best of %d)\n", runs);
  std::printf("%12s %10s %14s\n", "lines", "ms", "ns per line");
  double first_per_line = 0, last_per_line = 0;
  for (int lines : {10000, 100000, 1000000}) {
    std::string out;
    const double t = QuorvixDeck(MakeNodes(lines), runs, out);
    if (t < 0) return 1;
    last_per_line = t / lines;
    if (first_per_line == 0) first_per_line = last_per_line;
    std::printf("%12d %10.1f %14.1f\n", lines, t * 1e3, last_per_line * 1e9);
  }
  std::printf("time per line at 1,000,000 lines is %.2fx that at 10,000 (linear: about 1x)\n",
              last_per_line / first_per_line);
  return same_c && same_j ? 0 : 1;
}
