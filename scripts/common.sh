# shellcheck shell=bash
# What the scripts share: where the tree is, how they speak, how they build. Sourced by them, not run.
set -euo pipefail

# shellcheck disable=SC2034 # read by the scripts that source this
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cores=$(nproc 2>/dev/null || echo 2)

# Unchanged sources are not compiled twice where ccache is installed; it keeps its files outside the tree.
if [[ -z ${CMAKE_CXX_COMPILER_LAUNCHER:-} ]] && command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
  # What was compiled in one checkout serves in another; nothing is preprocessed only to find out that it is new.
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root} CCACHE_NOHASHDIR=1 CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_DEPEND=1
fi

say() { printf '%s\n' "$*"; }
step() { printf '\n== %s\n' "$*"; }
die() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

# usage_if_asked ARG...: prints the comment at the head of the calling script for --help.
usage_if_asked() {
  if [[ ${1:-} == -h || ${1:-} == --help ]]; then
    sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"
    exit 0
  fi
}

# build PRESET [TARGET...]: configures and builds; the configuration's chatter is shown only when it fails.
build() {
  local preset=$1 log
  shift
  mkdir -p "$root/build"
  log=$root/build/$preset-configure.log
  say "Configuring build/$preset"
  (cd "$root" && cmake --preset "$preset" >"$log" 2>&1) || {
    cat "$log" >&2
    die "configuring $preset failed"
  }
  say "Building build/$preset${*:+ ($*)}"
  local speak=(--quiet)
  [[ ! -t 1 ]] || speak=()
  ninja -C "$root/build/$preset" "${speak[@]}" "$@"
}

# run_tests PRESET [CTEST OPTION...]: the closing line is CTest's. One more at a time than there are cores, since many wait for
# a server, a window or a clock.
run_tests() {
  local preset=$1
  shift
  local speak=(--quiet --output-log "$root/build/$preset-tests.log")
  [[ ! -t 1 ]] || speak=(--progress)
  if ! (cd "$root" && ctest --preset "$preset" --parallel $((cores + 1)) "${speak[@]}" "$@"); then
    [[ -t 1 ]] || grep -vE '^ *[0-9]+/[0-9]+ Test .* Passed|^ *Start |^\[[A-Z_]+\] *$' "$root/build/$preset-tests.log" >&2 || true
    return 1
  fi
  [[ -t 1 ]] || grep -E 'tests passed' "$root/build/$preset-tests.log"
}

# debian_archive: address and release of the Debian that this machine installs from.
debian_archive() {
  # shellcheck disable=SC2016 # apt's own variables
  apt-get indextargets --format '$(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
    awk '$3 == "main" && $2 !~ /-/ { print $1, $2; exit }'
}

# apt_proxy: the address that apt fetches through, nothing where it fetches directly.
apt_proxy() {
  local address=''
  eval "$(apt-config shell address Acquire::http::Proxy)"
  printf '%s' "$address"
}

# fresh_debian FOLDER LOG [OPTION...]: unpacks a minimal Debian of that release, with debootstrap's OPTIONs.
fresh_debian() {
  local folder=$1 log=$2 archive release where proxy as_root=()
  ((EUID == 0)) || as_root=(sudo)
  where=$(debian_archive)
  read -r archive release <<<"$where"
  [[ -n $archive && -n $release ]] || die "apt names no archive to take a Debian from"
  proxy=$(apt_proxy)
  if ! "${as_root[@]}" env ${proxy:+http_proxy="$proxy"} debootstrap --variant=minbase "${@:3}" "$release" "$folder" \
    "$archive" >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    die "debootstrap failed; the whole log is $log"
  fi
}
