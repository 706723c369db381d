#!/usr/bin/env python3
"""Opens the page of 'nvtool process' in a browser, as a person would, and looks at what it does.

    page_browser.py NVTOOL FOLDER      FOLDER: for the track, the pages and the screenshots

Chromium is driven over its debugging pipe. Nothing may fail to load, no script may fail, nothing may be asked of a
network; the canvas must show what 'nvtool frame' draws, at any time, forwards and backwards; sound must go on by itself
and take the picture along. Exit code 77 where there is no Chromium.
"""
import base64
import json
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import time
import zlib

PACKS_PER_SECOND = 300


class Browser:
    """One page in a headless Chromium. Messages are JSON with a zero byte behind."""

    def __init__(self, program):
        self.profile = tempfile.mkdtemp(prefix="nvtool-browser-")
        to_read, to_write = os.pipe()
        from_read, from_write = os.pipe()
        options = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--mute-audio",
                   "--no-first-run", "--autoplay-policy=no-user-gesture-required", "--window-size=1280,1600",
                   "--user-data-dir=" + self.profile, "--remote-debugging-pipe", "about:blank"]

        def hand_over():
            os.dup2(to_read, 3)
            os.dup2(from_write, 4)

        # The pipe's ends get numbers above 4 first, so that neither is written over.
        to_read, from_write = (self.above_four(end) for end in (to_read, from_write))
        self.process = subprocess.Popen([program] + options, preexec_fn=hand_over, close_fds=False,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_read)
        os.close(from_write)
        self.out, self.inp = os.fdopen(to_write, "wb"), os.fdopen(from_read, "rb")
        self.number, self.events, self.session = 0, [], None
        targets = self.call("Target.getTargets")["targetInfos"]
        target = next(each["targetId"] for each in targets if each["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(domain + ".enable")

    @staticmethod
    def above_four(end):
        kept = []
        while end <= 4:
            kept.append(end)
            end = os.dup(end)
        for each in kept:
            os.close(each)
        return end

    def call(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        self.out.write(json.dumps(message).encode() + b"\0")
        self.out.flush()
        while True:
            answer = self.receive()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def receive(self):
        text = bytearray()
        while True:
            byte = self.inp.read(1)
            if not byte:
                raise RuntimeError("the browser has gone")
            if byte == b"\0":
                return json.loads(text)
            text += byte

    def run(self, script):
        """The value of a script, promises awaited."""
        answer = self.call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"{script}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def open(self, path):
        self.events.clear()
        self.call("Page.navigate", url="file://" + path)
        self.run("new Promise(done => document.readyState == 'complete' ? done() : addEventListener('load', done))")

    def complaints(self):
        found = []
        for event in self.events:
            method, about = event.get("method"), event.get("params", {})
            if method in ("Runtime.exceptionThrown", "Network.loadingFailed"):
                if not about.get("canceled"):
                    found.append(event)
            elif method == "Log.entryAdded" and about["entry"]["level"] in ("error", "warning"):
                if "willReadFrequently" not in about["entry"]["text"]:  # this test's own reading
                    found.append(event)
            elif method == "Network.requestWillBeSent":
                url = about["request"]["url"]
                if not url.startswith(("file:", "data:", "about:")):
                    found.append(event)
        return found

    def screenshot(self, path):
        picture = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(picture))

    def close(self):
        self.process.kill()
        self.process.wait()
        shutil.rmtree(self.profile, ignore_errors=True)


def read_png(path):
    """Rows of a PNG of 8-bit red, green and blue, as one bytes object."""
    with open(path, "rb") as file:
        data = file.read()
    at, packed, width = 8, b"", 0
    while at < len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        if kind == b"IHDR":
            width = struct.unpack(">I", data[at + 8:at + 12])[0]
        elif kind == b"IDAT":
            packed += data[at + 8:at + 8 + length]
        at += length + 12
    raw, stride, rows, above = zlib.decompress(packed), width * 3, [], bytes(width * 3)
    for start in range(0, len(raw), stride + 1):
        method, row = raw[start], bytearray(raw[start + 1:start + 1 + stride])
        for i in range(stride):
            a, b, c = row[i - 3] if i >= 3 else 0, above[i], above[i - 3] if i >= 3 else 0
            p = a + b - c
            nearest = min((abs(p - a), 0, a), (abs(p - b), 1, b), (abs(p - c), 2, c))[2]
            row[i] = (row[i] + (0, a, b, (a + b) // 2, nearest)[method]) & 255
        rows.append(bytes(row))
        above = row
    return b"".join(rows)


CANVAS = """(() => { const c = document.querySelector('canvas');
  const all = c.getContext('2d').getImageData(0, 0, 300, 216).data; let text = '';
  for (let i = 0; i < all.length; i += 4) text += String.fromCharCode(all[i], all[i + 1], all[i + 2]);
  return btoa(text); })()"""
SETTLED = "new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done)))"


class Person:
    def __init__(self, nvtool, folder, browser):
        self.nvtool, self.folder, self.browser, self.failures = nvtool, folder, browser, []

    def expect(self, what, holds):
        print(("ok    " if holds else "FAIL  ") + what)
        if not holds:
            self.failures.append(what)

    def tool(self, *arguments):
        return subprocess.run([self.nvtool, *arguments], check=True, cwd=self.folder, capture_output=True, text=True).stdout

    def canvas(self):
        return base64.b64decode(self.browser.run(CANVAS))

    def seek(self, seconds):
        self.browser.run(f"(() => {{ const s = document.querySelector('audio');"
                         f" return new Promise(done => {{ s.onseeked = done; s.currentTime = {seconds}; }}); }})()")
        self.browser.run(SETTLED)
        return self.browser.run("document.querySelector('audio').currentTime")

    def compare_pictures(self, track, times):
        different = []
        for seconds in times:
            at = self.seek(seconds)
            self.tool("frame", track, "--at", repr(at), "-o", "frame.png")
            if self.canvas() != read_png(os.path.join(self.folder, "frame.png")):
                different.append(at)
        self.expect(f"{len(times)} pictures on the page are those of the library {different}", not different)

    def open(self, page):
        self.browser.open(os.path.join(self.folder, page))

    def finish(self, what):
        complaints = self.browser.complaints()
        self.expect(f"{what}: everything loads and no script fails {json.dumps(complaints)[:500]}", not complaints)

    def look_at_track(self):
        browser = self.browser
        self.open("out/index.html")
        browser.run("new Promise(done => { const s = document.querySelector('audio');"
                    " s.readyState > 0 ? done() : s.onloadedmetadata = done; })")
        blank = self.canvas()
        # Pages are at rest between their packs; the middle of a pack's time leaves no doubt which one it is.
        random.seed(7)
        times = [(random.randrange(40 * PACKS_PER_SECOND) + 0.5) / PACKS_PER_SECOND for _ in range(12)]
        self.compare_pictures("track.bin", times)
        seen = self.canvas()
        self.expect("the picture changes with the time", seen != blank)
        self.seek(20)
        before = self.canvas()
        browser.run("document.querySelector('audio').play()")
        time.sleep(2.5)
        there = browser.run("document.querySelector('audio').currentTime")
        browser.run("document.querySelector('audio').pause()")
        browser.run(SETTLED)
        self.expect(f"sound goes on from 20 s by itself, to {there:.2f} s", 20.5 < there < 24)
        self.expect("and takes the picture along", self.canvas() != before)
        head = float(browser.run("document.querySelector('svg .head').getAttribute('x')"))
        self.expect(f"and the line on the strip, to {head:.1f}", 490 < head < 620)
        start = browser.run("(() => { const b = document.querySelectorAll('.pages button[data-from]')[1]; b.click();"
                            " return Number(b.dataset.from); })()")
        time.sleep(0.5)
        browser.run("document.querySelector('audio').pause()")
        there = browser.run("document.querySelector('audio').currentTime")
        self.expect(f"a page's button plays from there: {start:.2f} s, {there:.2f} s", start <= there < start + 2)
        browser.run("document.querySelectorAll('img').forEach(image => image.loading = 'eager')")
        browser.run("Promise.all([...document.images].map(image => image.decode()))")
        broken = browser.run("[...document.images].filter(image => !image.naturalWidth).length")
        self.expect("all pictures are there", broken == 0)
        browser.screenshot(os.path.join(self.folder, "page.png"))
        self.finish("a track")

    def look_at_graphics_alone(self):
        browser = self.browser
        self.open("alone/index.html")
        before = self.canvas()
        browser.run("document.querySelector('.clock button').click()")
        time.sleep(0.5)
        playing = browser.run("document.querySelector('.clock button').textContent")
        browser.run("(() => { const s = document.querySelector('.clock input'); s.value = 20; s.oninput(); })()")
        browser.run(SETTLED)
        browser.run("document.querySelector('.clock button').click()")
        self.expect("graphics without sound play with a clock", playing == "Pause" and self.canvas() != before)
        browser.screenshot(os.path.join(self.folder, "alone.png"))
        self.finish("graphics alone")

    def look_at_batch(self):
        browser = self.browser
        self.open("all/index.html")
        links = browser.run("[...document.querySelectorAll('.tracks a')].map(a => decodeURIComponent(a.pathname))")
        self.expect(f"the batch's page leads to {len(links)} pages", len(links) == 2 and all(map(os.path.exists, links)))
        self.expect("and tells what failed", browser.run("document.querySelectorAll('.failures tr').length") == 1)
        browser.screenshot(os.path.join(self.folder, "all.png"))
        self.finish("a batch")
        browser.run("document.querySelector('.tracks a').click()")
        time.sleep(0.5)
        self.expect("a card opens its track", browser.run("!!document.querySelector('canvas')"))
        song = browser.run("document.querySelector('p.lead').textContent")
        self.expect(f"which shows its tag: {song}", "Paper <Tide>" in song and "The Example Singers" in song)
        browser.run("document.querySelector('audio').play()")
        time.sleep(1)
        self.expect("and plays its MP3 file", browser.run("document.querySelector('audio').currentTime") > 0.2)


def main():
    nvtool, folder = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    program = shutil.which("chromium") or shutil.which("chromium-browser") or shutil.which("google-chrome")
    if not program:
        print("no Chromium here")
        return 77
    shutil.rmtree(folder, ignore_errors=True)
    songs = os.path.join(folder, "songs")
    os.makedirs(songs)
    browser = Browser(program)
    try:
        person = Person(nvtool, folder, browser)
        person.tool("make-sample", "track.bin", "--seconds", "40")
        person.tool("process", "track.bin", "-o", "out")
        # Names that mean something in an address, in HTML, and in another alphabet.
        odd = os.path.join(songs, "50% R&B #1 \u00e9t\u00e9.cdg")
        shutil.copy(os.path.join(folder, "out/track.cdg"), odd)
        person.tool("process", odd, "-o", "alone")
        person.tool("mp3", "out/track.wav", "-o", odd[:-3] + "mp3")
        person.tool("tag", odd[:-3] + "mp3", "--title", "Paper <Tide>", "--artist", "The Example Singers")
        shutil.copy(os.path.join(folder, "track.bin"), songs)
        with open(os.path.join(songs, "broken.cdg"), "wb"):
            pass
        batch = subprocess.run([nvtool, "process", "songs", "-o", "all"], cwd=folder, capture_output=True, text=True)
        person.expect(f"a batch with an empty file fails for that one alone: {batch.stderr.strip()}",
                      batch.returncode == 1 and "broken.cdg" in batch.stderr)
        person.look_at_track()
        person.look_at_graphics_alone()
        person.look_at_batch()
    finally:
        browser.close()
    return 1 if person.failures else 0


if __name__ == "__main__":
    sys.exit(main())
