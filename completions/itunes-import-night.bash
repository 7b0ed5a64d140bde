# shellcheck shell=bash
# Bash completion for itunes-import-night.

_itunes_import_night() {
  case ${COMP_WORDS[COMP_CWORD - 1]} in
    -dbdir | -playlist-dir | --media) compopt +o default -o dirnames ;;
    -itunes-lib | -logfile | --min-share | --map | --page) ;; # file names, which an empty answer stands for
    *)
      mapfile -t COMPREPLY < <(compgen -W '-dbdir -playlist-dir -itunes-lib -logfile --min-share --prepare --map
        --media --page --verbose --help --version' -- "${COMP_WORDS[COMP_CWORD]}")
      ;;
  esac
} && complete -o default -F _itunes_import_night itunes-import-night
