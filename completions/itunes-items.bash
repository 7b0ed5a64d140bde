# shellcheck shell=bash
# Bash completion for itunes-items.

_itunes_items() {
  local current=${COMP_WORDS[COMP_CWORD]}
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--count --json --help --version' -- "$current")
  fi
} && complete -o default -F _itunes_items itunes-items
