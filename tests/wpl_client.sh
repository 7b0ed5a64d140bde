#!/bin/sh
# Imports the bundled library into a folder below the current one and has a real client list the playlists.
# Usage: wpl_client.sh PROGRAM
#
# Playlists need no media files to be there. Exit status 77, with a word, where the client is not installed.
set -eu
rm -rf wpl_client && mkdir wpl_client
"$1" -dbdir wpl_client -itunes-lib "$(dirname "$0")/../examples/iTunes Music Library.xml"
# Debian's own Python: python3-gi and gir1.2-totemplparser-1.0 are packaged for it.
[ -x /usr/bin/python3 ] ||
  { echo "skipped: wpl_client: needs python3, python3-gi, gir1.2-totemplparser-1.0 and shared-mime-info" && exit 77; }
exec /usr/bin/python3 "$(dirname "$0")/wpl_client.py" wpl_client
