# bash completion of the quorvix command: commands, each command's options,
# template files (*.qvx, else any file) for fill, params and doe, any file
# for inspect, and function names for help.

# Sets COMPREPLY to the lines a command prints, so names keep their spaces.
_quorvix_reply() {
  mapfile -t COMPREPLY < <("$@")
}

# Files matching a pattern, and directories to look further in.
_quorvix_matching() {
  compgen -f -X "!$1" -- "$cur"
  compgen -d -- "$cur"
}

_quorvix_files() {
  local pattern=$1
  compopt -o filenames 2> /dev/null
  if [[ -n $pattern ]]; then
    _quorvix_reply _quorvix_matching "$pattern"
    ((${#COMPREPLY[@]} > 0)) && return
  fi
  _quorvix_reply compgen -f -- "$cur"
}

_quorvix() {
  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _quorvix_reply compgen -W 'fill eval functions help params doe inspect --help --version' \
      -- "$cur"
    return
  fi
  local command=${COMP_WORDS[1]}
  local fill='-o --output -I --include -D --define --lf --safe-quotes --time-limit --pref'
  local trust='--restricted --allow-env --max-elements --max-output'
  local options
  case $command in
    fill) options="$fill $trust --help" ;;
    eval) options='-D --define --time-limit --restricted --allow-env --max-elements --' ;;
    functions) options='--long' ;;
    params) options='--json -I --include --help' ;;
    doe) options="--runs --out -j --rows -I --include -D --define --lf --safe-quotes \
--time-limit $trust --help" ;;
    inspect) options='--json' ;;
    help)
      ((COMP_CWORD == 2)) || return
      local names
      names=$("${COMP_WORDS[0]}" functions 2> /dev/null | cut -f1 -d' ' | cut -f1)
      _quorvix_reply compgen -W "$names" -- "$cur"
      return
      ;;
    *) return ;;
  esac

  # The value of an option that takes one.
  case $prev in
    -o | --output | --pref) _quorvix_files ''; return ;;
    --runs) _quorvix_files '*.csv'; return ;;
    -I | --include)
      compopt -o filenames 2> /dev/null
      _quorvix_reply compgen -d -- "$cur"
      return
      ;;
    -D | --define | --time-limit | --allow-env | --max-elements | --max-output | -j | --rows | \
      --out)
      return
      ;;
  esac

  if [[ $cur == -* ]]; then
    _quorvix_reply compgen -W "$options" -- "$cur"
    return
  fi
  case $command in
    fill | params | doe) _quorvix_files '*.qvx' ;;
    inspect) _quorvix_files '' ;;
  esac
}

complete -F _quorvix quorvix
