#!/usr/bin/env bash
# Sets up a Debian 12 machine for quorvix, builds it, and runs the main job or
# the test suite. Safe to run again: packages already present are not touched
# and an existing build directory is reused.
#
#   scripts/setup.sh [COMMAND] [OPTIONS] [-- CMAKE_ARGS...]
#
# Commands:
#   deps    install the missing Debian packages only
#   build   deps, then configure and build (the default)
#   run     build the CLI, then fill the example templates in examples/ and print them
#   eval    build the CLI, then evaluate every line of examples/expressions.txt
#   test    build, then run the whole test suite
#
# Options:
#   --build-dir DIR   build directory (default: build, or $QUORVIX_BUILD_DIR)
#   --no-deps         skip the package check
#   --no-werror       build without -Werror
#   -j N              parallel build jobs (default: number of cores)
#   -h, --help        show this text
# Arguments after "--" go to cmake at configure time, e.g.
#   scripts/setup.sh test --build-dir build-asan -- -DQUORVIX_SANITIZE=ON
set -euo pipefail

ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"

# Everything the library, its tests, the fuzzers and the benchmarks need.
PACKAGES=(
  cmake ninja-build pkg-config g++ clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  tcl-dev libpcre2-dev libeigen3-dev libmatio-dev libhdf5-dev pybind11-dev python3-dev
  clang-format libmuparser-dev
  python3 python3-numpy python3-jinja2 python3-pytest
  dpkg-dev file  # cpack's Debian package: dpkg-shlibdeps finds its Depends
)

usage() { sed -n '2,/^set -euo/{/^set -euo/d;s/^# \{0,1\}//;p}' "${BASH_SOURCE[0]}"; }
log() { printf '==> %s\n' "$*" >&2; }
die() { printf 'setup.sh: %s\n' "$*" >&2; exit 2; }

command_name=build
build_dir="${QUORVIX_BUILD_DIR:-build}"
want_deps=1
werror=ON
jobs="$(nproc 2>/dev/null || echo 2)"
cmake_args=()

if [[ $# -gt 0 && $1 != -* ]]; then
  command_name="$1"
  shift
fi
case "$command_name" in
  deps | build | run | eval | test) ;;
  help) usage; exit 0 ;;
  *) die "unknown command '$command_name' (expected deps, build, run, eval or test)" ;;
esac
while [[ $# -gt 0 ]]; do
  case "$1" in
    --build-dir) [[ $# -ge 2 ]] || die "--build-dir needs a directory"; build_dir="$2"; shift 2 ;;
    --build-dir=*) build_dir="${1#*=}"; shift ;;
    --no-deps) want_deps=0; shift ;;
    --no-werror) werror=OFF; shift ;;
    -j) [[ $# -ge 2 ]] || die "-j needs a number"; jobs="$2"; shift 2 ;;
    -j*) jobs="${1#-j}"; shift ;;
    -h | --help) usage; exit 0 ;;
    --) shift; cmake_args=("$@"); break ;;
    *) die "unknown option '$1'" ;;
  esac
