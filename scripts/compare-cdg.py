#!/usr/bin/env python3
"""Compares nvtool's CD+G pictures with those of ffmpeg: the visible 288 x 192 pixels, the upper four bits of each colour.

usage: compare-cdg.py [--nvtool PROGRAM] [--every PACKS] FILE.cdg...

Prints how many pictures agree, and for each run of pictures that do not, where it lies, how many pixels differ, and what
stood on the screen's scroll registers. docs/formats.md tells the reasons. Exits with 1 when there is a difference.
"""

import argparse
import os
import subprocess
import sys
import tempfile

WIDTH, HEIGHT, PACK = 300, 216, 24
LEFT, TOP, SHOWN_WIDTH, SHOWN_HEIGHT = 6, 12, 288, 192
here = os.path.dirname(os.path.abspath(__file__))


def ffmpeg_pictures(path, packs):
    """The screen after each of these numbers of packs; frame n of 300 a second is what stands after pack n."""
    wanted = set(packs)
    with subprocess.Popen(["ffmpeg", "-v", "error", "-i", path, "-vf", "fps=300:start_time=0", "-fps_mode", "passthrough",
                           "-pix_fmt", "rgb24", "-f", "rawvideo", "-"], stdout=subprocess.PIPE, stdin=subprocess.DEVNULL) as process:
        number, last, size = 0, None, WIDTH * HEIGHT * 3
        while len(frame := process.stdout.read(size)) == size:
            number += 1
            last = frame
            if number in wanted:
                yield number, cut(frame)
        # It ends with the last pack that draws.
        for number in sorted(n for n in wanted if n > number):
            yield number, cut(last)


def cut(frame):
    rows = (frame[((TOP + y) * WIDTH + LEFT) * 3:((TOP + y) * WIDTH + LEFT + SHOWN_WIDTH) * 3] for y in range(SHOWN_HEIGHT))
    return b"".join(rows)


def nvtool_pictures(nvtool, path, packs):
    for start in range(0, len(packs), 200):
        some = packs[start:start + 200]
        with tempfile.TemporaryDirectory() as folder:
            times = ",".join(f"{(number + 0.5) / 300:.6f}" for number in some)
            target = os.path.join(folder, "p.png")
            subprocess.run([nvtool, "frame", path, "--visible", "--at", times, "-o", target], check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            # One picture keeps its name, several are numbered with as many digits as the last number has.
            pattern = target if len(some) == 1 else os.path.join(folder, f"p-%0{len(str(len(some)))}d.png")
            raw = subprocess.run(["ffmpeg", "-v", "error", "-i", pattern, "-fps_mode", "passthrough", "-pix_fmt", "rgb24",
                                  "-f", "rawvideo", "-"], check=True, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE).stdout
            size = SHOWN_WIDTH * SHOWN_HEIGHT * 3
            if len(raw) != size * len(some):
                sys.exit(f"{path}: {len(raw) // size} pictures of {len(some)}")
            for i, number in enumerate(some):
                yield number, raw[i * size:(i + 1) * size]


def registers(path, packs):
    """What the stream has set after each number of packs: scroll offsets, and whether a preset came after a scroll."""
    wanted, states = set(packs), {}
    across = down = 0
    note = ""
    with open(path, "rb") as file:
        data = bytes(byte & 0x3F for byte in file.read())
    for number in range(1, len(data) // PACK + 1):
        pack = data[(number - 1) * PACK:number * PACK]
        if pack[0] == 9:
            if pack[1] in (20, 24):
                across, down = min(pack[5] & 15, 5), min(pack[6] & 15, 11)
                note = "scrolled"
            elif pack[1] == 1 and pack[5] & 15 == 0:
                note = "preset after an offset" if across or down or note.startswith("preset") else ""
                across = down = 0
        if number in wanted:
            states[number] = f"offsets {across}, {down}" + (f", {note}" if note else "")
    return states


def differing(ours, theirs):
    count, nearest = 0, 0
    for at in range(0, len(ours), 3):
        gaps = [abs((a >> 4) - (b >> 4)) for a, b in zip(ours[at:at + 3], theirs[at:at + 3])]
        count += any(gaps)
        nearest = max(nearest, *gaps)
    return count, nearest


def compare(nvtool, path, every):
    total = os.path.getsize(path) // PACK
    packs = list(range(every, total + 1, every))
    states = registers(path, packs)
    theirs = dict(ffmpeg_pictures(path, packs))
    agree, runs = 0, []
    for number, picture in nvtool_pictures(nvtool, path, packs):
        if all(a >> 4 == b >> 4 for a, b in zip(picture, theirs[number])):
            agree += 1
            continue
        pixels, gap = differing(picture, theirs[number])
        if runs and runs[-1]["state"] == states[number] and runs[-1]["last"] + every == number:
            runs[-1].update(last=number, most=max(runs[-1]["most"], pixels), gap=max(runs[-1]["gap"], gap))
        else:
            runs.append({"first": number, "last": number, "most": pixels, "gap": gap, "state": states[number]})
    print(f"{os.path.basename(path)}: {agree} of {len(packs)} pictures agree")
    for run in runs:
        print(f"  packs {run['first']} to {run['last']}: up to {run['most']} pixels, by up to {run['gap']} of 15; {run['state']}")
    return not runs


parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("--nvtool", default=os.path.join(here, "../build/release/apps/nvtool/nvtool"))
parser.add_argument("--every", type=int, default=100, help="packs from one picture to the next")
parser.add_argument("files", nargs="+")
arguments = parser.parse_args()
results = [compare(arguments.nvtool, path, arguments.every) for path in arguments.files]
sys.exit(0 if all(results) else 1)
