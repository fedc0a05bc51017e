// Reading one 1e7-element HDF5 dataset: `read(FILE, "/x")` evaluated by a
// parser against h5py `f["/x"][...]`, each from a fresh open, best of N,
// side by side. Target: within 1.2x of h5py.
//
//   quorvix_hdf5_bench [--python PYTHON] [--runs N] [--elements N]
#include <hdf5.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"
#include "results/result_cache.h"

namespace {

namespace fs = std::filesystem;

bool WriteDataset(const std::string& path, long long n) {
  std::vector<double> x(static_cast<std::size_t>(n));
  for (long long i = 0; i < n; ++i) x[i] = 0.001 * static_cast<double>(i % 100000);
  const hid_t f = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
  const hsize_t dims[1] = {static_cast<hsize_t>(n)};
  const hid_t space = H5Screate_simple(1, dims, nullptr);
  const hid_t ds = H5Dcreate2(f, "x", H5T_IEEE_F64LE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  const bool ok = f >= 0 && ds >= 0 &&
                  H5Dwrite(ds, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, x.data()) >= 0;
  H5Dclose(ds);
  H5Sclose(space);
  H5Fclose(f);
  return ok;
}

// Best wall time of `runs` reads as a template or expression reads: the
// `read` built-in through a parser, from opening the file to the row vector.
// The expression's parse is cached, as in a template; the file cache is
// dropped before each run (outside the timing), so every run opens and reads
// the file. `sum` gets the values' sum (NaN when nothing was read), outside
// the timing as on the peer's side.
double TimeOurs(const std::string& path, const std::string& name, int runs, double* sum) {
  MathParser parser;
  double best = 1e300;
  *sum = std::numeric_limits<double>::quiet_NaN();
  for (int r = 0; r < runs; ++r) {
    quorvix::results::ClearResultCache();
    const std::string expression = "read(\"" + path + "\", \"" + name + "\")";
    const auto t0 = std::chrono::steady_clock::now();
    std::unique_ptr<symtab> v(parser.Evaluate(expression.c_str()));
    best = std::min(best,
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    if (v == nullptr || v->NumElements() < 2) return best;
    *sum = std::accumulate(v->data, v->data + v->NumElements(), 0.0);
  }
  return best;
}

// h5py's best time in seconds and its sum; false when it could not run.
bool TimePeer(const std::string& python, const std::string& path, int runs, double* best,
              double* sum) {
  const std::string command = python + " '" + QUORVIX_BENCH_DIR "/hdf5_peer.py' '" + path +
                              "' /x " + std::to_string(runs) + " 2>/dev/null";
  std::FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return false;
  int found = 0;
  char line[256];
  while (std::fgets(line, sizeof line, pipe)) {
    found += std::sscanf(line, "best=%lf", best);
    found += std::sscanf(line, "sum=%lf", sum);
  }
  return pclose(pipe) == 0 && found == 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::string python = "python3";
  int runs = 10;
  long long elements = 10'000'000;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string a = argv[i];
    if (a == "--python") python = argv[i + 1];
    if (a == "--runs") runs = std::max(1, std::atoi(argv[i + 1]));
    if (a == "--elements") elements = std::max(1LL, std::atoll(argv[i + 1]));
  }
  char pattern[] = "/tmp/quorvix_hdf5_bench_XXXXXX";
  if (!mkdtemp(pattern)) return 1;
  const fs::path dir = pattern;
  const std::string path = (dir / "x.h5").string();
  if (!WriteDataset(path, elements)) {
    std::fprintf(stderr, "could not write %s\n", path.c_str());
    fs::remove_all(dir);
    return 1;
  }
  double our_sum = 0, peer_sum = 0, peer = 0;
  const double ours = TimeOurs(path, "/x", runs, &our_sum);
  const bool have_peer = TimePeer(python, path, runs, &peer, &peer_sum);
  fs::remove_all(dir);

  std::printf("HDF5 read: read(FILE, \"/x\") of %lld doubles, fresh open each time, best of %d\n",
              elements, runs);
  std::printf("%-28s %10s %10s %8s\n", "row", "quorvix ms", "h5py ms", "ratio");
  if (have_peer) {
    std::printf("%-28s %10.2f %10.2f %7.2fx (target: at most 1.2x)\n", "read /x", ours * 1e3,
                peer * 1e3, ours / peer);
    if (std::abs(our_sum - peer_sum) > 1e-9 * std::abs(peer_sum))
      std::printf("the sums differ: %.17g against %.17g\n", our_sum, peer_sum);
  } else {
    std::printf("%-28s %10.2f %10s\n", "read /x", ours * 1e3, "-");
    std::printf("h5py not available (Debian: python3-h5py); its column is skipped\n");
  }
  return std::isnan(our_sum) ? 1 : 0;
}
