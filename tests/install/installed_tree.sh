#!/usr/bin/env bash
# Checks the installed tree of a build: installs it under BUILD/install-test
# (step "install"), then each step checks one way a user meets it:
#   headers    every public header compiles alone against the prefix only
#   cmake      a host program built through find_package(quorvix)
#   pkgconfig  the same host built through pkg-config
#   cli        the installed CLI, man page and completion
#   tcl        package require quorvix from the installed Tcl package
#
#   installed_tree.sh STEP BUILD_DIR SOURCE_DIR
set -euo pipefail

step=$1
build=$(cd "$2" && pwd)
source_dir=$(cd "$3" && pwd)
prefix=$build/install-test
here=$source_dir/tests/install
cxx=${CXX:-c++}

fail() { printf 'installed_tree %s: %s\n' "$step" "$*" >&2; exit 1; }

# The host prints its results; the values are worked out by hand:
# (1 + 2 + 3) * 7, the squares of 1..3, and k + 1 after the template set k = 5.
expected_host=$'eval: 42\nfill: squares: 1 4 9\nafter fill: 6'

check_host() {
  local got
  got=$("$@") || fail "host program failed"
  [[ $got == "$expected_host" ]] || fail $'host printed:\n'"$got"
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

case $step in
  install)
    rm -rf "$prefix"
    cmake --install "$build" --prefix "$prefix" > /dev/null
    libdir=$(dirname "$(find "$prefix" -name 'libquorvix.so.0' -print -quit)")
    [[ -L $libdir/libquorvix.so.0 && -L $libdir/libquorvix.so ]] || fail "no soname links"
    soname=$(objdump -p "$libdir/libquorvix.so" | awk '$1 == "SONAME" {print $2}')
    [[ $soname == libquorvix.so.0 ]] || fail "soname is '$soname'"
    ;;
  headers)
    installed=$(cd "$prefix/include/quorvix" && ls)
    [[ $installed == "$(cd "$source_dir/include/quorvix" && ls)" ]] ||
      fail "installed headers differ from include/quorvix"
    for header in $installed; do
      printf '#include "quorvix/%s"\n' "$header" |
        "$cxx" -std=c++20 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I "$prefix/include" \
          -x c++ - || fail "quorvix/$header does not compile alone"
    done
    ;;
  cmake)
    cmake -S "$here/host" -B "$scratch" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > /dev/null ||
      fail "configure failed"
    cmake --build "$scratch" > /dev/null || fail "build failed"
    check_host "$scratch/host"
    ;;
  pkgconfig)
    export PKG_CONFIG_PATH
    PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name quorvix.pc -print -quit)")
    version=$("$prefix/bin/quorvix" --version)
    [[ "quorvix $(pkg-config --modversion quorvix)" == "$version" ]] || fail "pkg-config version"
    # shellcheck disable=SC2046
    "$cxx" -std=c++20 "$here/host/host.cc" $(pkg-config --cflags --libs quorvix) \
      -o "$scratch/host" || fail "build failed"
    check_host env LD_LIBRARY_PATH="$(pkg-config --variable=libdir quorvix)" "$scratch/host"
    ;;
  cli)
    # No library path: the CLI finds the library beside it.
    [[ $(env -u LD_LIBRARY_PATH "$prefix/bin/quorvix" eval '2 * 3') == 6 ]] ||
      fail "installed CLI"
    [[ -f $prefix/share/man/man1/quorvix.1 ]] || fail "no man page"
    [[ -f $prefix/share/bash-completion/completions/quorvix ]] || fail "no bash completion"
    ;;
  tcl)
    got=$(echo 'package require quorvix; puts [quorvix::eval {2*3}]' |
      TCLLIBPATH=$(dirname "$(dirname "$(find "$prefix" -name pkgIndex.tcl -print -quit)")") \
        tclsh) || fail "tclsh failed"
    [[ $got == 6 ]] || fail "tclsh printed '$got'"
    ;;
  *) fail "unknown step" ;;
esac
