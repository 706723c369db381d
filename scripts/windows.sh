#!/usr/bin/env bash
# The 32-bit Windows product: cross-builds NVLib.dll, nvtool.exe, the sample and the tests, runs the tests under Wine, and
# holds every file that nvtool.exe writes against what the Linux nvtool makes of the same input.
#
#   scripts/windows.sh [STEP...]      steps: build test compare (all three without one), person, bench, big
#
# person clicks and types in nvtool.exe's window as tests/apps/view_person.py has it, and leaves screenshots;
# bench runs the benchmarks natively and under Wine; big splits an image of more than 2 GiB with both products and needs
# 8 GB of disk. The first run installs the compiler and builds what Debian does not ship for this target (GoogleTest, Google
# Benchmark, libcurl, libarchive) from Debian's own sources into ~/.cache/nvlib; later runs find it there.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"

cache=${XDG_CACHE_HOME:-$HOME/.cache}/nvlib
out=$root/build/windows
work=$root/out/windows
logs=$work/logs
export NVLIB_WINDOWS_PREFIX=$cache/i686-prefix

# All that NVLib.dll and nvtool.exe may ask for: what every Windows has.
system_dlls='KERNEL32|USER32|GDI32|ADVAPI32|SHELL32|WINMM|WS2_32|CRYPT32|SECUR32|BCRYPT|msvcrt'

# ---- Third-party parts ------------------------------------------------------------------------------------------------

header_packages=(libcli11-dev nlohmann-json3-dev libstb-dev bmagic)
prefix_packages=("${header_packages[@]}" libgtest-dev libgmock-dev g++-mingw-w64-i686-posix libz-mingw-w64-dev)

# cross_build TARGET SOURCE NAME [CMAKE OPTION...]: configures the source and makes that target of it. The target install puts
# all that was asked for into the prefix.
cross_build() {
  local target=$1 source=$2 name=$3
  shift 3
  local log=$cache/$name-build.log
  say "Building $name for 32-bit Windows"
  if ! { cmake -S "$source" -B "$cache/build-$name" -G Ninja --toolchain "$root/cmake/mingw-i686.cmake" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$NVLIB_WINDOWS_PREFIX" "$@" &&
    ninja -C "$cache/build-$name" "$target"; } >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    die "building $name failed; the whole log is $log"
  fi
  rm -rf "$cache/build-$name"
}

sources=$cache/sources

# fetch_sources PACKAGE...: unpacks Debian's own sources of them. Reads the archive that this machine installs from, with lists
# of its own, so that the machine's are left alone.
fetch_sources() {
  local options package
  mkdir -p "$sources/lists/partial" "$sources/cache/archives/partial"
  printf 'deb-src %s main\n' "$(debian_archive)" >"$sources/sources.list"
  options=(-qq -o "Dir::Etc::SourceList=$sources/sources.list" -o Dir::Etc::SourceParts=/dev/null
    -o "Dir::State::Lists=$sources/lists" -o "Dir::Cache=$sources/cache")
  say "Fetching Debian's sources of $*"
  for package in "$@"; do rm -rf "$sources/$package"-*; done
  (cd "$sources" && apt-get "${options[@]}" update && apt-get "${options[@]}" source "$@") >"$sources/fetch.log" 2>&1 || {
    tail -n 20 "$sources/fetch.log" >&2
    die "Debian's sources of $* could not be had"
  }
}

# source_of PACKAGE: where it lies then.
source_of() { find "$sources" -mindepth 1 -maxdepth 1 -type d -name "$1-*"; }

