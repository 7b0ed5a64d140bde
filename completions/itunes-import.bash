# shellcheck shell=bash
# Bash completion for itunes-import.

_itunes_import() {
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    -dbdir | -playlist-dir | -base) compopt +o default -o dirnames ;;
    -itunes-lib | -logfile | -init) ;; # file names, which an empty answer stands for
    *)
      mapfile -t COMPREPLY < <(compgen -W '-dbdir -playlist-dir -base -itunes-lib -logfile -noclean -init' \
        -- "${COMP_WORDS[COMP_CWORD]}")
      ;;
  esac
} && complete -o default -F _itunes_import itunes-import
