#!/usr/bin/env bash
# Feeds changed inputs to the readers under the address and undefined-behaviour sanitisers (Clang's libFuzzer).
#
#   scripts/fuzz.sh [SECONDS [TARGET...]]      20 seconds for each target by default; targets: see fuzz/
#
# New inputs that reach new code gather in out/fuzz/TARGET; what broke something is written beside them, to be added to
# fuzz/corpus/TARGET with the fix.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
seconds=${1:-20}
[[ $seconds =~ ^[0-9]+$ ]] || die "'$seconds' is no number of seconds"
shift || true
"$root/scripts/setup.sh" base fuzz

build fuzz
mapfile -t all < <(find "$root/build/fuzz/fuzz" -maxdepth 1 -type f -name '*_fuzz' -perm -u+x -printf '%f\n' | sort)
((${#all[@]})) || die "no fuzz targets were built"
targets=("$@")
(($#)) || targets=("${all[@]%_fuzz}")

# Some readers take names only: their files go to memory, and away, also when a target breaks.
TMPDIR=$(mktemp -d -p "$([[ -d /dev/shm && -w /dev/shm ]] && echo /dev/shm || echo "${TMPDIR:-/tmp}")" nvlib-fuzz-XXXXXX)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}

fuzz_one() { # TARGET
  local target=$1 program=$root/build/fuzz/fuzz/${1}_fuzz
  [[ -x $program ]] || die "no target '$target' (${all[*]%_fuzz})"
  local found=$root/out/fuzz/$target log=$root/out/fuzz/$target.log
  mkdir -p "$found"
  if ! "$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 \
    -artifact_prefix="$root/out/fuzz/$target-" "$found" "$root/fuzz/corpus/$target" >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    die "$target broke; the input lies in out/fuzz, the whole log is out/fuzz/$target.log"
  fi
  say "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs in $seconds s," \
    "$(sed -n 's/^.*cov: \([0-9]*\).*$/\1/p' "$log" | tail -n 1) edges covered, nothing found"
}

# As many at a time as there are cores; one that breaks stops none of the others.
running=0 broken=0
for target in "${targets[@]}"; do
  if ((running == cores)); then
    wait -n || broken=$((broken + 1))
    running=$((running - 1))
  fi
  fuzz_one "$target" &
  running=$((running + 1))
done
while ((running > 0)); do
  wait -n || broken=$((broken + 1))
  running=$((running - 1))
done
((broken == 0)) || die "$broken of ${#targets[@]} targets broke"
say "${#targets[@]} targets, nothing found"
