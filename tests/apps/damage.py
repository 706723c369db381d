#!/usr/bin/env python3
"""Gives nvtool damaged files, and ends it in the middle of its work.

    damage.py NVTOOL FOLDER [--runs N] [--kills N] [--seed N] [--every]

Each file of a track is cut off at a length of up to 4 KiB, or one of its first 256 bytes is changed, and commands are run on
it: as many of these as --runs says, chosen at random (--every: all of them, which takes hours). The exit code must be one of
those that are told, a failure must be told in words, and time and memory stay within bounds. Then every command that writes
is killed --kills times at random moments; what is at its output's name must be nothing, what was there before, or the whole
result. FOLDER is for the files; what broke something stays there."""
import argparse
import filecmp
import itertools
import os
import random
import resource
import shutil
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

SECONDS, MEGABYTES = 60, 1500
LONGEST_CUT, CHANGED_BYTES = 4096, 256

# What each kind of file is given to; FILE and OUT stand for the damaged file and a new name.
GRAPHICS = [["info", "FILE", "--json"], ["scan", "FILE"], ["frame", "FILE", "--at", "3", "-o", "OUT.png"],
            ["sheet", "FILE", "-o", "OUT.png"], ["palette", "FILE", "--at", "2"], ["clean", "FILE"],
            ["thumbprint", "FILE", "-o", "OUT"], ["process", "FILE", "-o", "OUT"]]
SOUND = [["info", "FILE"], ["silence", "FILE"], ["levels", "FILE", "--points", "50"], ["peaks", "FILE"],
         ["waveform", "FILE", "-o", "OUT.png"], ["mp3", "FILE", "-o", "OUT.mp3"]]
IMAGE = [["split", "FILE", "--wav", "OUT.wav", "--cdg", "OUT.cdg"]]
COMMANDS = {
    "track.cdg": GRAPHICS + [["join", "--wav", "track.wav", "--cdg", "FILE", "OUT.bin"], ["find", "FILE", "track.cdg", "--no-cache"]],
    "track.bin": GRAPHICS + SOUND[1:] + IMAGE,
    "track.wav": SOUND + [["process", "FILE", "-o", "OUT"], ["join", "--wav", "FILE", "--cdg", "track.cdg", "OUT.bin"]],
    "track.mp3": [["info", "FILE"], ["tag", "FILE", "--title", "x"]],
    "track.thumbprint": [["info", "FILE"], ["compare", "FILE", "track.cdg"], ["compare", "track.cdg", "FILE"]],
}
WRITERS = [(["split", "track.bin", "--wav", "OUT/a.wav", "--cdg", "OUT/a.cdg"], ["a.wav", "a.cdg"]),
           (["join", "--wav", "track.wav", "--cdg", "track.cdg", "OUT/a.bin"], ["a.bin"]),
           (["frame", "track.bin", "--at", "5", "--scale", "8", "-o", "OUT/a.png"], ["a.png"]),
           (["sheet", "track.bin", "-o", "OUT/a.png"], ["a.png"]),
           (["thumbprint", "track.bin", "-o", "OUT/a"], ["a"]),
           (["waveform", "track.wav", "-o", "OUT/a.png"], ["a.png"]),
           (["mp3", "track.wav", "-o", "OUT/a.mp3"], ["a.mp3"]),
           (["make-sample", "OUT/a.bin", "--seconds", "15", "--wav", "OUT/a.wav"], ["a.bin", "a.wav"])]


def damages(size):
    cuts = [("cut", length) for length in range(min(LONGEST_CUT, size))]
    changes = [("change", at) for at in range(min(CHANGED_BYTES, size))]
    return cuts + changes


