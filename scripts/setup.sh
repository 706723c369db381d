#!/usr/bin/env bash
# Installs the Debian packages that the other scripts need and that are not there yet. Silent when nothing is missing.
#
#   scripts/setup.sh [GROUP...]     groups: base (default) browser lint fuzz bench coverage windows package all
#
# Runs as root or with sudo.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"

base=(g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev nlohmann-json3-dev libstb-dev zlib1g-dev
  bmagic libx11-dev libxtst-dev xvfb xdotool libasound2-dev libmp3lame-dev ffmpeg pkg-config libcurl4-openssl-dev libcdio-dev
  libarchive-dev libssl-dev python3 mpg123 tinyproxy-bin libcddb2-dev libcddb-file-perl)
browser=(chromium)
lint=(clang clang-tidy clang-format shellcheck doxygen)
fuzz=(clang libclang-rt-14-dev)
bench=(libavcodec-dev libavutil-dev lame mp3info mp3val)
coverage=(gcovr)
package=(dpkg-dev debootstrap)
windows=(g++-mingw-w64-i686-posix libz-mingw-w64-dev debootstrap dpkg-dev)

wanted=("${base[@]}")
for group in "$@"; do
  case $group in
    base) ;;
    browser) wanted+=("${browser[@]}") ;;
    lint) wanted+=("${lint[@]}") ;;
    fuzz) wanted+=("${fuzz[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    coverage) wanted+=("${coverage[@]}") ;;
    windows) wanted+=("${windows[@]}") ;;
    package) wanted+=("${package[@]}") ;;
    all) wanted+=("${browser[@]}" "${lint[@]}" "${fuzz[@]}" "${bench[@]}" "${coverage[@]}" "${windows[@]}" "${package[@]}") ;;
    *) die "no group named '$group' (base browser lint fuzz bench coverage windows package all)" ;;
  esac
done

command -v dpkg-query >/dev/null || die "this is no Debian system; install by hand what these packages hold: ${wanted[*]}"
missing=()
for package in "${wanted[@]}"; do
  # shellcheck disable=SC2016 # dpkg's own variable
  [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
done
((${#missing[@]})) || exit 0

as_root=()
if ((EUID != 0)); then
  command -v sudo >/dev/null || die "these packages are missing, and there is neither root nor sudo to install them: ${missing[*]}"
  as_root=(sudo)
fi
say "Installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
apt() {
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=300 "$@" </dev/null >>"$log" 2>&1
}
# The lists may be missing or too old for what the servers hold; then they are fetched and it is tried once more.
if ! apt install -y --no-install-recommends "${missing[@]}"; then
  if ! { apt update && apt install -y --no-install-recommends "${missing[@]}"; }; then
    cat "$log" >&2
    die "installing failed"
  fi
fi
