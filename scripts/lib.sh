# shellcheck shell=bash disable=SC2034
# Shared by the scripts: where the project is, what they say of themselves, and how their needs get installed.
# Sourced, not run.

unset CDPATH # with it, cd may go elsewhere, and prints where it went
project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$project" || exit 1
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL-$(nproc)} # each test works in a folder of its own

# print_help: the comment at the head of the script that runs.
print_help() {
  sed -n '1d; /^#/!q; s/^# \{0,1\}//p' "$project/scripts/${0##*/}"
}

# refuse TEXT...: says what is wrong with the arguments, and ends the script.
refuse() {
  printf '%s\n' "$*" "See scripts/${0##*/} --help" >&2
  exit 2
}

# quietly COMMAND...: runs it and shows what it prints only where it fails.
quietly() {
  local output
  if ! output=$("$@" 2>&1); then
    printf '%s\n' "$output" "Failed: $*" >&2
    return 1
  fi
}

# need_packages PACKAGE...: installs those of Debian's packages that are missing, and says so. Where apt-get is
# missing too it names what is needed and goes on: other systems may have it under other names.
need_packages() {
  local missing=() package
  if ! command -v apt-get >/dev/null; then
    echo "apt-get is not here; needed are, by their Debian names: $*" >&2
    return 0
  fi
  for package in "$@"; do
    if [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
      missing+=("$package")
    fi
  done
  if ((${#missing[@]} == 0)); then
    return 0
  fi
  local as_root=()
  if ((EUID != 0)); then
    as_root=(sudo)
    if ! command -v sudo >/dev/null; then
      echo "Please have installed: ${missing[*]}" >&2
      return 1
    fi
  fi
  echo "Installing: ${missing[*]}"
  "${as_root[@]}" apt-get update -qq
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# What every build needs.
build_packages=(cmake g++ libexpat1-dev libutf8proc-dev ninja-build)
