# shellcheck shell=bash
# Bash completion for itunes-check.

_itunes_check() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  if [[ $previous == --min-share ]]; then
    COMPREPLY=()
  elif [[ $previous != --items && $previous != --page && $previous != --media && $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--list --json --media --page --items --min-share --help --version' -- "$current")
  fi
} && complete -o default -F _itunes_check itunes-check
