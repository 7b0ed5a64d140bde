#!/bin/sh
# A static program needs nothing of the box that it runs on: not even a root directory with anything in it.
# Usage: stands_alone.sh PROGRAM
#
# Imports the bundled library in a root of its own, below the current folder. Exit status 77, with a word, where
# neither chroot nor unshare is permitted.
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
