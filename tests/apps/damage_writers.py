"""Ends every command of nvtool that writes at random moments, and gives it a disk or a file size that is too small: for
damage.py. What is at an output's name must be nothing, what was there before, or the whole result."""
import contextlib
import http.server
import os
import random
import re
import resource
import shutil
import subprocess
import tarfile
import threading
import time
from dataclasses import dataclass, field

import damage_files

PAGE = 4096
NO_ROOM = re.compile("no space|room|disk|too large", re.IGNORECASE)
BEFORE = b"before"


@dataclass
class Writer:
    """A command: OUT is the folder it works in, ALL that of the whole files, URL the address of an archive."""
    command: str
    old: list = field(default_factory=list)    # names of results that may be there before
    given: list = field(default_factory=list)  # whole files that are copied to OUT first
    last: str = ""         # where this result is, all others are
    in_place: str = ""     # a result that is made under its own name, and known as unfinished by what reads it
    stays: list = field(default_factory=list)  # what a failed run leaves on purpose: to go on from, or its own account
    many: bool = False  # results of their own, of which some may be there without the others
    optional: bool = False  # what cannot be written is done without


WRITERS = [
    Writer("split ALL/track.bin --wav OUT/a.wav --cdg OUT/a.cdg", ["a.wav", "a.cdg"]),
    Writer("join --wav ALL/track.wav --cdg ALL/track.cdg OUT/a.bin", ["a.bin"]),
    Writer("make-sample OUT/a.bin --seconds 5 --wav OUT/a.wav --cdg OUT/a.cdg", ["a.bin", "a.wav", "a.cdg"]),
    Writer("frame ALL/track.bin --at 3 --scale 8 -o OUT/a.png", ["a.png"]),
    Writer("frame ALL/track.bin --at 1 --at 3 -o OUT/a.png", many=True),
    Writer("sheet ALL/track.bin -o OUT/a.png", ["a.png"]),
    Writer("thumbprint ALL/long.cdg -o OUT/a", ["a"]),
    Writer("thumbprint OUT/long.cdg OUT/track.cdg -o OUT/prints", given=["long.cdg", "track.cdg"], many=True),
    Writer("waveform ALL/track.wav -o OUT/a.png", ["a.png"]),
    Writer("mp3 ALL/track.wav -o OUT/a.mp3", ["a.mp3"]),
    Writer("mp3 ALL/track.wav --vbr 2 --jobs 2 -o OUT/a.mp3", ["a.mp3"]),
    Writer("tag OUT/track.mp3 --title x", given=["track.mp3"]),
    Writer("tag OUT/tagged.mp3 --remove", given=["tagged.mp3"]),
    Writer("peaks OUT/track.wav", given=["track.wav"], in_place="track.fpr"),
    Writer("find ALL/long.thumbprint OUT/long.cdg --cache OUT/cache", given=["long.cdg"], optional=True),
    Writer("process ALL/track.bin -o OUT/page", last="page/index.html"),
    Writer("process ALL/track.bin --mp3 -o OUT/page", last="page/index.html"),
    Writer("process ALL/track.bin ALL/track.cdg -o OUT/pages", last="pages/index.html", many=True,
           stays=["pages/index.html", "pages/report.json"]),
    Writer("cddb unpack ALL/big.tar OUT", last="settings/Varnel/FreeDB.conf"),
    Writer("cddb download URL OUT", ["freedbkar.7z"], stays=["freedbkar.7z.part", "freedbkar.7z.part.from"]),
    Writer("video ALL/track.cdg --audio ALL/track.wav --size 300x216 -o OUT/a.mp4", ["a.mp4"]),
    Writer("video ALL/track.bin --size 300x216 -o OUT/a.mp4", ["a.mp4"]),
]
# What is told on standard output only.
TELLERS = ["info ALL/track.bin", "levels ALL/track.wav --points 2000 --json", "scan ALL/track.cdg", "tag ALL/tagged.mp3",
           "cddb local --db ALL/db " + damage_files.DISC]


class SlowServer(http.server.BaseHTTPRequestHandler):
    """Gives an archive piece by piece, from where it is asked to."""
    protocol_version = "HTTP/1.1"
    archive = b""

    def do_GET(self):
        start = int((re.match(r"bytes=(\d+)-", self.headers.get("Range", "")) or [0, 0])[1])
        if start >= len(self.archive):
            self.send_error(416)
            return
        self.send_response(206 if start else 200)
        self.send_header("Content-Length", str(len(self.archive) - start))
        self.send_header("ETag", '"one"')
        if start:
            self.send_header("Content-Range", f"bytes {start}-{len(self.archive) - 1}/{len(self.archive)}")
        self.end_headers()
        step = len(self.archive) // 16
        with contextlib.suppress(OSError):
            for at in range(start, len(self.archive), step):
                self.wfile.write(self.archive[at:at + step])
                time.sleep(0.01)

    def log_message(self, *_):
        pass


