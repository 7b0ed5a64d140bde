#!/usr/bin/env bash
# An installation under a tight umask, below a prefix with blanks: installation.sh SOURCE BUILD
# Everybody gets at it, its parts say the version that the changelog begins with, what names a file or program leads to
# one, and the target uninstall leaves no file of it.
set -euo pipefail
source=$1 build=$2
prefix="$PWD/a prefix, 100 % full"
share=$prefix/share/doc/itunes-import
fail() { echo "$*" >&2 && exit 1; }

# The list of an installation that somebody made from this build folder comes back.
manifest=$build/install_manifest.txt
[[ ! -e $manifest ]] || mv "$manifest" kept_manifest
trap 'rm -rf "$prefix" "$manifest"; [[ ! -e kept_manifest ]] || mv kept_manifest "$manifest"' EXIT
rm -rf "$prefix"
(umask 077 && cmake --install "$build" --prefix "$prefix" >install.log)

closed=$(find "$prefix" ! -perm -444 -o -type d ! -perm -555)
[[ -z $closed ]] || fail "Others cannot get at: $closed"

version=$(grep -om1 '^## [0-9.]*' "$source/CHANGELOG.md" | cut -c4-)
for program in "$prefix"/bin/itunes-*; do
  # The import knows no option for it.
  [[ $program == */itunes-import || $("$program" --version) == "${program##*/} $version" ]] || fail "$program: version"
done
for page in "$prefix"/share/man/man?/itunes*; do
  grep -qFx ".Os itunes-import $version" "$page" || fail "$page: version"
done
head -n 1 "$source/debian/changelog" | grep -qF "itunes-import ($version) " || fail "debian/changelog: version"

while IFS=: read -r file link; do
  [[ -e ${file%/*}/${link:2} ]] || fail "$file: a link that leads nowhere: $link"
done < <(grep -roE '\]\([^)#:]*' --include='*.md' "$share")

unit=$(sed -n 's/^ExecStart=\([^ ]*\) .*/\1/p' "$share/examples/systemd/itunes-import.service")
printf -v night '%b' "${unit//%%/%}"
[[ $night == "$prefix/bin/itunes-import-night" ]] || fail "The unit starts: $night"
line=$(sed -n 's/.* mediaserver \(.*\) -dbdir .*/\1/p' "$share/examples/itunes-import.cron")
[[ $line == *'\%'* && $(sh -c "printf %s ${line//\\%/%}") == "$night" ]] || fail "cron starts: $line"

cmake --build "$build" --target uninstall >uninstall.log
left=$(find "$prefix" ! -type d)
[[ -z $left && ! -e $share ]] || fail "Left behind: $left"
