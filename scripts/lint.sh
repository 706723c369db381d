#!/usr/bin/env bash
# Checks what the compiler with its warnings does not: format, the house's rules of who may include what, headers that
# stand alone, the reference of the exported classes, Clang's lock analysis, clang-tidy, and the scripts themselves.
#
#   scripts/lint.sh [CHECK...]      checks: format rules scripts headers docs tidy (all of them without one)
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
  complain "sources include headers only" "$(lines "${include}[\"<].*\.cpp" '^$')"
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

# Where Clang is told of each source of the library, the tool and the samples. Many are included in one, and its static
# analyser looks into those only where the name of that one holds this word.
clang_build=build/lint/UnifiedSource
configure_clang() {
  cmake -S . -B "$clang_build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DNVLIB_BENCH=OFF -DNVLIB_FUZZ=OFF \
    -DNVLIB_TESTS=OFF >build/lint-configure.log 2>&1 && return
  cat build/lint-configure.log >&2
  die "configuring $clang_build failed"
}

# What is compiled there, as paths from here.
compiled() { sed -n "s|^ *\"file\": \"$root/\(.*\)\",\{0,1\}\$|\1|p" "$clang_build/compile_commands.json" | sort -u; }

# judge CHECK: what CHECK says of each source that standard input names. One source a run: a run that dies takes no other
# source's findings with it. A source of which nothing was said is not asked about again, on this machine, before it or any
# header, the flags, the rules or an installed package changes.
judge() {
  local state
  state=$({
    find . -path ./build -prune -o -path ./out -prune -o -name '*.h' -print0 | sort -z | xargs -0 cat .clang-tidy
    sed "s|$root||g" "$clang_build/compile_commands.json"
    dpkg-query -W
  } | sha256sum | cut -c 1-32)
  passed=${XDG_CACHE_HOME:-$HOME/.cache}/nvlib/lint/$1-$state
  mkdir -p "$passed"
  find "${passed%/*}" -mindepth 1 -maxdepth 1 -mtime +14 -exec rm -rf {} +
  export root passed clang_build
  export -f judge_one with_parts tidy syntax
  xargs -n 1 -P "$cores" bash -c 'judge_one "$@"' judge "$1" | sed "s|$root/||g" | sort -u
}

# A source, and the sources that it includes.
with_parts() {
  cat "$1"
  sed -n 's/^#include "\(.*\.cpp\)"$/\1/p' "$1" | xargs -r cat
}

judge_one() { # CHECK SOURCE
  local mark said
  mark=$passed/$({ printf '%s\n' "$2" && with_parts "$2" | sed "s|$root||g"; } | sha256sum | cut -c 1-32)
  [[ ! -e $mark ]] || return 0
  if said=$("$1" "$2" 2>&1) && ! grep -qE "^$root/.*(warning|error):" <<<"$said"; then
    touch "$mark"
  else
    grep -E "^($root/.*(warning|error):|error: |PLEASE submit|Stack dump)" <<<"$said" || printf '%s: %s failed\n' "$2" "$1"
  fi
}

tidy() { clang-tidy -p "$clang_build" --quiet "$1"; }

# Compiles a source with its flags, and makes nothing.
syntax() {
  python3 -c 'import json, os, shlex, sys
command = next(e["command"] for e in json.load(open(sys.argv[1])) if e["file"] == sys.argv[2])
os.execvp(shlex.split(command)[0], shlex.split(command) + ["-fsyntax-only"])' "$clang_build/compile_commands.json" "$root/$1"
}

# Clang's warnings, its lock analysis among them, come with clang-tidy's own. What wades through the headers of the tool's
# command line each time is only compiled.
check_tidy() {
  configure_clang
  local tool='/apps/nvtool/CMakeFiles/nvtool\.dir/'
  compiled | grep "$tool" >/dev/null || die "$clang_build does not compile the tool"
  complain "clang-tidy" "$(compiled | grep -v "$tool" | judge tidy)"
  complain "Clang" "$(compiled | grep "$tool" | judge syntax)"
}

if [[ ${1:-} == fix ]]; then
  clang-format -i "${sources[@]}"
  exit 0
fi
(($#)) || set -- format rules scripts headers docs tidy
for check in "$@"; do
  declare -F "check_$check" >/dev/null || die "no check '$check' (format rules scripts headers docs tidy)"
  "check_$check"
done
((failures == 0)) || die "$failures kinds of complaint"
say "${#sources[@]} files, nothing to complain of: $*"
