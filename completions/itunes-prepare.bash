# shellcheck shell=bash
# Bash completion for itunes-prepare.

_itunes_prepare() {
  local current=${COMP_WORDS[COMP_CWORD]}
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W '--media --map --no-probe --report --help --version' -- "$current")
  fi # else file names, which an empty answer stands for
} && complete -o default -F _itunes_prepare itunes-prepare
