#!/usr/bin/env bash
# Checks that every C++ file git tracks is formatted as .clang-format says.
# With --fix, formats them in place instead.
#
#   scripts/check_format.sh [--fix]
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
command -v clang-format > /dev/null || { echo "check_format.sh: clang-format not found" >&2; exit 2; }
mapfile -t files < <(git ls-files '*.cc' '*.h')
if [[ ${1:-} == --fix ]]; then
  clang-format -i "${files[@]}"
  exit 0
fi
if ! clang-format --dry-run -Werror "${files[@]}"; then
  echo "check_format.sh: files above are not formatted; run scripts/check_format.sh --fix" >&2
  exit 1
fi
echo "format: ${#files[@]} files formatted"
