#!/usr/bin/env bash
# The bash completion: sets the words of a command line, calls the function
# and compares COMPREPLY.   completion_test.sh COMPLETION_SCRIPT QUORVIX
source "$1"
q=$2 failures=0
cd "$(mktemp -d)" && trap 'rm -rf "$PWD"' EXIT
mkdir decks && touch deck.qvx report.qvx data.csv notes.txt "two words.txt"

# expect WORDS... -- REPLY...: the last word is the one being completed.
expect() {
  local words=() got want
  while [[ $1 != -- ]]; do words+=("$1") && shift; done
  shift
  COMP_WORDS=("${words[@]}") COMP_CWORD=$((${#words[@]} - 1)) COMPREPLY=()
  _quorvix
  got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | paste -sd,)
  want=$(printf '%s\n' "$@" | sort | paste -sd,)
  [[ $got == "$want" ]] || { echo "\"${words[*]}\": got [$got] want [$want]" && ((failures++)); }
}

expect "$q" f -- fill functions
expect "$q" '' -- fill eval functions help params doe inspect --help --version
expect "$q" fill --max -- --max-elements --max-output
expect "$q" eval --max -- --max-elements
expect "$q" doe --r -- --runs --rows --restricted
expect "$q" functions - -- --long
# Templates and directories first, any file when no template matches.
expect "$q" fill '' -- deck.qvx report.qvx decks
expect "$q" doe d -- deck.qvx decks
expect "$q" fill n -- notes.txt
expect "$q" inspect t -- 'two words.txt'
expect "$q" inspect '' -- deck.qvx report.qvx data.csv notes.txt decks 'two words.txt'
expect "$q" params -I dec -- decks
expect "$q" doe deck.qvx --runs '' -- data.csv decks
expect "$q" fill -D '' --
# Function names come from the program.
expect "$q" help fftm -- fftmag
exit $((failures > 0))
