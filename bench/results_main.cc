// Result-file reading: every column of a 1,000,000-row by 10-column CSV
// (about 100 MB, written here) through `read` with a fresh cache, against
// pandas read_csv and numpy loadtxt on the same file. Target: at most 1x
// pandas. Best of three runs each; the columns' sums must agree.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

namespace fs = std::filesystem;

constexpr int kRows = 1'000'000;
constexpr int kCols = 10;
constexpr int kRuns = 3;

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Cells like 37.123456: a column's pattern of its own, so that a column
// mix-up shows in the sums.
void WriteCsv(const fs::path& path) {
  std::FILE* f = std::fopen(path.c_str(), "w");
  std::string buf;
  for (int c = 0; c < kCols; ++c) buf += (c ? ",c" : "c") + std::to_string(c);
  buf += '\n';
  char cell[32];
  for (int r = 0; r < kRows; ++r) {
    for (int c = 0; c < kCols; ++c) {
      double x = (static_cast<long long>(r) * (c + 7) % 99991) * 0.001 + c;
      auto end = std::to_chars(cell, cell + sizeof cell, x, std::chars_format::fixed, 6).ptr;
      if (c) buf += ',';
      buf.append(cell, end);
    }
    buf += '\n';
    if (buf.size() > (1 << 20)) {
      std::fwrite(buf.data(), 1, buf.size(), f);
      buf.clear();
    }
  }
  std::fwrite(buf.data(), 1, buf.size(), f);
  std::fclose(f);
}

// A new modification time makes the cache read the file afresh.
void Touch(const fs::path& path, int run) {
  struct timespec times[2] = {{1'000'000 + run, 0}, {1'000'000 + run, 0}};
  utimensat(AT_FDCWD, path.c_str(), times, 0);
}

double QuorvixSeconds(const fs::path& path, double& sum) {
  MathParser parser;
  double best = 1e30;
  for (int run = 0; run < kRuns; ++run) {
    Touch(path, run);
    sum = 0;
    const double t0 = Now();
    for (int c = 0; c < kCols; ++c) {
      std::string expr = "read(\"" + path.string() + "\", \"c" + std::to_string(c) + "\")";
      std::unique_ptr<symtab> v(parser.Evaluate(expr.c_str()));
      if (v == nullptr || v->NumElements() != kRows) {
        std::fprintf(stderr, "read failed: %s\n", MathParser::ErrorText().c_str());
        std::exit(1);
      }
      for (int i = 0; i < kRows; ++i) sum += v->data[i];
    }
    best = std::min(best, Now() - t0);
  }
  return best;
}

// The peer's best time and its sum from a python3 one-liner; -1 when the
// module is missing.
double PythonSeconds(const std::string& python, const std::string& body, const fs::path& path,
                     double& sum) {
  std::string cmd = python + " -c '" + body + "' " + path.string() + " 2>/dev/null";
  std::unique_ptr<FILE, int (*)(FILE*)> p(popen(cmd.c_str(), "r"), &pclose);
  double t = -1;
  if (p == nullptr || std::fscanf(p.get(), "%lf %lf", &t, &sum) != 2) return -1;
  return t;
}

const char* kPandas =
    "import sys, time\nimport pandas\nbest = 1e30\nfor _ in range(3):\n"
    "  t = time.perf_counter(); df = pandas.read_csv(sys.argv[1])\n"
    "  cols = [df[c].to_numpy() for c in df.columns]; best = min(best, time.perf_counter() - t)\n"
    "print(best, sum(float(c.sum()) for c in cols))";
const char* kLoadtxt =
    "import sys, time\nimport numpy\nt = time.perf_counter()\n"
    "a = numpy.loadtxt(sys.argv[1], delimiter=\",\", skiprows=1)\n"
    "print(time.perf_counter() - t, float(a.sum()))";

void Row(const char* name, double t, double sum, double quorvix_t) {
  if (t < 0) {
    std::printf("  %-22s %10s\n", name, "skipped");
    return;
  }
  std::printf("  %-22s %9.3f s %12.6g   quorvix/this %.2f\n", name, t, sum, quorvix_t / t);
}

}  // namespace

int main(int argc, char** argv) {
  std::string python = "python3";
  for (int i = 1; i + 1 < argc; ++i)
    if (std::string(argv[i]) == "--python") python = argv[i + 1];
  fs::path dir = fs::temp_directory_path() / ("quorvix_results_bench_" + std::to_string(getpid()));
  fs::create_directories(dir);
  fs::path csv = dir / "channels.csv";
  WriteCsv(csv);
  std::printf("result files: every column of a %d x %d CSV (%.0f MB), best of %d\n", kRows, kCols,
              fs::file_size(csv) / 1e6, kRuns);
  double qsum = 0, psum = 0, nsum = 0;
  const double q = QuorvixSeconds(csv, qsum);
  const double p = PythonSeconds(python, kPandas, csv, psum);
  const double n = PythonSeconds(python, kLoadtxt, csv, nsum);
  std::printf("  %-22s %9.3f s %12.6g\n", "quorvix read", q, qsum);
  Row("pandas read_csv", p, psum, q);
  Row("numpy loadtxt (once)", n, nsum, q);
  fs::remove_all(dir);
  const bool sums_agree = (p < 0 || std::abs(psum - qsum) <= 1e-9 * std::abs(qsum)) &&
                          (n < 0 || std::abs(nsum - qsum) <= 1e-9 * std::abs(qsum));
  if (!sums_agree) std::printf("  the sums differ\n");
  return sums_agree ? 0 : 1;
}