# What the CDDB client needs: archives with the filters of 7-Zip and ZIP, and HTTPS with Windows' own certificates and
# cryptography. Everything else that these libraries could bring is left out.
build_archives() {
  cross_build install "$(source_of xz-utils)" xz -DBUILD_SHARED_LIBS=OFF -DENABLE_NLS=OFF
  # It would build its DLL as well, which nobody wants here: the library alone, and the headers by hand.
  local source
  source=$(source_of libarchive)
  cross_build archive_static "$source" libarchive "-DCMAKE_ARCHIVE_OUTPUT_DIRECTORY=$NVLIB_WINDOWS_PREFIX/lib" \
    -DBUILD_SHARED_LIBS=OFF -DENABLE_INSTALL=OFF -DENABLE_TEST=OFF -DENABLE_TAR=OFF -DENABLE_CPIO=OFF -DENABLE_CAT=OFF \
    -DENABLE_OPENSSL=OFF -DENABLE_BZip2=OFF -DENABLE_ZSTD=OFF -DENABLE_LZ4=OFF -DENABLE_LIBXML2=OFF -DENABLE_EXPAT=OFF \
    -DENABLE_LIBB2=OFF -DENABLE_ICONV=OFF -DENABLE_PCREPOSIX=OFF -DENABLE_WERROR=OFF -DENABLE_CNG=OFF \
    -DZLIB_LIBRARY=/usr/i686-w64-mingw32/lib/libz.a -DZLIB_WINAPI=OFF -DZLIB_DLL=OFF
  mv "$NVLIB_WINDOWS_PREFIX"/lib/libarchive_static.a "$NVLIB_WINDOWS_PREFIX"/lib/libarchive.a
  install -m 644 -t "$NVLIB_WINDOWS_PREFIX/include" "$source"/libarchive/{archive,archive_entry}.h
}

build_network() {
  cross_build install "$(source_of curl)" curl -DBUILD_SHARED_LIBS=OFF -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DHTTP_ONLY=ON \
    -DCURL_USE_SCHANNEL=ON -DCURL_USE_OPENSSL=OFF -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DUSE_LIBIDN2=OFF \
    -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF -DUSE_NGHTTP2=OFF -DENABLE_MANUAL=OFF -DCURL_TARGET_WINDOWS_VERSION=0x0601
}

# The MP3 encoder's DLL, which nothing links with and the library loads: the encoder's library and the interface in Dll/, both
# of LAME's own sources.
make_encoder() {
  local source shim log=$cache/lame_enc-build.log
  local made=$NVLIB_WINDOWS_PREFIX/bin/lame_enc.dll
  source=$(source_of lame)
  shim=$source/case-of-names # what Windows finds in any case
  mkdir -p "$shim" "$NVLIB_WINDOWS_PREFIX/bin"
  printf '#include <windef.h>\n' >"$shim/Windef.h"
  say "Building lame_enc.dll for 32-bit Windows"
  if ! (
    export CC=i686-w64-mingw32-gcc-posix CFLAGS='-O2 -msse2 -mfpmath=sse'
    cd "$source" &&
      ./configure --host=i686-w64-mingw32 --disable-shared --disable-frontend --disable-decoder &&
      make -j "$cores" -C libmp3lame &&
      "$CC" -O2 -shared -static -s -I include -I libmp3lame -I "$shim" -o "$made.part" Dll/BladeMP3EncDLL.c \
        libmp3lame/.libs/libmp3lame.a &&
      mv "$made.part" "$made"
  ) >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    die "building lame_enc.dll failed; the whole log is $log"
  fi
}

# Makes the prefix anew when it is not there or was made of other versions.
make_prefix() {
  local versions file beside
  # shellcheck disable=SC2016 # dpkg's own variables
  versions=$(dpkg-query -W -f '${Package} ${Version}\n' "${prefix_packages[@]}")
  [[ $(cat "$NVLIB_WINDOWS_PREFIX/versions" 2>/dev/null) != "$versions" ]] || return 0
  rm -rf "$NVLIB_WINDOWS_PREFIX"
  mkdir -p "$NVLIB_WINDOWS_PREFIX"
  # Headers that are the same for every target, by themselves: a cross compiler must not see the others beside them.
  dpkg -L "${header_packages[@]}" | grep -E '^/usr/(include|share/cmake)/' | while read -r file; do
    [[ ! -f $file ]] || install -D -m 644 "$file" "$NVLIB_WINDOWS_PREFIX/${file#/usr/}"
  done
  # In two lanes: most of it is asking the compiler what it can, one thing after the other.
  fetch_sources xz-utils libarchive curl lame
  {
    build_network
    cross_build install /usr/src/googletest googletest
    make_encoder
  } &
  beside=$!
  build_archives
  wait "$beside" || die "building for 32-bit Windows failed"
  printf '%s\n' "$versions" >"$NVLIB_WINDOWS_PREFIX/versions"
}

