#!/bin/sh
# A static program needs nothing of the box that it runs on: not even a root directory with anything in it.
# Usage: stands_alone.sh IMPORT COMPANION...
#
# Imports the bundled library in a root of its own, below the current folder, and has each companion read it or what
# came out. Exit status 77, with a word, where neither chroot nor unshare is permitted.
set -eu
for enter in "chroot" "unshare -r chroot" ""; do
  $enter / /bin/true 2>/dev/null && break
done
[ -n "$enter" ] || { echo "skipped: stands_alone: neither chroot nor unshare is permitted here" && exit 77; }
rm -rf root
mkdir -p root/db
cp "$1" root/program
cp "$(dirname "$0")/../examples/iTunes Music Library.xml" root/library.xml
$enter root /program -dbdir /db -itunes-lib /library.xml
test -f root/db/itunes.import.items
test -s 'root/db/iTunes-playlist-Film_Night##V.wpl'
shift
for program; do
  name=${program##*/}
  cp "$program" root/program
  case $name in
    itunes-items) set -- --count /db/itunes.import.items ;;
    itunes-prepare) set -- /library.xml /prepared.xml ;;
    *) set -- --version ;;
  esac
  $enter root /program "$@" || { echo "$name fails" >&2 && exit 1; }
done
