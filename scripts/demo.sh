#!/usr/bin/env bash
# Installs what is missing, builds, makes a karaoke track, and runs the whole job on it.
#
#   scripts/demo.sh [TRACK]      TRACK: a disc image of your own, instead of the track made here
#
# Writes into out/demo; open out/demo/index.html afterwards.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
(($# <= 1)) || die "one track at most"
track=${1:-}
[[ -z $track || -e $track ]] || die "$track: there is no such file"

step "Packages"
"$root/scripts/setup.sh"
say "All there."

step "Build"
build release nvtool
nvtool=$root/build/release/apps/nvtool/nvtool

out=$root/out
mkdir -p "$out"
if [[ -z $track ]]; then
  track=$out/sample.bin
  step "A karaoke track: out/sample.bin"
  "$nvtool" make-sample "$track"
fi

step "The whole job: $(basename "$track") into out/demo"
"$nvtool" process "$track" -o "$out/demo"

say "The program that did this is $nvtool; with --help it tells what else it can do."
