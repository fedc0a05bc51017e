#!/usr/bin/env bash
# Builds the Release benchmarks in build-bench/ and prints the side-by-side
# table (quorvix against muparser, numpy and plain C++) with the ratios.
#
#   scripts/bench.sh [--micro] [quorvix_compare options...]
#
# --micro also runs the Google Benchmark kernels afterwards. Other options go
# to quorvix_compare (--runs N, --scale F, --vector-reps N, --only-quorvix, ...).
# QUORVIX_BENCH_BUILD overrides the build directory, QUORVIX_PYTHON the
# interpreter used for the numpy peer.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${QUORVIX_BENCH_BUILD:-$root/build-bench}

micro=0
args=()
for a in "$@"; do
  if [[ $a == --micro ]]; then micro=1; else args+=("$a"); fi
done

# Benchmark-only peers from Debian, installed when missing; a peer that cannot
# be installed is skipped by the comparison with a note.
install_peers() {
  local missing=() pkg
  for pkg in "$@"; do
    dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' ||
      missing+=("$pkg")
  done
  [[ ${#missing[@]} -eq 0 ]] && return 0
  local sudo=()
  [[ $(id -u) -eq 0 ]] || sudo=(sudo -n)
  echo "installing benchmark peers: ${missing[*]}"
  { "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q &&
    "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
      "${missing[@]}"; } >/dev/null 2>&1 || echo "could not install ${missing[*]}; their columns are skipped"
}
command -v dpkg-query >/dev/null && install_peers python3-numpy python3-scipy python3-pandas libfftw3-dev
command -v dpkg-query >/dev/null && install_peers python3-h5py

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUORVIX_BENCH=ON \
  >"$build.configure.log" 2>&1 || { cat "$build.configure.log"; exit 1; }
rm -f "$build.configure.log"
targets=(quorvix_compare quorvix_deck quorvix_doe_bench quorvix_results_bench)
[[ $micro == 1 ]] && targets+=(quorvix_micro_bench)
# Built only with the HDF5 module.
hdf5_bench=0
cmake --build "$build" --target help 2>/dev/null | grep -q quorvix_hdf5_bench && hdf5_bench=1
[[ $hdf5_bench == 1 ]] && targets+=(quorvix_hdf5_bench)
# The Python module against the C++ API: built with the module only.
python_bench=0
cmake --build "$build" --target help 2>/dev/null | grep -q quorvix_python && python_bench=1
[[ $python_bench == 1 ]] && targets+=(quorvix_python quorvix_eval_api_bench)
cmake --build "$build" -j2 --target "${targets[@]}"

# The first interpreter that has numpy (a pyenv shim may hide the system one).
python=""
for p in "${QUORVIX_PYTHON:-}" python3 /usr/bin/python3; do
  [[ -n $p ]] || continue
  if "$p" -c 'import numpy' >/dev/null 2>&1; then python=$p; break; fi
done

echo
if [[ -n $python ]]; then
  "$build/bench/quorvix_compare" --python "$python" ${args[@]+"${args[@]}"}
else
  echo "no python3 with numpy found (Debian: python3-numpy); numpy column skipped"
  "$build/bench/quorvix_compare" --no-numpy ${args[@]+"${args[@]}"}
fi

echo
"$build/bench/quorvix_deck" --python "${python:-python3}"

echo
"$build/bench/quorvix_doe_bench"

echo
"$build/bench/quorvix_results_bench" --python "${python:-python3}"

if [[ $hdf5_bench == 1 ]]; then
  # The first interpreter that has h5py; without one the bench says so.
  h5python=""
  for p in "${QUORVIX_PYTHON:-}" python3 /usr/bin/python3; do
    [[ -n $p ]] || continue
    if "$p" -c 'import h5py' >/dev/null 2>&1; then h5python=$p; break; fi
  done
  echo
  "$build/bench/quorvix_hdf5_bench" --python "${h5python:-false}"
fi

if [[ $python_bench == 1 && -n $python ]]; then
  echo
  PYTHONPATH="$build/bindings/python" "$python" "$root/bench/python_bench.py" \
    "$build/bench/quorvix_eval_api_bench"
fi

if [[ $micro == 1 ]]; then
  echo
  "$build/bench/quorvix_micro_bench"
fi
