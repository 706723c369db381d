#!/usr/bin/env bash
# Makes a video of a track of four minutes, once with nvtool and once with ffmpeg alone (its own decoder of the graphics, its
# own scaler, the same encoder settings), and prints what each took. Run nothing else meanwhile.
#
#   scripts/bench-video.sh [SECONDS [SIZE]]      240 seconds and 1920x1080 without arguments
#
# Builds nvtool first; NVTOOL names another one to take. The videos stay in out/bench.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
seconds=${1:-240} size=${2:-1920x1080}
"$root/scripts/setup.sh" base
if [[ -z ${NVTOOL:-} ]]; then
  build release nvtool
  NVTOOL=$root/build/release/apps/nvtool/nvtool
fi
work=$root/out/bench
mkdir -p "$work"
cd "$work"
"$NVTOOL" make-sample video.bin --seconds "$seconds" --seed 1 --wav video.wav --cdg video.cdg >/dev/null

encoder=(-c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p -c:a aac -b:a 192k -movflags +faststart)
fit="fps=30,scale=${size/x/:}:force_original_aspect_ratio=decrease,pad=${size/x/:}:(ow-iw)/2:(oh-ih)/2"
TIMEFORMAT='%R s, of processors %U s + %S s'
took() { # NAME COMMAND...
  printf '%-28s ' "$1"
  time "${@:2}" >/dev/null 2>"$work/video.log"
}
step "A track of $seconds s to $size at 30 frames a second"
took "nvtool video --smooth" "$NVTOOL" video video.cdg --audio video.wav -o ours.mp4 --size "$size" --smooth
took "nvtool video" "$NVTOOL" video video.cdg --audio video.wav -o plain.mp4 --size "$size"
took "ffmpeg alone" ffmpeg -nostdin -v error -y -i video.cdg -i video.wav -vf "$fit" "${encoder[@]}" alone.mp4
stat --format '%n %s bytes' ours.mp4 plain.mp4 alone.mp4