def contents(folder):
    """Name and bytes of all files below a folder."""
    found = {}
    for place, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(place, name)
            with contextlib.suppress(FileNotFoundError), open(path, "rb") as file:  # ffmpeg may still be at its end
                found[os.path.relpath(path, folder)] = file.read()
    return found


def empty(folder):
    for _ in range(100):
        shutil.rmtree(folder, ignore_errors=True)
        if not os.path.exists(folder):
            return
        time.sleep(0.02)


class Writers:
    def __init__(self, damage):
        self.damage, self.whole = damage, damage.whole
        self.place = os.path.join(damage.folder, "out")
        record = os.path.join(self.whole, "db-rock-0f025803")
        with tarfile.open(os.path.join(self.whole, "big.tar"), "w", format=tarfile.USTAR_FORMAT) as archive:
            for number in range(400):
                archive.add(record, f"{'folk' if number % 2 else 'rock'}/{number:08x}")
        with open(os.path.join(self.whole, "big.tar"), "rb") as file:
            SlowServer.archive = file.read()
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), SlowServer)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.writers = WRITERS
        if not shutil.which("ffmpeg"):
            print("no ffmpeg: videos are left out")
            self.writers = [writer for writer in WRITERS if not writer.command.startswith("video")]

    def words(self, writer):
        url = f"http://127.0.0.1:{self.server.server_port}/db.7z"
        return [word.replace("OUT", self.place).replace("ALL", self.whole).replace("URL", url) for word in writer.command.split()]

    def environment(self):
        environment = dict(self.damage.environment(self.place), XDG_CONFIG_HOME=self.place + "/settings")
        del environment["NVTOOL_FFMPEG"]
        return environment

    def start(self, writer, counted=True, **how):
        environment = self.environment()
        if not counted:  # a build for coverage keeps its counts in files that all runs share: what is cut off spoils them
            environment["GCOV_PREFIX"] = os.path.join(self.damage.folder, "spoilt-counts")
        return subprocess.Popen([self.damage.nvtool, *self.words(writer)], cwd=self.damage.folder, env=environment,
                                stdin=subprocess.DEVNULL, **how)

    def prepare(self, writer, before):
        """A new folder as the command finds it; returns its contents."""
        empty(self.place)
        empty(self.place + ".tmp")
        os.makedirs(self.place)
        os.makedirs(self.place + ".tmp")
        for name in writer.given:
            shutil.copy2(os.path.join(self.whole, name), self.place)
        for name in writer.old if before else []:
            with open(os.path.join(self.place, name), "wb") as file:
                file.write(BEFORE)
        return contents(self.place)

    def run_whole(self, writer):
        """Lets it do its work; returns all that is then there."""
        run = self.start(writer, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        told = run.communicate()[1].decode(errors="replace")
        if run.returncode != 0:
            self.damage.fail(f"{writer.command}: exit code {run.returncode}\n{told[:500]}")
        return contents(self.place)

    # ---- Kills ----

    def kill_one(self, writer, before, whole, delay):
        there = self.prepare(writer, before)
        process = self.start(writer, counted=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(delay)
        process.kill()
        killed = process.wait() < 0
        left = contents(self.place)
        told = f"{writer.command} killed after {delay:.3f} s"
        for name, wanted in whole.items():
            if name != writer.in_place and left.get(name) not in (there.get(name), wanted):
                self.damage.fail(f"{told}: {name} is neither old nor whole")
        if writer.last in left and any(left.get(name) != wanted for name, wanted in whole.items()):
            self.damage.fail(f"{told}: {writer.last} is there before the rest is")
        again = self.run_whole(writer)
        for name, wanted in whole.items():
            if again.get(name) != wanted:
                self.damage.fail(f"{told}: the next run does not make {name} whole")
        return killed

    def kill(self, kills):
        for writer in self.writers:
            self.prepare(writer, False)
            start = time.monotonic()
            whole = self.run_whole(writer)
            takes = time.monotonic() - start
            hit = sum(self.kill_one(writer, i % 2 == 0, whole, random.uniform(0, takes)) for i in range(kills))
            print(f"killed {hit} times of {kills}: {writer.command}", flush=True)

    # ---- No room ----

    def judge(self, told, writer, there, whole, run):
        """What a run without enough room has told and left. Returns whether it has failed."""
        words = run.communicate()[1].decode(errors="replace")
        left = contents(self.place)
        if os.listdir(self.place + ".tmp"):
            self.damage.fail(f"{told}: leaves {os.listdir(self.place + '.tmp')} in the folder for temporary files")
        if run.returncode == 0:
            if left != whole and not (writer.optional and left == there):
                self.damage.fail(f"{told}: ends well, but not all is there\n{words[:500]}")
            return False
        if run.returncode != 1 or "nvtool: " not in words:
            self.damage.fail(f"{told}: exit code {run.returncode}\n{words[:500]}")
        named = any(os.path.join(self.place, name) in words for name in whole) or self.place in words
        # ffmpeg is ended by such a limit, without a word.
        reason = NO_ROOM.search(words.replace(self.place, "")) or ("ffmpeg failed" in words and "files of" in told)
        if not named or not reason:
            self.damage.fail(f"{told}: does not say that there is no room, and for what\n{words[:500]}")
        if writer.many:
            there = {**there, **{name: wanted for name, wanted in whole.items() if left.get(name) == wanted}}
        wrong = [name for name in {*left, *there} if left.get(name) != there.get(name) and name not in writer.stays]
        if wrong:
            self.damage.fail(f"{told}: leaves or changes {wrong[:5]}\n{words[:500]}")
        return True

    @contextlib.contextmanager
    def disk(self):
        """A small disk where the outputs are; gives its folder, or nothing where this user may not have one."""
        folder = os.path.join(self.damage.folder, "small")
        os.makedirs(folder)
        done = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=64m", "tmpfs", folder], capture_output=True, text=True)
        if done.returncode != 0:
            yield ""
            return
        usual, self.place = self.place, os.path.join(folder, "out")
        try:
            yield folder
        finally:
            self.place = usual
            subprocess.run(["umount", "-l", folder], check=False)

    def fill_disk(self, folder, writer, count):
        filler = os.path.join(folder, "filler")
        given = self.prepare(writer, False)
        whole = self.run_whole(writer)
        need = sum(len(data) + PAGE for name, data in whole.items() if given.get(name) != data)
        failed = 0
        for i in range(count + 1):
            there = self.prepare(writer, i % 2 == 1)
            room = (need * i // count - (PAGE if i == count else 0)) // PAGE * PAGE
            with open(filler, "wb") as file:
                if (rest := os.statvfs(folder).f_bavail * PAGE - room) > 0:
                    os.posix_fallocate(file.fileno(), 0, rest)
            run = self.start(writer, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
            failed += self.judge(f"{writer.command} with {room} bytes of {need}", writer, there, whole, run)
            os.remove(filler)
        return failed

    def fill_file(self, writer, count):
        given = self.prepare(writer, False)
        whole = self.run_whole(writer)
        largest = max(len(data) for name, data in whole.items() if given.get(name) != data)
        failed = 0
        for i in range(count):
            there = self.prepare(writer, i % 2 == 0)
            most = largest - 1 if i == 0 else random.randrange(largest)
            limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (most, most))
            # What this would end it with, Python has ignored, and so it gets an error.
            run = self.start(writer, counted=False, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, preexec_fn=limit,
                             restore_signals=False)
            failed += self.judge(f"{writer.command} with files of {most} bytes at most", writer, there, whole, run)
        return failed

    def fill(self, count):
        with self.disk() as folder:
            if not folder:
                print("skipped: the full disk, since no tmpfs can be mounted here")
            for writer in self.writers if folder else []:
                print(f"no room {self.fill_disk(folder, writer, count)} times of {count + 1}: {writer.command}", flush=True)
        for writer in self.writers:
            tries = (count + 1) // 2
            print(f"file too large {self.fill_file(writer, tries)} times of {tries}: {writer.command}", flush=True)
        for command in TELLERS:
            with open("/dev/full", "w") as full:
                run = self.start(Writer(command), stdout=full, stderr=subprocess.PIPE)
                words = run.communicate()[1].decode(errors="replace")
            if run.returncode != 1 or "nvtool: standard output" not in words:
                self.damage.fail(f"{command} > /dev/full: exit code {run.returncode}\n{words[:500]}")
