#!/usr/bin/env bash
# Checks what the compiler with its warnings does not: format, the house's rules of who may include what, headers that
# stand alone, the reference of the exported classes, Clang's lock analysis, clang-tidy, and the scripts themselves.
#
#   scripts/lint.sh [CHECK...]      checks: format rules scripts headers docs locks tidy (all of them without one)
#
# scripts/lint.sh fix formats the sources in place.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
"$root/scripts/setup.sh" base lint
cd "$root"
mkdir -p build

folders=()
for folder in include cdg audio net image afx platform apps samples tests bench fuzz; do
  [[ ! -d $folder ]] || folders+=("$folder")
done
mapfile -t sources < <(find "${folders[@]}" -type f \( -name '*.h' -o -name '*.cpp' \) | sort)
failures=0

# complain RULE LINES: a failure when there are any lines.
complain() {
  [[ -n $2 ]] || return 0
  printf '%s:\n' "$1" >&2
  printf '%s\n' "$2" | head -n 40 | sed 's/^/  /' >&2
  failures=$((failures + 1))
}

# lines PATTERN EXCEPT [ONLY]: lines like PATTERN in the sources whose path is like ONLY and not like EXCEPT.
lines() {
  printf '%s\n' "${sources[@]}" | grep -E "${3:-.}" | grep -vE "$2" | xargs -r grep -HnE "$1"
}

check_format() {
  complain "not as clang-format has it (scripts/lint.sh fix)" "$(clang-format --dry-run "${sources[@]}" 2>&1 | grep 'warning:')"
  complain "blanks at a line's end" "$(grep -nP '[ \t]+$' "${sources[@]}" scripts/* .ci/run)"
}

check_rules() {
  local when='^[[:space:]]*#[[:space:]]*(if|ifdef|ifndef|elif)' include='^[[:space:]]*#[[:space:]]*include[[:space:]]*'
  local systems='_WIN(32|64)|WIN32|__linux__|__unix__|__APPLE__|_POSIX_|__MINGW|__CYGWIN__'
  local posix='(unistd|fcntl|pthread|dlfcn|termios|poll|signal|spawn|dirent|semaphore|sched|netdb|errno)\.h|(sys|netinet|arpa|linux|X11|alsa)/'
  complain "only platform/ asks which system this is" "$(lines "${when}.*($systems)" '^platform/')"
  complain "only platform/ includes system headers" "$(lines "${include}<($posix)" '^(platform|tests/platform)/')"
  # The records of the sound interface are Windows' own; platform/ has them where the system has not.
  complain "Windows headers come in through platform/, afx/, the exported headers and audio/" \
    "$(lines "${include}<(windows|mmsystem)\.h>" '^(platform|tests/platform|afx|include|audio)/')"
  complain "only platform/ includes Windows' other headers" "$(lines "${include}<(winsock2?|process|io)\.h>" '^(platform|tests/platform)/')"
  complain "framework classes come from <afx.h> and its kin, back ends from platform/include" \
    "$(lines "${include}[\"<](\.\./)*(afx/|platform/(posix|win32)/)" '^(afx|platform|tests/afx|tests/platform)/')"
  complain "no third-party header in include/" \
    "$(lines "${include}<" '^$' '^include/' | grep -vE '<([a-z_0-9]+|afx[a-z]*\.h|mmsystem\.h|windows\.h)>')"
  complain "the library includes nothing of its users" \
    "$(lines "${include}[\"<](\.\./)*(apps|samples|tests|bench|fuzz)/" '^(apps|samples|tests|bench|fuzz)/')"
  complain "audio/ and net/ do not know cdg/" "$(lines "${include}[\"<](cdg/|CDG|BinFile)" '^$' '^(audio|net)/')"
  complain "image/, afx/ and platform/ do not know what lies above them" \
    "$(lines "${include}[\"<](cdg/|audio/|net/|CDG|BinFile|SoundFile|WaveFile)" '^$' '^(image|afx|platform)/')"
  complain "headers without #pragma once" "$(printf '%s\n' "${sources[@]}" | grep '\.h$' | xargs grep -L '^#pragma once')"
  complain "unfinished work" "$(lines '\b(TODO|FIXME|XXX)\b' '^$')"
}

# The reference lies in out/reference/html afterwards.
check_docs() {
  mkdir -p out
  complain "doxygen" "$(doxygen docs/Doxyfile 2>&1)"
  complain "docs/guide.md (scripts/guide.py docs/guide.md mends it)" "$(scripts/guide.py --check docs/guide.md)"
}

check_scripts() {
  complain "shellcheck" "$(shellcheck -x -P scripts -f gcc scripts/*.sh bench/*.sh tests/*/*.sh .ci/run 2>&1)"
}

check_headers() {
  local header flags
  flags=(-std=c++20 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -Iinclude -Iafx/include -Iplatform/include -Iplatform/posix/include)
  for header in include/*.h; do
    complain "$header does not stand alone" "$(g++ "${flags[@]}" -fsyntax-only -x c++ -include "$header" /dev/null 2>&1)"
  done
}

# The library and the tool under Clang; its lock analysis is among the warnings, which are errors. Makes what clang-tidy reads.
configure_clang() {
  cmake -S . -B build/lint -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DNVLIB_BENCH=OFF -DNVLIB_FUZZ=OFF -DNVLIB_TESTS=OFF >build/lint-configure.log 2>&1 && return
  cat build/lint-configure.log >&2
  die "configuring build/lint failed"
}

check_locks() {
  configure_clang
  ninja -C build/lint --quiet >build/lint-build.log 2>&1 ||
    complain "does not compile with Clang and -Wthread-safety" "$(cat build/lint-build.log)"
}

# The library, and of the tool what does not wade through the headers of its command line each time.
check_tidy() {
  configure_clang
  # One unit a run: a run that dies takes no other unit's findings with it, and its own message is a finding.
  complain "clang-tidy" "$(sed -n "s|^ *\"file\": \"$root/\(.*\)\",\{0,1\}\$|\1|p" build/lint/compile_commands.json |
    grep -v '^apps/nvtool/[^/]*$' | sort -u | xargs -n 1 -P "$cores" clang-tidy -p build/lint --quiet 2>&1 |
    grep -E "^($root/.*(warning|error):|error: |PLEASE submit|Stack dump)" | sed "s|$root/||" | sort -u)"
}

if [[ ${1:-} == fix ]]; then
  clang-format -i "${sources[@]}"
  exit 0
fi
(($#)) || set -- format rules scripts headers docs locks tidy
for check in "$@"; do
  declare -F "check_$check" >/dev/null || die "no check '$check' (format rules scripts headers docs locks tidy)"
  "check_$check"
done
((failures == 0)) || die "$failures kinds of complaint"
say "${#sources[@]} files, nothing to complain of: $*"
