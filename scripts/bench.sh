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

# Benchmark-only peers (FFTW for the spectral rows): installed when missing,
# best effort; a peer that stays missing leaves its column empty with a note.
missing=()
for pkg in libfftw3-dev; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
if [[ ${#missing[@]} -gt 0 ]]; then
  as_root=()
  [[ $(id -u) -eq 0 ]] || as_root=(sudo -n)
  if ! { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
      --no-install-recommends "${missing[@]}"; } >/dev/null 2>&1; then
    echo "note: could not install ${missing[*]}; the FFTW column is skipped"
  fi
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUORVIX_BENCH=ON \
  >"$build.configure.log" 2>&1 || { cat "$build.configure.log"; exit 1; }
rm -f "$build.configure.log"
targets=(quorvix_compare quorvix_deck)
[[ $micro == 1 ]] && targets+=(quorvix_micro_bench)
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

if [[ $micro == 1 ]]; then
  echo
  "$build/bench/quorvix_micro_bench"
fi
