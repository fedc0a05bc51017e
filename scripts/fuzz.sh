#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each one on its seed corpus.
# Exits non-zero when any target finds a crash, hang, leak or sanitizer report;
# the offending input is kept under BUILD_DIR/artifacts/ and printed.
#
#   scripts/fuzz.sh [OPTIONS] [FUZZER...]
#
# Options:
#   --build-dir DIR   build directory (default: build-fuzz)
#   --time SECONDS    how long each target runs (default: 60)
#   --no-build        use the fuzzers already built in the build directory
#   -j N              parallel build jobs (default: number of cores)
#   -h, --help        show this text
# With no FUZZER named, every target in fuzz/CMakeLists.txt runs in turn.
# Reproduce a finding with: BUILD_DIR/fuzz/NAME ARTIFACT
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

usage() { sed -n '2,/^set -euo/{/^set -euo/d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"; }
log() { printf '==> %s\n' "$*" >&2; }
die() { printf 'fuzz.sh: %s\n' "$*" >&2; exit 2; }

build_dir=build-fuzz
seconds=60
want_build=1
jobs="$(nproc 2>/dev/null || echo 2)"
fuzzers=()

while [[ $# -gt 0 ]]; do
  case "$1" in
    --build-dir) [[ $# -ge 2 ]] || die "--build-dir needs a directory"; build_dir="$2"; shift 2 ;;
    --build-dir=*) build_dir="${1#*=}"; shift ;;
    --time) [[ $# -ge 2 ]] || die "--time needs seconds"; seconds="$2"; shift 2 ;;
    --time=*) seconds="${1#*=}"; shift ;;
    --no-build) want_build=0; shift ;;
    -j) [[ $# -ge 2 ]] || die "-j needs a number"; jobs="$2"; shift 2 ;;
    -j*) jobs="${1#-j}"; shift ;;
    -h | --help) usage; exit 0 ;;
    -*) die "unknown option '$1'" ;;
    *) fuzzers+=("$1"); shift ;;
  esac
done
[[ $build_dir = /* ]] || build_dir="$ROOT/$build_dir"
[[ $seconds =~ ^[0-9]+$ ]] || die "--time needs a whole number of seconds"

if [[ ${#fuzzers[@]} -eq 0 ]]; then
  # The list of targets lives in one place: fuzz/CMakeLists.txt.
  read -r -a fuzzers <<< "$(sed -n 's/^set(QUORVIX_FUZZERS \(.*\))$/\1/p' "$ROOT/fuzz/CMakeLists.txt")"
  [[ ${#fuzzers[@]} -gt 0 ]] || die "no targets listed in fuzz/CMakeLists.txt"
fi

if [[ $want_build -eq 1 ]]; then
  command -v clang++ > /dev/null || die "clang++ not found (run scripts/setup.sh deps)"
  if [[ ! -f $build_dir/build.ninja ]]; then
    log "configuring $build_dir (clang, libFuzzer, ASan+UBSan)"
    cmake -S "$ROOT" -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DCMAKE_CXX_COMPILER=clang++ -DQUORVIX_FUZZ=ON -DQUORVIX_BENCH=OFF
  fi
  log "building ${fuzzers[*]} (-j$jobs)"
  cmake --build "$build_dir" -j "$jobs" --target "${fuzzers[@]}" result_seeds
fi
# The binary result-file targets take their seeds from files this build
# writes (fuzz/result_seeds.cc), not from blobs in the tree.
if [[ -x $build_dir/fuzz/result_seeds ]]; then
  "$build_dir/fuzz/result_seeds" "$build_dir/seeds"
fi

# Sanitizer reports must end the run so that libFuzzer records the input.
export ASAN_OPTIONS="${ASAN_OPTIONS:-halt_on_error=1:detect_leaks=1:abort_on_error=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}"
export LSAN_OPTIONS="${LSAN_OPTIONS:-suppressions=$ROOT/fuzz/lsan.supp}"

artifacts="$build_dir/artifacts"
mkdir -p "$artifacts"
failed=()
for name in "${fuzzers[@]}"; do
  binary="$build_dir/fuzz/$name"
  [[ -x $binary ]] || die "$binary is not built"
  seeds="$ROOT/fuzz/corpus/${name%_fuzzer}"
  [[ -d $seeds ]] || seeds="$build_dir/seeds/${name%_fuzzer}"
  [[ -d $seeds ]] || die "no seed corpus for $name"
  # New inputs go to a scratch corpus; the checked-in seeds stay as they are.
  work="$build_dir/corpus-run/$name"
  mkdir -p "$work"
  # Inputs up to 4 KiB, or as long as the longest seed (binary files).
  max_len="$(find "$seeds" -type f -printf '%s\n' | sort -n | tail -n 1)"
  ((${max_len:-0} > 4096)) || max_len=4096
  options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -max_len="$max_len"
           -print_final_stats=1 -artifact_prefix="$artifacts/$name-")
  dict="$ROOT/fuzz/${name%_fuzzer}.dict"
  [[ -f $dict ]] && options+=(-dict="$dict")
  # A target's own libFuzzer options (fuzz/NAME.options, one a line) come
  # after the common ones and so override them.
  own="$ROOT/fuzz/${name%_fuzzer}.options"
  [[ -f $own ]] && mapfile -t -O "${#options[@]}" options < <(grep -v '^#' "$own")
  # A target's own sanitizer options (fuzz/NAME.asan, one a line) are added
  # to the common ones for its run only.
  asan_options="$ASAN_OPTIONS"
  extra="$ROOT/fuzz/${name%_fuzzer}.asan"
  [[ -f $extra ]] && asan_options+=":$(grep -v '^#' "$extra" | paste -sd:)"
  log "fuzzing $name for ${seconds}s"
  logfile="$artifacts/$name.log"
  if ASAN_OPTIONS="$asan_options" "$binary" "${options[@]}" "$work" "$seeds" > "$logfile" 2>&1; then
    grep -E '^stat::number_of_executed_units|^stat::new_units_added' "$logfile" | sed "s/^/  $name /" >&2
  else
    failed+=("$name")
    printf '\n%s FAILED; the last lines of its log (%s):\n' "$name" "$logfile" >&2
    tail -n 60 "$logfile" >&2
  fi
done

if [[ ${#failed[@]} -gt 0 ]]; then
  printf '\nfuzzing found problems in: %s\nreproducers:\n' "${failed[*]}" >&2
  ls -1 "$artifacts" | grep -E '^.*-(crash|leak|timeout|oom|slow-unit)-' | sed "s|^|  $artifacts/|" >&2 || true
  exit 1
fi
log "fuzzing: no findings"
