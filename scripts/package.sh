#!/usr/bin/env bash
# Makes the packages in out/packages, and tries each where nothing else of this tree is.
#
#   scripts/package.sh [STEP...]      steps: deb zip try-deb try-zip (all of them without one)
#
# deb is the library, nvtool and the headers for this Debian; zip the same for 32-bit Windows, with the DLLs that it loads.
# try-deb installs the package in a Debian unpacked for that alone (needs root or sudo, and about 1 GB for as long as it
# lasts), builds the sample there and runs it; try-zip does the same with the cross compiler and Wine.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"

packages=$root/out/packages
mkdir -p "$packages"

# packages_in FOLDER PATTERN [FIND OPTION...]
packages_in() { find "$1" -maxdepth 1 -type f -name "$2" "${@:3}"; }

# pack PRESET PATTERN: what CPack makes of a build.
pack() {
  local log=$packages/$1.log
  packages_in "$root/build/$1" "$2" -delete
  packages_in "$packages" "$2" -delete
  (cd "$root/build/$1" && cpack -B "$PWD") >"$log" 2>&1 || {
    cat "$log" >&2
    die "packing $1 failed"
  }
  packages_in "$root/build/$1" "$2" -exec mv -t "$packages" {} +
  packages_in "$packages" "$2" -printf '%f, %s bytes\n' | grep . || die "packing $1 made nothing"
}

step_deb() {
  step "Debian package"
  "$root/scripts/setup.sh" base package
  build release
  pack release 'nvlib_*.deb'
}

step_zip() {
  step "Zip for 32-bit Windows"
  "$root/scripts/windows.sh" build
  pack windows 'nvlib-*-win32.zip'
}

# Inside of the fresh Debian, as root.
try_installed() {
  export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
  apt-get -qq update
  apt-get -qq install -y --no-install-recommends /tmp/package/*.deb g++ cmake make >/tmp/install.log 2>&1 || {
    tail -n 20 /tmp/install.log
    return 1
  }
  cd /tmp
  cmake -S /usr/share/doc/NVLib/sample -B build >/tmp/configure.log
  cmake --build build >/tmp/build.log
  nvtool make-sample track.bin --seconds 30
  build/track_player track.bin 21.5 frame.bmp
  nvtool process track.bin --mp3 -o out
  [[ -s out/track.mp3 && -s out/index.html ]]
}

step_try_deb() {
  step "The package in a fresh Debian"
  "$root/scripts/setup.sh" base package
  local fresh as_root=()
  ((EUID == 0)) || as_root=(sudo)
  fresh=$(mktemp -d -p "${TMPDIR:-/var/tmp}" nvlib-fresh-XXXXXX)
  chmod 755 "$fresh" # apt reads as somebody else
  # shellcheck disable=SC2064 # this folder, whatever the name means later
  trap "${as_root[*]} rm -rf '$fresh'" EXIT
  fresh_debian "$fresh" "$packages/debootstrap.log"
  "${as_root[@]}" mkdir -p "$fresh/tmp/package"
  "${as_root[@]}" cp "$packages"/nvlib_*.deb "$root/scripts/package.sh" "$root/scripts/common.sh" "$fresh/tmp/package"
  # shellcheck disable=SC2016 # for the shell that is root
  "${as_root[@]}" unshare --mount --pid --fork --kill-child --propagation private bash -c '
    mount -t proc proc "$1/proc" 2>/dev/null || mount --rbind /proc "$1/proc"
    mount --rbind /dev "$1/dev"
    [[ -z $2 ]] || printf "Acquire::http::Proxy \"%s\";\n" "$2" >"$1/etc/apt/apt.conf.d/proxy"
    exec chroot "$1" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root /bin/bash /tmp/package/package.sh --inside' \
    bash "$fresh" "$(apt_proxy)" || die "the package does not do its work in a fresh Debian"
  say "Installed in a fresh Debian: the sample builds with find_package and runs, nvtool works."
}

# Inside of Wine.
try_unzipped() {
  cd "$packages/windows/work"
  wine ../bin/nvtool.exe make-sample track.bin --seconds 30
  wine ../bin/sample.exe track.bin 21.5 frame.bmp
  wine ../bin/nvtool.exe mp3 track.bin -o track.mp3
}

step_try_zip() {
  step "The zip under Wine"
  local folder=$packages/windows
  rm -rf "$folder"
  mkdir -p "$folder/unpacked"
  (cd "$folder/unpacked" && cmake -E tar xf "$packages"/nvlib-*-win32.zip)
  mv "$folder"/unpacked/*/* "$folder"
  cmake -S "$root/samples/package" -B "$folder/build" -G Ninja --toolchain "$root/cmake/mingw-i686.cmake" \
    -DCMAKE_BUILD_TYPE=Release "-DNVLIB_PREFIX=$folder" "-DCMAKE_PREFIX_PATH=$folder" >"$folder/configure.log"
  ninja -C "$folder/build" --quiet
  cp "$folder/build/track_player.exe" "$folder/bin/sample.exe"
  mkdir -p "$folder/work"
  chmod 777 "$folder/work"
  (cd "$root" && scripts/wine.sh bash scripts/package.sh --inside-wine)
  say "Unzipped for Windows: the sample builds with find_package and runs beside the DLLs, nvtool works."
}

case ${1:-} in
  --inside)
    try_installed
    exit
    ;;
  --inside-wine)
    try_unzipped
    exit
    ;;
esac
(($#)) || set -- deb zip try-deb try-zip
for name in "$@"; do
  declare -F "step_${name//-/_}" >/dev/null || die "no step '$name' (deb zip try-deb try-zip)"
  "step_${name//-/_}"
done
