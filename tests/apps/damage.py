#!/usr/bin/env python3
"""Gives nvtool damaged files, ends it in the middle of its work, and lets the disk run full under it.

    damage.py NVTOOL FOLDER [--runs N] [--kills N] [--disks N] [--seed N]
    damage.py NVTOOL FOLDER --full SERVER [--part K/N] [--stop SECONDS] [--memory] [--only TEXT]

Each file of damage_files.py is cut off at a length of up to 4 KiB, or one of its first 256 bytes is changed, and commands are
run on it: as many of these as --runs says, chosen at random. The exit code must be one of those that are told, a failure must
be told in words and leave no file, and time and memory stay within bounds. Then what writes is killed and given too little
room: see damage_writers.py.

--full makes all of these runs, by a program that stays loaded: SERVER is the library that tests/platform/ForkServer.cpp makes
(ninja fork_server). A process takes many runs there; with --memory it takes one, within a limit of its memory (not for builds
with sanitisers). --part K/N takes every Nth run from the Kth on, for work in pieces, in random order, and --stop ends it after
so many seconds; SPARSE commands are run on every so many damages only. Standard output tells of each command how often it ran,
and what it took. FOLDER is for the files; what broke something stays there."""
import argparse
import collections
import os
import random
import resource
import shutil
import signal
import struct
import subprocess
import sys
import threading
import time

import damage_files
import damage_writers

SECONDS, MEGABYTES = 60, 1500
LONGEST_CUT, CHANGED_BYTES = 4096, 256
RUNS_A_PROCESS = 100
# In a full run, commands that take long are run on every so many damages of their files, and others' commands, too.
SPARSE = {"process": 16, "mp3": 8, "sheet": 4, "scan": 2, "waveform": 64}
SPARSE_STRANGERS = 64
SANITISED = 99  # exit code

Result = collections.namedtuple("Result", "code words seconds megabytes")


class Alone:
    """Runs the program once a process."""
    def __init__(self, nvtool, environment):
        self.nvtool, self.environment = nvtool, environment

    def run(self, folder, words):
        start = time.monotonic()
        try:
            done = subprocess.run([self.nvtool, *words], cwd=folder, env=self.environment, timeout=SECONDS,
                                  stdin=subprocess.DEVNULL, capture_output=True)
        except subprocess.TimeoutExpired:
            return Result(-signal.SIGALRM, "", SECONDS, 0)
        return Result(done.returncode, done.stderr.decode(errors="replace"), time.monotonic() - start, 0)


class Server:
    """Runs main() of a program that stays loaded: see ForkServer.cpp."""
    def __init__(self, nvtool, environment, library, runs, megabytes):
        self.runs, self.megabytes = runs, megabytes
        runtime = [line.split()[2] for line in subprocess.run(["ldd", nvtool], capture_output=True, text=True).stdout.splitlines()
                   if "libasan" in line]
        self.process = subprocess.Popen([nvtool], stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0,
                                        env=dict(environment, LD_PRELOAD=" ".join(runtime + [library])))

    def run(self, folder, words):
        errors = folder + ".errors"
        text = b"".join(word.encode() + b"\0" for word in [folder, "/dev/null", errors, *words])
        self.process.stdin.write(struct.pack("IIII", len(text), SECONDS, self.runs, self.megabytes) + text)
        status, microseconds, kilobytes = struct.unpack("iII", self.process.stdout.read(12))
        with open(errors, errors="replace") as file:
            told = file.read()
        return Result(os.waitstatus_to_exitcode(status), told, microseconds / 1e6, kilobytes / 1024)


def damages(size):
    cuts = [("cut", length) for length in range(min(LONGEST_CUT, size))]
    changes = [("change", at) for at in range(min(CHANGED_BYTES, size))]
    return cuts + changes