# ---- Build --------------------------------------------------------------------------------------------------------------

# imports FILE: the DLLs that it asks for.
imports() { i686-w64-mingw32-objdump -p "$1" | sed -n 's/^[[:space:]]*DLL Name: //p'; }

check_imports() {
  local file strangers
  for file in "$out/bin/"*.dll "$out/bin/"*.exe; do
    strangers=$(imports "$file" | grep -viE "^(NVLib|$system_dlls)\.dll$" || true)
    [[ -z $strangers ]] || die "$(basename "$file") asks for DLLs that Windows does not have: ${strangers//$'\n'/ }"
  done
  say "NVLib.dll asks for nothing but $(imports "$out/bin/NVLib.dll" | paste -sd ' ')"
}

step_build() {
  step "Build for 32-bit Windows"
  make_prefix
  build windows
  install -m 644 "$NVLIB_WINDOWS_PREFIX/bin/lame_enc.dll" "$out/bin"
  check_imports
}

# ---- Tests --------------------------------------------------------------------------------------------------------------

# Tests that Linux alone can run, as a GoogleTest filter.
excluded() { sed -nE 's/^([^#[:space:]]+)[[:space:]].*/\1/p' "$root/tests/windows-exclusions.txt" | paste -sd :; }

# closing_count LOG: the number in the closing line of a test program, nothing when the line is not there.
closing_count() { tr -d '\r' <"$1" | sed -nE 's/^\[  PASSED  \] ([0-9]+) tests?\.$/\1/p; s/^([0-9]+) inputs$/\1/p' | tail -n 1; }

# run_program PROGRAM FILTER: one test program, its count and what it skipped in files beside its log. The closing line has
# to be read: an exit code of 0 does not prove that anything ran.
run_program() {
  local name log ran='' start=$SECONDS
  local -a call
  name=$(basename "$1" .exe)
  log=$logs/$name.log
  call=(wine "$1" --gtest_color=no "--gtest_filter=-$2")
  [[ $name != *_fuzz ]] || call=(wine "$1" "$root/fuzz/corpus/${name%_fuzz}")
  [[ $name != platform_tests ]] ||
    call=(env "ALSA_CONFIG_PATH=$logs/recording-device.conf" "NVLIB_SOUND_RECORDING=Z:$logs/heard.raw" "${call[@]}")
  if timeout 600 "${call[@]}" >"$log" 2>&1 </dev/null; then
    ran=$(closing_count "$log")
  fi
  if [[ -z $ran ]]; then
    tr -d '\r' <"$log" | grep -vE '^\[ +(RUN|OK) |^\[-----' | tail -n 60 >&2
    say "$name FAILED; its whole output: $log" >&2
    return
  fi
  tr -d '\r' <"$log" | sed -nE 's/^\[  SKIPPED \] ([^ ]+) \(.*/\1/p' >"$logs/$name.skipped"
  printf '%s\n' "$ran" >"$logs/$name.count"
  say "$name: $ran passed in $((SECONDS - start)) s"
}

