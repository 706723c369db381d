#!/usr/bin/env bash
# Kills `nvtool peaks` at random moments: what it leaves is never taken for a whole peak file by a later run.
#
#   kill-peaks.sh NVTOOL [TIMES]     a hundred kills by default
set -euo pipefail
nvtool=$(realpath "$1") times=${2:-100}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

now() { echo $(($(date +%s%N) / 1000)); }

"$nvtool" make-sample track.bin --seconds 180 --seed 1 --wav a.wav --cdg a.cdg >/dev/null
start=$(now)
"$nvtool" peaks a.wav >/dev/null
longest=$(($(now) - start)) # microseconds of a run, about; kills spread over start, scan and end
mv a.fpr whole
killed=0 unfinished=0
for ((round = 0; killed < times; ++round)); do
  ((round < 20 * times)) || { echo "the runs are too short to be caught" >&2; exit 1; }
  rm -f a.fpr
  if ((round % 2)); then # over an old one
    head -c 1000 whole >a.fpr
    touch -d '2000-01-01' a.fpr
  fi
  limit=$(((RANDOM * 32768 + RANDOM) % longest + 1))
  start=$(now) status=0
  seconds=$(printf '%d.%06d' $((limit / 1000000)) $((limit % 1000000)))
  # A build for coverage keeps its counts in files that all runs share: what is killed would spoil them.
  { GCOV_PREFIX=$folder/spoilt-counts timeout -s KILL "$seconds" "$nvtool" peaks a.wav >/dev/null || status=$?; } 2>/dev/null
  elapsed=$(($(now) - start))
  if ((status == 0)); then
    longest=$(((longest + elapsed) / 2))
    continue
  fi
  longest=$((longest + longest / 10)) # so that on a machine whose speed changes some runs end and most do not
  killed=$((killed + 1))
  cmp -s a.fpr whole || unfinished=$((unfinished + 1))
  "$nvtool" peaks a.wav >/dev/null
  cmp a.fpr whole || { echo "round $round: a broken peak file was taken for whole" >&2; exit 1; }
  rm -f a.fpr.*
done
echo "$killed of $((round)) runs killed, $unfinished before the file was whole; every later run had the whole file"
((unfinished > times / 4)) || { echo "hardly any run was caught at work" >&2; exit 1; }
