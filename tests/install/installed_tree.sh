#!/usr/bin/env bash
# The installed tree: step "install" installs the build under
# BUILD/install-test; each other step checks one way a user meets it.
#   installed_tree.sh install|headers|cmake|pkgconfig|cli|tcl BUILD_DIR SOURCE_DIR
set -euo pipefail
step=$1 build=$(cd "$2" && pwd) source_dir=$(cd "$3" && pwd)
prefix=$build/install-test host=$source_dir/tests/install/host cxx=${CXX:-c++}
scratch=$(mktemp -d) && trap 'rm -rf "$scratch"' EXIT
fail() { echo "installed_tree $step: $*" >&2 && exit 1; }
find_one() { dirname "$(find "$prefix" -name "$1" -print -quit)"; }

# Worked out by hand: (1 + 2 + 3) * 7, the squares of 1..3, and k + 1 after
# the template set k = 5.
check_host() {
  local got
  got=$("$@") || fail "host program failed"
  [[ $got == $'eval: 42\nfill: squares: 1 4 9\nafter fill: 6' ]] || fail "host printed: $got"
}

case $step in
  install)
    rm -rf "$prefix" && cmake --install "$build" --prefix "$prefix" > /dev/null
    lib=$(find_one libquorvix.so.0)/libquorvix.so
    [[ -L $lib && -L $lib.0 ]] || fail "no library links"
    [[ $(objdump -p "$lib" | awk '$1 == "SONAME" {print $2}') == libquorvix.so.0 ]] ||
      fail "soname" ;;
  headers)  # each alone, with nothing but the prefix on the include path
    headers=$(ls "$prefix/include/quorvix")
    [[ $headers == "$(ls "$source_dir/include/quorvix")" ]] || fail "headers differ from the tree"
    for h in $headers; do
      echo "#include \"quorvix/$h\"" | "$cxx" -std=c++20 -Wall -Wextra -Wpedantic -Werror \
        -fsyntax-only -I "$prefix/include" -x c++ - || fail "quorvix/$h does not compile alone"
    done ;;
  cmake)
    cmake -S "$host" -B "$scratch" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" > /dev/null
    cmake --build "$scratch" > /dev/null && check_host "$scratch/host" ;;
  pkgconfig)
    export PKG_CONFIG_PATH && PKG_CONFIG_PATH=$(find_one quorvix.pc)
    [[ "quorvix $(pkg-config --modversion quorvix)" == "$("$prefix/bin/quorvix" --version)" ]] ||
      fail "version"
    # shellcheck disable=SC2046
    "$cxx" -std=c++20 "$host/host.cc" $(pkg-config --cflags --libs quorvix) -o "$scratch/host"
    check_host env LD_LIBRARY_PATH="$(pkg-config --variable=libdir quorvix)" "$scratch/host" ;;
  cli)  # the CLI finds the library beside it, with no library path
    [[ $(env -u LD_LIBRARY_PATH "$prefix/bin/quorvix" eval '2 * 3') == 6 ]] || fail "CLI"
    [[ -f $prefix/share/man/man1/quorvix.1 ]] || fail "no man page"
    [[ -f $prefix/share/bash-completion/completions/quorvix ]] || fail "no completion" ;;
  tcl)
    got=$(echo 'package require quorvix; puts [quorvix::eval {2*3}]' |
      TCLLIBPATH=$(dirname "$(find_one pkgIndex.tcl)") tclsh) && [[ $got == 6 ]] ||
      fail "tclsh printed '$got'" ;;
  *) fail "unknown step" ;;
esac