class Damage:
    def __init__(self, nvtool, folder):
        self.nvtool, self.folder, self.failures = nvtool, folder, []
        self.whole = os.path.join(folder, "whole")
        self.lock = threading.Lock()
        self.took = collections.defaultdict(list)
        self.worst = (0, "")
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder)
        # libcdio keeps a few bytes of each image that it does not take.
        with open(os.path.join(folder, "leaks"), "w") as file:
            file.write("leak:libcdio.so\n")
        self.samples = damage_files.make(nvtool, self.whole)
        self.before = self.state()

    def state(self):
        """Of the whole files, which nothing may touch."""
        return {os.path.join(place, name): os.stat(os.path.join(place, name)).st_mtime_ns
                for place, _, names in os.walk(self.whole) for name in names}

    def fail(self, what):
        with self.lock:
            print("FAIL  " + what, flush=True)
            self.failures.append(what)

    def environment(self, place):
        options = ":".join(filter(None, [os.environ.get("ASAN_OPTIONS"), f"exitcode={SANITISED}:quarantine_size_mb=32"]))
        undefined = ":".join(filter(None, [os.environ.get("UBSAN_OPTIONS"), f"exitcode={SANITISED}"]))
        leaks = "print_suppressions=0:suppressions=" + os.path.join(self.folder, "leaks")
        return dict(os.environ, ASAN_OPTIONS=options, LSAN_OPTIONS=leaks, UBSAN_OPTIONS=undefined, NVTOOL_FFMPEG="",
                    TMPDIR=place + ".tmp", HOME=place, XDG_CONFIG_HOME=place + "/settings", XDG_CACHE_HOME=place + "/user-cache",
                    XDG_DATA_HOME=place + "/user-data")

    def cases(self):
        """All of them, a damage at a time."""
        strangers = damage_files.ALL_COMMANDS
        for sample in self.samples:
            size = os.path.getsize(os.path.join(self.whole, sample.whole))
            for number, damage in enumerate(damages(size)):
                for command in sample.commands:
                    if number % SPARSE.get(command.split()[0], 1) == 0:
                        yield sample, damage, command
                for at, command in enumerate(strangers):
                    if command not in sample.commands and (number + at) % SPARSE_STRANGERS == 0:
                        yield sample, damage, command

    def prepare(self, place, sample, damage):
        """A new folder with the damaged file and what belongs to it; returns the damaged bytes."""
        shutil.rmtree(place, ignore_errors=True)
        path = os.path.join(place, sample.path)
        os.makedirs(os.path.dirname(path))
        os.makedirs(place + ".tmp", exist_ok=True)
        for name, whole in sample.beside.items():
            os.link(os.path.join(self.whole, whole), os.path.join(place, name))
        kind, at = damage
        with open(os.path.join(self.whole, sample.whole), "rb") as file:
            data = bytearray(file.read())
        if kind == "cut":
            del data[at:]
        else:
            data[at] ^= 0xFF if at % 2 else random.Random(at).randrange(1, 256)
        with open(path, "wb") as file:
            file.write(data)
        return data

    def faults(self, place, sample, damaged, command, result):
        """What is wrong with a run that has ended."""
        if result.code == -signal.SIGALRM:
            yield f"not done after {SECONDS} s"
        elif result.code not in (0, 1) or "Sanitizer" in result.words or "runtime error:" in result.words:
            yield f"exit code {result.code}\n{result.words[:3000]}"
        elif result.code == 1 and "nvtool: " not in result.words:
            yield f"fails without a word of its own\n{result.words[:500]}"
        if "out of memory" in result.words or result.megabytes > MEGABYTES:
            yield f"wants {result.megabytes:.0f} MB\n{result.words[:500]}"
        mine = {sample.path.split("/")[0], *sample.beside, *sample.makes, "settings", "user-cache"}
        for name in os.listdir(place):
            made = name.startswith("out") and ".part-" not in name
            if name not in mine and (not made or (result.code != 0 and not command.startswith(("cddb unpack", "find")))):
                yield f"leaves {name} behind, exit code {result.code}"
        if os.listdir(place + ".tmp"):
            yield "leaves something in the folder for temporary files"
            shutil.rmtree(place + ".tmp")
        rewrites = command.startswith("tag") or "cache" in command or command.startswith("peaks")
        if not rewrites:
            with open(os.path.join(place, sample.path), "rb") as file:
                if file.read() != damaged:
                    yield "changes what it reads"

    def run_one(self, runner, place, sample, damage, command):
        words = [word.replace("FILE", sample.path).replace("OUT", "out").replace("ALL", self.whole) for word in command.split()]
        damaged = self.prepare(place, sample, damage)
        result = runner.run(place, words)
        told = f"{sample.path} {damage[0]} at {damage[1]}: {command}"
        for fault in self.faults(place, sample, damaged, command, result):
            self.fail(f"{told}: {fault}")
            kept = os.path.join(self.folder, f"failed-{len(self.failures)}")
            self.prepare(kept, sample, damage)
            alone = Alone(self.nvtool, self.environment(kept)).run(kept, words)
            print(f"      in a process of its own: exit code {alone.code}, {alone.words[:200]!r}; kept in {kept}", flush=True)
        with self.lock:
            name = " ".join(command.split()[:2 if command.startswith("cddb") else 1])
            self.took[name].append((result.seconds, result.megabytes))
            self.worst = max(self.worst, (result.seconds, told))

    def run(self, cases, make_runner, stop):
        start = time.monotonic()
        todo = iter(cases)

        def work(number):
            place = os.path.join(self.folder, f"run-{number}")
            os.makedirs(place + ".tmp")
            runner = make_runner(self.environment(place))
            while len(self.failures) < 100 and time.monotonic() - start < stop:
                with self.lock:
                    case = next(todo, None)
                if case is None:
                    break
                try:
                    self.run_one(runner, place, *case)
                except (OSError, struct.error) as problem:
                    self.fail(f"{case[0].path} {case[1]}: {case[2]}: the runs have ended: {problem!r}")
                    break

        workers = [threading.Thread(target=work, args=[number]) for number in range(os.cpu_count())]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        if self.state() != self.before:
            self.fail("whole files have been changed")
        count = sum(len(each) for each in self.took.values())
        print(f"{count} of {len(cases)} runs on damaged files in {time.monotonic() - start:.0f} s; the longest took {self.worst[0]:.1f} s: "
              f"{self.worst[1]}; the largest process of all had "
              f"{resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss // 1024} MB")

    def tell(self):
        print(f"{'command':14} {'runs':>8} {'mean ms':>8} {'longest':>8} {'most MB':>8}")
        for name, took in sorted(self.took.items()):
            seconds = [each[0] for each in took]
            print(f"{name:14} {len(took):8} {1000 * sum(seconds) / len(took):8.1f} {1000 * max(seconds):8.0f} "
                  f"{max(each[1] for each in took):8.0f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("nvtool")
    parser.add_argument("folder")
    parser.add_argument("--runs", type=int, default=300)
    parser.add_argument("--kills", type=int, default=3)
    parser.add_argument("--disks", type=int, default=2)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--full", metavar="SERVER")
    parser.add_argument("--part", default="1/1")
    parser.add_argument("--stop", type=float, default=1e9)
    parser.add_argument("--memory", action="store_true")
    parser.add_argument("--only", default="")
    options = parser.parse_args()
    random.seed(options.seed)
    nvtool, folder = os.path.abspath(options.nvtool), os.path.abspath(options.folder)
    damage = Damage(nvtool, folder)
    cases = [case for case in damage.cases() if options.only in f"{case[0].path}: {case[2]}"]
    if options.full:
        part, parts = map(int, options.part.split("/"))
        cases = cases[part - 1::parts]
        random.shuffle(cases)
        library = os.path.abspath(options.full)
        limits = (1, MEGABYTES) if options.memory else (RUNS_A_PROCESS, 0)
        damage.run(cases, lambda environment: Server(nvtool, environment, library, *limits), options.stop)
        damage.tell()
    else:
        damage.run(random.sample(cases, min(options.runs, len(cases))), lambda environment: Alone(nvtool, environment),
                   options.stop)
        writers = damage_writers.Writers(damage)
        writers.kill(options.kills)
        writers.fill(options.disks)
    return 1 if damage.failures else 0


if __name__ == "__main__":
    sys.exit(main())