class Damage:
    def __init__(self, nvtool, folder):
        self.nvtool, self.folder, self.failures = nvtool, folder, []
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        self.environment = dict(os.environ, ASAN_OPTIONS=os.environ.get("ASAN_OPTIONS", "") + ":hard_rss_limit_mb=%d" % MEGABYTES)
        for command in (["make-sample", "track.bin", "--seconds", "12", "--wav", "track.wav", "--cdg", "track.cdg"],
                        ["mp3", "track.wav", "-o", "track.mp3"], ["thumbprint", "track.bin", "-o", "track.thumbprint"]):
            subprocess.run([nvtool, *command], cwd=folder, check=True, capture_output=True)

    def fail(self, what):
        print("FAIL  " + what)
        self.failures.append(what)

    def run_one(self, number, name, damage, command):
        kind, at = damage
        place = os.path.join(self.folder, f"run-{number}")
        os.mkdir(place)
        damaged = os.path.join(place, name)
        with open(os.path.join(self.folder, name), "rb") as file:
            data = bytearray(file.read())
        if kind == "cut":
            del data[at:]
        else:
            data[at] ^= random.Random(number).randrange(1, 256)
        with open(damaged, "wb") as file:
            file.write(data)
        arguments = [word.replace("FILE", damaged).replace("OUT", os.path.join(place, "out")) for word in command]
        told = f"{name} {kind} at {at}: {' '.join(command)}"
        try:
            done = subprocess.run([self.nvtool, *arguments], cwd=self.folder, env=self.environment, timeout=SECONDS,
                                  stdin=subprocess.DEVNULL, capture_output=True)
        except subprocess.TimeoutExpired:
            return self.fail(f"{told}: not done after {SECONDS} s")
        words = done.stderr.decode(errors="replace")
        if done.returncode not in (0, 1):
            return self.fail(f"{told}: exit code {done.returncode}\n{words[:2000]}")
        if done.returncode == 1 and not words.startswith("nvtool: "):
            return self.fail(f"{told}: fails without a word of its own\n{words[:500]}")
        shutil.rmtree(place)
        return None

    def run(self, runs, every):
        chosen = []
        for name, commands in COMMANDS.items():
            size = os.path.getsize(os.path.join(self.folder, name))
            chosen += [(name, damage, command) for damage, command in itertools.product(damages(size), commands)]
        if not every:
            chosen = random.sample(chosen, min(runs, len(chosen)))
        start = time.monotonic()
        with ThreadPoolExecutor(os.cpu_count()) as workers:
            list(workers.map(lambda each: self.run_one(each[0], *each[1]), enumerate(chosen)))
        print(f"{len(chosen)} runs on damaged files in {time.monotonic() - start:.0f} s; the largest took "
              f"{resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024} MB")

    def kill_one(self, command, outputs, before, whole, delay):
        place = os.path.join(self.folder, "killed")
        shutil.rmtree(place, ignore_errors=True)
        os.mkdir(place)
        if before:
            for each in outputs:
                with open(os.path.join(place, each), "wb") as file:
                    file.write(b"before")
        arguments = [word.replace("OUT", place) for word in command]
        process = subprocess.Popen([self.nvtool, *arguments], cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(delay)
        process.kill()
        killed = process.wait() < 0
        for each in outputs:
            path = os.path.join(place, each)
            if not os.path.exists(path):
                good = not before
            elif filecmp.cmp(path, os.path.join(whole, each), shallow=False):
                good = True
            else:
                with open(path, "rb") as file:
                    good = before and file.read() == b"before"
            if not good:
                self.fail(f"{' '.join(command)} killed after {delay:.3f} s: {each} is neither old nor whole")
        return killed

    def kill(self, kills):
        for command, outputs in WRITERS:
            whole = os.path.join(self.folder, "whole")
            shutil.rmtree(whole, ignore_errors=True)
            os.mkdir(whole)
            start = time.monotonic()
            subprocess.run([self.nvtool, *(word.replace("OUT", whole) for word in command)], cwd=self.folder, check=True,
                           stdout=subprocess.DEVNULL)
            takes = time.monotonic() - start
            hit = sum(self.kill_one(command, outputs, i % 2 == 0, whole, random.uniform(0, takes)) for i in range(kills))
            print(f"{command[0]}: killed {hit} times of {kills}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("nvtool")
    parser.add_argument("folder")
    parser.add_argument("--runs", type=int, default=300)
    parser.add_argument("--kills", type=int, default=6)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--every", action="store_true")
    options = parser.parse_args()
    random.seed(options.seed)
    damage = Damage(os.path.abspath(options.nvtool), os.path.abspath(options.folder))
    damage.run(options.runs, options.every)
    damage.kill(options.kills)
    return 1 if damage.failures else 0


if __name__ == "__main__":
    sys.exit(main())
