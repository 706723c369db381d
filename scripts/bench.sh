#!/usr/bin/env bash
# Builds and runs the benchmarks, beside outside tools that do the same job and, where ../shared/bench-peers holds programs
# for it, beside what this machine allows at all. Prints the ratios as a table; run nothing else meanwhile.
#
#   scripts/bench.sh [JOB...]      jobs: cdg scan split silence mp3 encode peaks waveform cddb (all of them without one)
#
# Each figure is the best of several passes, files in the page cache. Raw results lie in out/bench.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
"$root/scripts/setup.sh" base bench

step "Build"
build release CdgBench ScanBench SplitBench SilenceBench Mp3WalkBench EncodeBench PeakBench WaveViewBench CddbBench

work=$root/out/bench
peers=$root/../shared/bench-peers
mkdir -p "$work/out"
if [[ -e $peers/limits.cpp && -e $peers/gen_inputs.cpp ]]; then
  step "Peers and inputs in out/bench"
  g++ -std=c++20 -O2 -o "$work/gen_inputs" "$peers/gen_inputs.cpp"
  g++ -std=c++20 -O3 -march=x86-64-v3 -pthread -o "$work/limits" "$peers/limits.cpp"
  if pkg-config --exists libavcodec libavutil 2>/dev/null; then
    # shellcheck disable=SC2046 # several flags
    gcc -O2 -o "$work/peer_libav_cdg" "$peers/peer_libav_cdg.c" $(pkg-config --cflags --libs libavcodec libavutil)
  fi
  if [[ ! -e $work/inputs-made ]]; then
    "$work/gen_inputs" "$work" --records 0
    for _ in {1..10}; do cat "$work/song.cdg"; done >"$work/song10.cdg"
    touch "$work/inputs-made"
  fi
  if [[ ! -e $work/records-made ]]; then
    mkdir -p "$work/records"
    "$work/gen_inputs" "$work/records" --song-minutes 1 --wav-minutes 1
    mv "$work/records"/xmcd "$work/records"/xmcd-ranges "$work/records"/queries.txt "$work"
    rm -r "$work/records"
    touch "$work/records-made"
  fi
fi

step "Measuring"
exec python3 "$root/scripts/bench.py" "$root/build/release/bench" "$work" "$@"