# Runs where Wine is, in three lanes, one more than most machines that check have cores: much of it is waiting. The programs
# whose windows are clicked and typed in share a screen and run one after the other.
run_windows_tests() {
  local filter=$1 program total
  local -a programs clicked=() commands=() others=() skipped
  cd "$logs"
  wine wineboot >/dev/null 2>&1 # the first program would wait for it
  # A sound device that records, for the one that compares; it takes no time, which others measure.
  printf 'pcm.nothing { type null }\npcm.!default { type file slave.pcm nothing format raw file "%s" }\n' "$logs/heard.raw" \
    >recording-device.conf
  programs=("$out"/bin/*_tests.exe "$out"/bin/*_fuzz.exe)
  for program in "${programs[@]}"; do
    case $(basename "$program") in
      afx_* | audio_* | image_* | net_*) clicked+=("$program") ;;
      nvtool_* | cddb_tool_* | batch_*) commands+=("$program") ;;
      *) others+=("$program") ;;
    esac
  done
  for program in "${others[@]}"; do run_program "$program" "$filter"; done &
  for program in "${commands[@]}"; do run_program "$program" "$filter"; done &
  for program in "${clicked[@]}"; do run_program "$program" "$filter"; done
  wait
  mapfile -t skipped < <(cat ./*.skipped)
  total=$(($(cat ./*.count | paste -sd +)))
  [[ $(find . -name '*.count' | wc -l) -eq ${#programs[@]} ]] || die "test programs failed under Wine"
  ((total > 0)) || die "no test ran"
  ((${#skipped[@]} == 0)) || say "Not possible here: ${skipped[*]}"
  say "100% tests passed under 32-bit Wine: $total tests and corpus inputs, ${#skipped[@]} skipped, left out: ${filter//:/ }"
}

# in_wine COMMAND [ARG...]: this script's COMMAND, where Wine is.
in_wine() {
  [[ ! -s $out/test-data-folder.txt ]] || NVLIB_TEST_DATA=$(<"$out/test-data-folder.txt")
  export NVLIB_TEST_DATA
  (cd "$root" && "$root/scripts/wine.sh" bash "$root/scripts/windows.sh" --inside "$@")
}

# fresh_folder FOLDER: empty, and open to whoever Windows programs run as.
fresh_folder() {
  rm -rf "$1"
  mkdir -p "$1"
  chmod 777 "$1"
}

# A screen for the windows of the tests, for as long as this script runs. Its socket is an abstract one, which is also
# reached from where Wine is.
start_screen() {
  local number
  exec {screen}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp -ac 2>/dev/null)
  # shellcheck disable=SC2064 # this process, whatever is started later
  trap "kill $!" EXIT
  read -r -t 20 number <&"$screen" || die "Xvfb does not start"
  export DISPLAY=:$number
}

step_test() {
  step "Tests under 32-bit Wine"
  start_screen
  "$root/scripts/wine.sh" --prepare
  (cd "$root" && ctest --preset windows --no-tests=error --quiet --output-log "$out/host-tests.log") || {
    cat "$out/host-tests.log" >&2
    die "what the library hands out is not what is listed"
  }
  fresh_folder "$logs"
  in_wine run_windows_tests "$(excluded)"
}

# ---- The same bytes as on Linux -------------------------------------------------------------------------------------------

# The main job, every command that writes something, and the sample, in the folder that this is called in. Names are
# relative, since reports hold them.
run_commands() { # FOLDER ENDING [RUNNER]: where the programs are, how their names end, what runs them
  local bin=$1 ending=$2 file
  local -a nvtool=("${@:3}" "$bin/nvtool$ending")
  "${nvtool[@]}" make-sample made.bin --seconds 40 --seed 7 --wav made.wav --cdg made.cdg >made.txt
  "${nvtool[@]}" split track.bin --wav split.wav --cdg split.cdg >split.txt
  "${nvtool[@]}" join --wav split.wav --cdg split.cdg joined.bin >join.txt
  "${nvtool[@]}" frame track.bin --at 3 -o frame-3.png >frame.txt
  "${nvtool[@]}" frame split.cdg --at 0:21.5 --at 50 --visible --scale 2 -o frame.png --json >frame.json
  "${nvtool[@]}" sheet track.bin -o sheet.png >sheet.txt
  "${nvtool[@]}" waveform track.bin -o waveform.png --view window --pointer 0:12 >waveform.txt
  "${nvtool[@]}" waveform split.wav -o waveform-close.png --start 0:05 --density 7 >>waveform.txt
  for file in track.bin split.wav split.cdg; do
    "${nvtool[@]}" info "$file" >"info-$file.txt"
    "${nvtool[@]}" info --json "$file" >"info-$file.json"
    [[ $file == *.cdg ]] || "${nvtool[@]}" silence --json "$file" >"silence-$file.json"
  done
  "${nvtool[@]}" thumbprint track.bin -o track.thumbprint >thumbprint.txt
  "${nvtool[@]}" compare track.thumbprint split.cdg >compare.txt
  "${nvtool[@]}" scan --json track.bin split.cdg >scan.json
  "${nvtool[@]}" palette --json track.bin --at 30 >palette.json
  "${nvtool[@]}" clean --json track.bin >clean.json
  "${nvtool[@]}" process track.bin -o processed | sed 's|\\|/|g' >process.txt # a path in each system's own way
  mkdir songs
  cp split.cdg split.wav track.bin songs
  "${nvtool[@]}" process songs -o processed-songs 2>&1 | tr -d '\r' | sed 's|\\|/|g' >process-songs.txt
  "${@:3}" "$bin/track_player$ending" track.bin 21.5 frame.bmp | tr -d '\r' >player.txt
}

compare_inside() {
  cd "$work/wine"
  run_commands "$out/bin" .exe wine
}

step_compare() {
  step "The same bytes as on Linux"
  build release nvtool track_player
  fresh_folder "$work/linux"
  fresh_folder "$work/wine"
  mkdir -p "$work/programs"
  ln -sf "$root/build/release/apps/nvtool/nvtool" "$root/build/release/samples/track_player" "$work/programs"
  "$work/programs/nvtool" make-sample "$work/linux/track.bin" --seconds 60 --seed 3 >/dev/null
  cp "$work/linux/track.bin" "$work/wine"
  (cd "$work/linux" && run_commands "$work/programs" '')
  in_wine compare_inside
  cmp "$work/linux/track.bin" "$work/linux/joined.bin"
  diff -r "$work/linux" "$work/wine" || die "the two products differ; see out/windows/linux and out/windows/wine"
  say "$(find "$work/wine" -type f | wc -l) files, $(du -sh "$work/wine" | cut -f 1): the two products write the same bytes"
}

# ---- A person before the window ---------------------------------------------------------------------------------------------

step_person() {
  step "A person before nvtool view, under Wine"
  local folder=$work/person
  fresh_folder "$folder"
  printf '#!/bin/sh\ncd %q && exec scripts/wine.sh wine %q "$@"\n' "$root" "$out/bin/nvtool.exe" >"$folder/nvtool"
  chmod +x "$folder/nvtool"
  "$root/scripts/wine.sh" --prepare
  python3 "$root/tests/apps/view_person.py" "$folder/nvtool" "$folder" 2>"$folder/errors.txt" || die "see $folder"
}

# ---- Speed, and more than 2 GiB ---------------------------------------------------------------------------------------------

benches=(CdgBench SplitBench SilenceBench)
bench_options=(--benchmark_filter=-copy_by_cp --benchmark_repetitions=3 --benchmark_out_format=json)

bench_inside() {
  local name
  cd "$logs"
  for name in "${benches[@]}"; do
    wine "$root/build/windows-bench/bin/$name.exe" "${bench_options[@]}" "--benchmark_out=wine-$name.json" >"wine-$name.log" 2>&1 || {
      tail -n 5 "wine-$name.log" >&2
      die "$name failed under Wine"
    }
  done
}

step_bench() {
  step "Benchmarks, native and under Wine"
  "$root/scripts/setup.sh" bench
  local source name
  if [[ ! -e $NVLIB_WINDOWS_PREFIX/lib/libbenchmark.a ]]; then
    fetch_sources benchmark
    source=$(source_of benchmark)
    cross_build install "$source" benchmark "-DGIT_VERSION=${source##*-}" -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_LTO=OFF \
      -DBENCHMARK_ENABLE_WERROR=OFF
  fi
  build release "${benches[@]}"
  (cd "$root" && cmake --preset windows -B build/windows-bench -DNVLIB_BENCH=ON -DNVLIB_TESTS=OFF -DNVLIB_FUZZ=OFF \
    "-DCMAKE_RUNTIME_OUTPUT_DIRECTORY=$root/build/windows-bench/bin" >/dev/null)
  ninja -C "$root/build/windows-bench" --quiet "${benches[@]}"
  fresh_folder "$logs"
  for name in "${benches[@]}"; do
    "$root/build/release/bench/$name" "${bench_options[@]}" "--benchmark_out=$logs/native-$name.json" >"$logs/native-$name.log" 2>&1
  done
  in_wine bench_inside
  python3 - "$logs" "${benches[@]}" <<'PYTHON'
import json, sys

def best(path):
    times = {}
    for run in json.load(open(path))["benchmarks"]:
        if run["run_type"] == "iteration" and not run.get("error_occurred"):
            times[run["run_name"]] = min(run["real_time"], times.get(run["run_name"], (9e99, ""))[0]), run["time_unit"]
    return times

print(f"{'':44}{'native':>14}{'Wine, 32 bits':>16}{'ratio':>8}")
for name in sys.argv[2:]:
    native, wine = (best(f"{sys.argv[1]}/{side}-{name}.json") for side in ("native", "wine"))
    for job, (time, unit) in native.items():
        if job in wine:
            print(f"{job:44}{time:11.3f} {unit}{wine[job][0]:13.3f} {unit}{wine[job][0] / time:8.2f}")
PYTHON
}

# An image of more than 2 GiB, empty but for its end: read and split by both products.
run_big() { # NVTOOL...
  "$@" info big.bin >info.txt
  "$@" split big.bin --wav big.wav --cdg big.cdg >split.txt
  "$@" frame big.bin --at 14021 -o end.png >/dev/null # where the picture is, behind 14,000 seconds of nothing
  "$@" frame big.cdg --at 14021 -o end-cdg.png >/dev/null
  cmp end.png end-cdg.png
  "$@" silence big.wav >silence.txt
  sha256sum big.wav big.cdg >sums.txt
  stat -c '%n %s' big.wav big.cdg >sizes.txt
  rm big.wav big.cdg
}

big_inside() {
  cd "$work/wine"
  run_big wine "$out/bin/nvtool.exe"
}

step_big() {
  step "An image of more than 2 GiB"
  build release nvtool
  fresh_folder "$work/linux"
  fresh_folder "$work/wine"
  local native=$root/build/release/apps/nvtool/nvtool sectors=1050000 # 2.57 GB
  "$native" make-sample "$work/end.bin" --seconds 40 >/dev/null
  truncate -s $((sectors * 2448)) "$work/linux/big.bin"
  cat "$work/end.bin" >>"$work/linux/big.bin"
  ln "$work/linux/big.bin" "$work/wine/big.bin"
  (cd "$work/linux" && run_big "$native")
  in_wine big_inside
  diff -r -x big.bin "$work/linux" "$work/wine" || die "the two products differ; see out/windows/linux and out/windows/wine"
  say "$(stat -c %s "$work/linux/big.bin") bytes read and split alike: $(paste -sd ' ' "$work/wine/sizes.txt")"
  rm -rf "$work/linux/big.bin" "$work/wine/big.bin" "$work/end.bin"
}

if [[ ${1:-} == --inside ]]; then
  shift
  "$@"
  exit
fi
"$root/scripts/setup.sh" base windows
(($#)) || set -- build test compare
for name in "$@"; do
  declare -F "step_$name" >/dev/null || die "no step '$name' (build test compare person bench big)"
done
# Where there is no Wine yet, it is unpacked beside the build; the tests wait for it, and say what went wrong.
[[ " $* " != *" build test "* ]] || "$root/scripts/wine.sh" --prepare >/dev/null 2>&1 &
for name in "$@"; do
  "step_$name"
done
