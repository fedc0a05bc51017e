#!/usr/bin/env bash
# The bash completion of quorvix: sources the script, sets the words of a
# command line, calls the completion function and compares COMPREPLY.
#
#   completion_test.sh COMPLETION_SCRIPT QUORVIX
set -uo pipefail

script=$1
quorvix=$2
failures=0

# shellcheck source=/dev/null
source "$script"
cd "$(mktemp -d)" || exit 1
trap 'rm -rf "$PWD"' EXIT
mkdir decks
touch deck.qvx report.qvx data.csv notes.txt

# expect "WORDS ..." -- "REPLY ...": the last word is the one completed.
expect() {
  local words=() reply=()
  while [[ $1 != -- ]]; do words+=("$1"); shift; done
  shift
  reply=("$@")
  COMP_WORDS=("${words[@]}")
  COMP_CWORD=$((${#words[@]} - 1))
  COMPREPLY=()
  _quorvix
  local got
  got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' ')
  local want
  want=$(printf '%s\n' "${reply[@]}" | sort | tr '\n' ' ')
  if [[ $got != "$want" ]]; then
    printf 'completing "%s": got [%s] want [%s]\n' "${words[*]}" "$got" "$want"
    failures=$((failures + 1))
  fi
}

expect "$quorvix" f -- fill functions
expect "$quorvix" '' -- fill eval functions help params doe inspect --help --version
expect "$quorvix" --v -- --version
expect "$quorvix" fill --s -- --safe-quotes
expect "$quorvix" fill --max -- --max-elements --max-output
expect "$quorvix" eval --max -- --max-elements
expect "$quorvix" doe --r -- --runs --rows --restricted
expect "$quorvix" functions - -- --long
expect "$quorvix" params --j -- --json
# Templates first, with directories; any file when no template matches.
expect "$quorvix" fill '' -- deck.qvx report.qvx decks
expect "$quorvix" doe d -- deck.qvx decks
expect "$quorvix" params -I dec -- decks
expect "$quorvix" doe deck.qvx --runs '' -- data.csv decks
expect "$quorvix" fill n -- notes.txt
expect "$quorvix" inspect '' -- deck.qvx report.qvx data.csv notes.txt decks
expect "$quorvix" fill -o r -- report.qvx
expect "$quorvix" fill -D '' --
# Function names from the program itself.
expect "$quorvix" help fftm -- fftmag
expect "$quorvix" help abst -- abstorelative

exit $((failures > 0))