done
[[ $build_dir = /* ]] || build_dir="$ROOT/$build_dir"

# Root installs directly; anyone else needs sudo.
as_root() {
  if [[ $(id -u) -eq 0 ]]; then
    "$@"
  elif command -v sudo > /dev/null; then
    sudo "$@"
  else
    die "need root (or sudo) to run: $*"
  fi
}

install_deps() {
  local missing=() pkg
  for pkg in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2> /dev/null | grep -q 'install ok installed'; then
      missing+=("$pkg")
    fi
  done
  if [[ ${#missing[@]} -eq 0 ]]; then
    log "packages: all present"
    return
  fi
  log "installing: ${missing[*]}"
  as_root env DEBIAN_FRONTEND=noninteractive apt-get update -q
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends \
    "${missing[@]}"
}

# Builds the targets given (everything when none).
build() {
  # Configure only when the directory is new or the options changed; a re-run
  # then goes straight to the incremental build.
  local config=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DQUORVIX_WERROR=$werror" "${cmake_args[@]}")
  local stamp="$build_dir/.setup-config"
  if [[ ! -f $build_dir/build.ninja || ! -f $stamp || "$(cat "$stamp")" != "${config[*]}" ]]; then
    log "configuring $build_dir"
    cmake -S "$ROOT" -B "$build_dir" -G Ninja "${config[@]}"
    printf '%s' "${config[*]}" > "$stamp"
  fi
  log "building $build_dir (-j$jobs)${1:+: $*}"
  cmake --build "$build_dir" -j "$jobs" ${1:+--target "$@"}
}

# Every non-blank line that does not start with "#" is one expression; all of
# them go to one parser so that assignments carry over to later lines.
run_examples() {
  local file="$ROOT/examples/expressions.txt" line exprs=()
  while IFS= read -r line || [[ -n $line ]]; do
    [[ $line =~ ^[[:space:]]*(#|$) ]] && continue
    exprs+=("$line")
  done < "$file"
  [[ ${#exprs[@]} -gt 0 ]] || die "no expressions in $file"
  log "quorvix eval: ${#exprs[@]} expressions from examples/expressions.txt"
  local results
  results="$("$build_dir/quorvix" eval -- "${exprs[@]}")"
  # One printed line per expression: show each beside its result.
  local -a values
  mapfile -t values <<< "$results"
  if [[ ${#values[@]} -eq ${#exprs[@]} ]]; then
    local i width=0
    for line in "${exprs[@]}"; do ((${#line} > width)) && width=${#line}; done
    for i in "${!exprs[@]}"; do
      printf '%-*s  =>  %s\n' "$width" "${exprs[$i]}" "${values[$i]}"
    done
  else
    printf '%s\n' "$results"
  fi
}

# The main job: fill the bundled example templates and print the results.
run_templates() {
  local deck="$ROOT/examples/deck/deck.qvx" report="$ROOT/examples/report/report.qvx"
  log "quorvix fill examples/deck/deck.qvx (a solver input deck)"
  (cd "$ROOT" && "$build_dir/quorvix" fill --lf -I examples/deck examples/deck/deck.qvx)
  log "quorvix fill examples/report/report.qvx (a test report)"
  (cd "$ROOT" && "$build_dir/quorvix" fill --lf examples/report/report.qvx)
  log "quorvix fill examples/spectrum/spectrum_svg.qvx (a spectrum as an SVG picture)"
  (cd "$ROOT" && "$build_dir/quorvix" fill --lf -I examples/spectrum \
    examples/spectrum/spectrum_svg.qvx -o "$build_dir/spectrum.svg")
  log "wrote $build_dir/spectrum.svg (open it in a browser)"
  log "quorvix fill examples/rotating/order_tracks_svg.qvx (order tracks of a run-up)"
  (cd "$ROOT" && "$build_dir/quorvix" fill --lf -I examples/rotating \
    examples/rotating/order_tracks_svg.qvx -o "$build_dir/order_tracks.svg")
  log "wrote $build_dir/order_tracks.svg"
  log "quorvix doe examples/doe/plate.qvx (a 48-run design study of a plate deck)"
  (cd "$ROOT" && "$build_dir/quorvix" doe examples/doe/plate.qvx -I examples/doe \
    --runs examples/doe/runs.csv --out "$build_dir/study/{run}/plate_{material}.bdf" -j 2 --lf |
    tail -n 2)
  log "wrote the decks under $build_dir/study/"
  log "quorvix fill examples/results/rig_report.qvx (a report read from a rig's CSV export)"
  (cd "$ROOT" && "$build_dir/quorvix" fill --lf -I examples/results examples/results/rig_report.qvx)
}

run_tests() {
  log "running the test suite"
  (cd "$build_dir" && ctest --output-on-failure -j "$jobs")
}

if [[ $want_deps -eq 1 ]]; then install_deps; fi
case "$command_name" in
  deps) ;;
  build) build ;;
  run) build quorvix_cli; run_templates ;;
  eval) build quorvix_cli; run_examples ;;
  test) build; run_tests ;;
esac
