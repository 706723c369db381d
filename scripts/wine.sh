#!/usr/bin/env bash
# Runs a command where 32-bit Wine is, with this tree (and nothing else of the machine) at its usual path.
#
#   scripts/wine.sh COMMAND [ARG...]      e.g. scripts/wine.sh wine build/windows/apps/nvtool/nvtool.exe --help
#   scripts/wine.sh --prepare             only makes the Wine ready
#
# A machine that has a working 32-bit Wine uses that one. Elsewhere a small 32-bit Debian is unpacked once into
# ~/.cache/nvlib (about 900 MB) and entered with namespaces of its own: everything mounted or started there is gone when
# the command ends, however it ends. That needs root or sudo. Root itself runs the command as nobody, since Wine keeps
# write protection as permissions, which root ignores. NVLIB_TEST_DATA names a folder that is to be seen there too; DISPLAY
# an X server that lets everybody in, without which programs have no desktop.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
(($#)) || die "no command (see --help)"

cache=${XDG_CACHE_HOME:-$HOME/.cache}/nvlib
debian=$cache/i386-root
canary=$cache/canary-i686.exe
export WINEPREFIX=$cache/wine-prefix WINEDEBUG=${WINEDEBUG:--all}

# A Wine without its 32-bit half may exit 0 and have run nothing. This program can be mistaken for nothing else.
make_canary() {
  [[ ! -x $canary ]] || return 0
  printf '#include <cstdio>\nint main() { std::printf("pointers of %%d bytes\\n", int(sizeof(void*))); return 3; }\n' |
    i686-w64-mingw32-g++-posix -O1 -static -x c++ - -o "$canary.part"
  mv "$canary.part" "$canary"
}

# canary_sings WINE...: true when 32-bit programs really run.
canary_sings() {
  local said code=0
  said=$("$@" "$canary" 2>/dev/null) || code=$?
  [[ $code == 3 && $said == "pointers of 4 bytes"* ]]
}

as_root=()
user=$(id -u):$(id -g)
if ((EUID == 0)); then
  user=$(id -u nobody):$(id -g nobody)
else
  as_root=(sudo env "WINEPREFIX=$WINEPREFIX" "WINEDEBUG=$WINEDEBUG" "DISPLAY=${DISPLAY:-}")
fi

# From where this machine installs.
unpack_debian() {
  say "Unpacking a 32-bit Debian with Wine into $debian; this happens once and takes a minute or two."
  "${as_root[@]}" rm -rf "$debian.part"
  fresh_debian "$debian.part" "$cache/debootstrap.log" --arch=i386 --include=wine,wine32
  "${as_root[@]}" find "$debian.part/var/cache/apt/archives" -name '*.deb' -delete
  "${as_root[@]}" mv "$debian.part" "$debian"
}

# enter COMMAND...: runs it inside. A subshell, so that the lock is free again when it is left.
enter() (
  local shared=("$root" "$cache")
  [[ -z ${NVLIB_TEST_DATA:-} ]] || shared+=("$(realpath "$NVLIB_TEST_DATA")")
  mkdir -p "$WINEPREFIX"
  ((EUID != 0)) || chown "$user" "$WINEPREFIX"
  # shellcheck disable=SC2016 # for the shell that is root
  "${as_root[@]}" unshare --mount --pid --fork --kill-child --propagation private bash -c '
    set -euo pipefail
    debian=$1 user=$2 session=$3 folder=$4 shared=$5
    shift 5
    mount -t proc proc "$debian/proc" 2>/dev/null || mount --rbind /proc "$debian/proc"
    mount --rbind /dev "$debian/dev"
    mount --rbind /sys "$debian/sys" # where Wine reads how many processors there are
    mount -t tmpfs -o mode=1777 tmpfs "$debian/tmp"
    chmod 755 "$debian/root" # the tree may lie there
    for each in 256 400 600; do # KiB; what the tests fill up
      mkdir -p "$debian/mnt/$each"
      mount -t tmpfs -o "size=${each}k,mode=1777" tmpfs "$debian/mnt/$each"
    done
    for each in $(seq "$shared"); do
      mkdir -p "$debian$1"
      mount --bind "$1" "$debian$1"
      shift
    done
    exec chroot --userspec="$user" "$debian" /usr/bin/env -i PATH=/usr/bin:/bin LANG=C.UTF-8 HOME="$WINEPREFIX" \
      USER=nvlib WINEPREFIX="$WINEPREFIX" WINEDEBUG="$WINEDEBUG" DISPLAY="${DISPLAY:-}" NVLIB_SMALL_DISKS=/mnt \
      /bin/bash "$session" "$folder" "$@"
  ' bash "$debian" "$user" "$root/scripts/wine-session.sh" "$PWD" "${#shared[@]}" "${shared[@]}" "$@"
)

mkdir -p "$cache"
exec 9>"$cache/wine.lock"
flock 9 # one at a time: there is one registry
make_canary
if command -v wine >/dev/null && canary_sings wine; then
  inside=(env)
else
  command -v debootstrap >/dev/null || die "there is neither a 32-bit Wine nor debootstrap; run scripts/setup.sh windows"
  [[ -d $debian ]] || unpack_debian
  inside=(enter)
  if [[ ! -e $WINEPREFIX/system.reg ]]; then
    say "Setting up Wine in $WINEPREFIX"
    enter wine wineboot --init >/dev/null 2>&1 || true
  fi
fi
if [[ $1 == --prepare ]]; then
  canary_sings "${inside[@]}" wine || die "32-bit Windows programs do not run here"
  say "32-bit Windows programs run here."
  exit 0
fi
"${inside[@]}" "$@"
