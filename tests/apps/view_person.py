#!/usr/bin/env python3
"""Sits down before 'nvtool view' on a display of its own (Xvfb), moves the mouse and types (xdotool), and holds what the
program tells against what a person would expect.

    view_person.py NVTOOL FOLDER      NVTOOL: the program, or a script that runs it somewhere else

FOLDER gets a sample track and a screenshot of every step (with ffmpeg), to be looked at. Exit code 77: a
program that this needs is not installed."""
import json
import os
import shutil
import subprocess
import sys
import time

WIDTH, HEIGHT = 1200, 800
OVERVIEW, AXIS, TOP = 116, 76, 4  # widths of the overview and of the chart's axis, the chart's upper margin
BAND_TOP = 10  # of the overview
ROWS = HEIGHT - 2 * TOP
DENSITY = 512


def missing():
    return [tool for tool in ("Xvfb", "xdotool") if not shutil.which(tool)]


class Person:
    def __init__(self, nvtool, folder):
        self.nvtool, self.folder = nvtool, folder
        self.track = os.path.join(folder, "track.bin")
        if not os.path.exists(self.track):
            subprocess.run([nvtool, "make-sample", self.track], check=True, stdout=subprocess.DEVNULL)
        info = json.loads(subprocess.run([nvtool, "info", self.track, "--json"], check=True, capture_output=True).stdout)
        self.frames = info["sound"]["frames"]
        read, write = os.pipe()
        self.xvfb = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-screen", "0", "1400x1000x24", "-nolisten", "tcp", "-ac"],
                                     pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as display:
            os.environ["DISPLAY"] = ":" + display.readline().strip()
        os.environ.pop("NVLIB_WINDOWS", None)
        self.log = open(os.path.join(folder, "notifications.txt"), "w+b")
        self.view = subprocess.Popen([nvtool, "view", self.track, "--print", "--width", str(WIDTH), "--height", str(HEIGHT)],
                                     stdout=self.log)
        self.shots = self.seen = self.failures = 0
        found = self.do("search", "--sync", "--onlyvisible", "--name", "track.bin")
        self.window = found.split()[0]
        self.do("windowmove", self.window, "0", "0")
        self.do("windowsize", self.window, str(WIDTH), str(HEIGHT))  # on Windows the frame counted, too
        self.do("windowfocus", "--sync", self.window)

    def do(self, *arguments):
        return subprocess.run(["xdotool", *arguments], check=True, capture_output=True, timeout=30, text=True).stdout

    def told(self, expected=1):
        """What came since the last call: waits for so many lines, and then until nothing more comes."""
        patience, quiet, count = time.monotonic() + 10, 0, -1
        while quiet < 3 and time.monotonic() < patience:
            time.sleep(0.1)
            with open(self.log.name) as log:
                lines = [line.split() for line in log]
            quiet = quiet + 1 if len(lines) == count and count - self.seen >= expected else 0
            count = len(lines)
        new, self.seen = lines[self.seen:], len(lines)
        return new

    def wait_for(self, word, frame):
        """Until a line of that kind says that frame or a later one."""
        patience = time.monotonic() + 60
        while time.monotonic() < patience:
            with open(self.log.name) as log:
                lines = [line.split() for line in log if line.endswith("\n")][self.seen:]
            if any(line[0] == word and int(line[1]) >= frame for line in lines):
                return
            time.sleep(0.05)

    def picture(self):
        """The pixels of the window's right part, which has the graphics; None where ffmpeg is not installed."""
        if not shutil.which("ffmpeg"):
            return None
        return subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "x11grab", "-draw_mouse", "0", "-video_size", "500x800", "-i",
                               os.environ["DISPLAY"] + "+700,0", "-frames:v", "1", "-f", "rawvideo", "-"],
                              check=True, stdin=subprocess.DEVNULL, capture_output=True).stdout

    def shot(self, name):
        """As a file of the folder, where ffmpeg is installed."""
        self.shots += 1
        if shutil.which("ffmpeg"):
            subprocess.run(["ffmpeg", "-loglevel", "error", "-y", "-f", "x11grab", "-draw_mouse", "1", "-video_size", "1200x800",
                            "-i", os.environ["DISPLAY"], "-frames:v", "1",
                            os.path.join(self.folder, f"{self.shots:02}-{name}.png")], check=True, stdin=subprocess.DEVNULL)

    def check(self, what, holds, told):
        print(("ok    " if holds else "FAIL  ") + what)
        if not holds:
            self.failures += 1
            print(f"      told: {told[-5:]}")

    def point(self, x, y):
        self.do("mousemove", "--window", self.window, str(x), str(y))

    def click(self, x, y, button=1):
        self.point(x, y)
        self.do("click", str(button))

    def drag(self, x, y, to, arrived=lambda y: None):
        self.point(x, y)
        self.do("mousedown", "1")
        for step in range(1, 6):
            self.point(x, y + (to - y) * step // 5)
            arrived(y + (to - y) * step // 5)
        self.do("mouseup", "1")

    def pointer_after_click(self, row):
        self.click(OVERVIEW + AXIS + 100, TOP + row)
        told = self.told()
        return (int(told[-1][1]) if told and told[-1][0] == "pointer" else None), told


def playing(person):
    """Space plays and stops; pointer, title and picture follow, and a click while it plays goes on from there."""
    person.do("key", "Home")
    person.told()
    before = person.picture()
    start = time.monotonic()
    person.do("key", "space")
    person.wait_for("heard", 150_000)
    spent = time.monotonic() - start
    person.do("key", "space")
    told = person.told()
    heard = [int(t[1]) for t in told if t[0] == "heard"]
    person.check("space plays from the pointer in real time", told[0] == ["playing", "0", "0.000000"] and len(heard) > 20 and
                 heard == sorted(heard) and abs(float(told[-1][2]) - spent) < 1.5, told)
    person.check("and stops", told[-1][0] == "stopped" and int(told[-1][1]) >= heard[-1], told)
    minutes, seconds = person.do("getwindowname", person.window).split()[0].split(":")
    person.check("the title tells what was heard", abs(60 * int(minutes) + float(seconds) - float(told[-1][2])) < 0.001, told)
    person.check("the picture has followed", person.picture() != before or before is None, told)
    person.shot("played")
    stopped = int(told[-1][1])
    person.do("key", "Right")
    told = person.told()
    person.check("the pointer stands where it stopped", [int(t[1]) for t in told] == [stopped + 441], [stopped, told])

    person.do("key", "space")
    person.click(80, BAND_TOP + 300)
    person.wait_for("pointer", 1)
    time.sleep(0.3)
    person.do("key", "space")
    told = person.told()
    to = next(k for k, t in enumerate(told) if t[0] == "pointer")
    goal = int(told[to][1])
    person.check("a click while it plays goes on from there", all(goal <= int(t[1]) < goal + 10 * 44100 for t in told[to:]) and
                 int(told[-1][1]) > goal and told[-1][0] == "stopped", told)
    person.do("key", "End", "space")  # at the end it begins anew
    told = person.told(2)
    person.do("key", "space")
    person.check("at the end it begins anew", ["playing", "0"] == told[1][:2] and
                 int(person.told()[-1][1]) < person.frames // 2, told)


def run(person):
    chart = OVERVIEW + AXIS + 100
    person.told(0)
    person.shot("opened")
    pointer, told = person.pointer_after_click(100)
    person.check("a click sets the pointer, and is told once", pointer == 100 * DENSITY and len(told) == 1, told)
    person.shot("clicked")

    # No faster than the program: a system that has more to do leaves out steps.
    person.drag(chart, TOP + 100, TOP + 300, lambda y: person.wait_for("pointer", (y - TOP) * DENSITY))
    told = person.told()
    rows = [int(t[1]) / DENSITY for t in told]
    person.check("the pointer follows the mouse, and nothing else does",
                 all(t[0] == "pointer" for t in told) and rows == sorted(rows) and {140, 180, 220, 260, 300} <= set(rows)
                 and set(rows) <= {*range(100, 301)}, told)
    person.click(30, 400 + OVERVIEW)  # the overview's axis
    person.do("mousemove", "--window", person.window, str(OVERVIEW + 20), "300", "click", "1")
    before = person.told()
    person.do("mousemove", "--window", person.window, str(OVERVIEW + 30), "310", "click", "1")
    told = person.told(0)
    person.check("a click on the chart's axis changes nothing", told == [] and before != [], told)
    person.shot("far")

    person.do("key", "Home")
    person.told()
    person.do("mousemove", "--window", person.window, str(chart), "200", "click", "--repeat", "2", "5")
    told = person.told(0)
    start = 2 * ROWS // 8 * DENSITY
    pointer, _ = person.pointer_after_click(100)
    person.check("the wheel scrolls by an eighth a notch, untold", told == [] and pointer == start + 100 * DENSITY, told)

    person.do("keydown", "ctrl", "click", "4", "keyup", "ctrl")
    told = person.told()
    density = DENSITY * 181 // 256
    person.check("with Control it zooms in", told == [["density", str(density)]], told)
    person.shot("zoomed-in")
    person.do("key", "--repeat", "3", "minus")
    told = person.told(3)
    person.check("the key - zooms out", len(told) == 3 and int(told[-1][1]) > 2 * density, told)
    person.shot("zoomed-out")

    # The overview: a row is so many frames.
    row_frames = -(-person.frames // (HEIGHT - 2 * BAND_TOP))
    density = int(told[-1][1])
    person.do("key", "Home")
    person.told()
    frame_rows = density * ROWS // row_frames
    person.drag(80, BAND_TOP + frame_rows // 2, BAND_TOP + frame_rows // 2 + 200)
    told = person.told(0)
    pointer, _ = person.pointer_after_click(0)
    person.check("the overview's frame is moved by its middle, untold",
                 told == [] and abs(pointer - 200 * row_frames) <= 2 * density + row_frames, [told, pointer])
    person.shot("frame-moved")
    person.drag(80, BAND_TOP + 200 + frame_rows, BAND_TOP + 200 + frame_rows // 2)
    told = person.told()
    person.check("its lower end zooms in", bool(told) and told[-1][0] == "density" and
                 abs(int(told[-1][1]) * 2 - density) <= density // 4, told)
    person.shot("frame-end")
    person.drag(80, BAND_TOP + 200, BAND_TOP + 60)
    told = person.told()
    person.check("its upper end zooms out", bool(told) and told[-1][0] == "density" and int(told[-1][1]) > density, told)
    person.shot("frame-start")
    person.click(80, BAND_TOP + 700)
    told = person.told()
    person.check("a click outside of the frame sets the pointer",
                 [t[0] for t in told] == ["pointer"] and int(told[0][1]) == 700 * row_frames, told)
    person.shot("jumped")

    playing(person)

    person.do("windowsize", "--sync", person.window, "900", "600")
    person.told(0)
    person.shot("smaller")
    person.click(OVERVIEW + AXIS + 50, 300)
    told = person.told()
    person.check("a smaller window works as well", [t[0] for t in told] == ["pointer"], told)
    person.do("key", "--repeat", "5", "Down")
    told = person.told(5)
    person.check("the cursor keys move the pointer", len(told) == 5 and int(told[4][1]) > int(told[0][1]), told)
    person.do("key", "Escape")
    try:
        ended = person.view.wait(timeout=10) == 0
    except subprocess.TimeoutExpired:
        ended = False
    person.check("Escape ends the program", ended, [])


def main():
    if missing():
        print("not installed: " + ", ".join(missing()))
        return 77
    nvtool, folder = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    os.makedirs(folder, exist_ok=True)
    person = Person(nvtool, folder)
    try:
        run(person)
    finally:
        for process in (person.view, person.xvfb):
            process.terminate()
            process.wait()
    print(f"{person.shots} screenshots in {folder}")
    return 1 if person.failures else 0


if __name__ == "__main__":
    sys.exit(main())
