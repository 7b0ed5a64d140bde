#!/bin/sh
# A static program needs nothing of the box that it runs on: not even a root directory with anything in it.
# Usage: stands_alone.sh PROGRAM LIBRARY [FILE...]
#
# Lays an empty root out in the current folder, imports the library in it and looks for the items file and for
# each named file. Exit status 77, with a word, where neither chroot nor unshare is permitted.
set -eu
program=$1 library=$2
shift 2

rm -rf root
mkdir -p root/db
cp "$program" root/program
cp "$library" root/library.xml

if chroot / /bin/true 2>/dev/null; then
  set -- chroot "$@"
elif unshare -r chroot / /bin/true 2>/dev/null; then
  set -- "unshare -r chroot" "$@"
else
  echo "skipped: stands_alone: neither chroot nor unshare is permitted here"
  exit 77
fi
enter=$1
shift

$enter root /program -dbdir /db -itunes-lib /library.xml
for file in itunes.import.items "$@"; do
  if [ ! -f "root/db/$file" ]; then
    echo "failed: no $file came out; there are:"
    ls root/db
    exit 1
  fi
done
