#!/usr/bin/env bash
# Holds the manual pages against what the programs say of themselves: manual_pages.sh SOURCE ITEMS CHECK
# Each page has to name the options of its program's usage text, no more and no fewer. itunes-import prints none
# without failing, so its text is that of the golden file; it keeps quiet about -init.
set -euo pipefail
cd "$1"
status=0

compare() { # PAGE, with the usage text as standard input
  local page=docs/$1.1
  diff <(grep -oE '(^|[[ ])--?[a-z][a-z-]+' | tr -d '[ ' | sort -u) \
    <(sed -nE 's/^\.(It|Op) Fl (-?[a-z][a-z-]*).*/-\2/p' "$page" | sort -u) >&2 || { echo "$page differs" >&2 && status=1; }
}

{ sed -nE 's/^(-[a-z-]+) .*/\1/p' tests/golden/usage.txt && echo -init; } | compare itunes-import
"$2" --help | compare itunes-items
"$3" --help | compare itunes-check
tools/itunes-import-night/itunes-import-night --help | compare itunes-import-night
if command -v python3 >/dev/null; then
  tools/itunes-prepare/itunes-prepare --help | compare itunes-prepare
fi
exit $status
