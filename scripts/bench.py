#!/usr/bin/env python3
"""Runs the benchmarks and their peers in turn and prints a Markdown table of ratios.

usage: bench.py BENCHMARKS WORK [JOB...]      (called by bench.sh, which builds the programs and puts inputs into WORK)
"""

import json
import os
import platform
import re
import shutil
import subprocess
import sys
import time

programs, work = (os.path.abspath(path) for path in sys.argv[1:3])
rows = []


def path(name):
    return os.path.join(work, name)


def have(name):
    return os.path.exists(path(name))


def run_benchmark(name, pattern, **inputs):
    """The best pass of each benchmark whose name matches, by name."""
    result = path(f"{name}.json")
    environment = dict(os.environ, TMPDIR=path("out"), **{key: path(file) for key, file in inputs.items() if have(file)})
    subprocess.run([os.path.join(programs, name), f"--benchmark_filter={pattern}", "--benchmark_repetitions=5",
                    f"--benchmark_out={result}", "--benchmark_out_format=json"],
                   check=True, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    with open(result, encoding="utf-8") as file:
        report = json.load(file)
    best = {}
    for pass_ in report["benchmarks"]:
        if pass_.get("run_type") != "iteration":
            continue
        if pass_.get("error_occurred"):
            sys.exit(f"{name}: {pass_['name']}: {pass_.get('error_message')}")
        key = pass_["run_name"].removesuffix("/manual_time")
        key = re.sub(r"/iterations:\d+", "", key)
        if key not in best or pass_["real_time"] < best[key]["real_time"]:
            best[key] = pass_
    return best


def limits(*arguments):
    """What the machine allows: name of the loop -> figure. Empty where the programs are not there."""
    if not have("limits"):
        return {}
    best = {}
    for _ in range(3):
        for line in subprocess.run([path("limits"), *arguments], check=True, capture_output=True, text=True).stdout.splitlines():
            name, value = line.split("\t")
            number, _, unit = value.partition(" ")  # some are counts, without a unit
            number, unit = float(number), unit.strip()
            keep = min if unit in ("us", "ms") else max
            best[name] = keep(best.get(name, number), number)
    return best


def seconds_of(argv, rounds=5):
    best = None
    for _ in range(rounds):
        start = time.perf_counter()
        subprocess.run(argv, check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        spent = time.perf_counter() - start
        best = spent if best is None else min(best, spent)
    return best


def show(figure):
    return f"{figure:,.0f}" if figure >= 1000 else f"{figure:.3g}"


def add(what, ours, unit, peer, theirs, wanted="", less_is_better=False):
    if ours is None or theirs is None:
        return
    rows.append((what, f"{show(ours)} {unit}", peer, show(theirs), f"{ours / theirs:.2f}",
                 f"{'at most' if less_is_better else 'at least'} {wanted}" if wanted else ""))


def cdg():
    song, ten = "song.cdg", "song10.cdg"
    packs = run_benchmark("CdgBench", "Packs", NVLIB_BENCH_CDG=ten)
    limit = limits("cdg", path(ten)) if have(ten) else {}
    frames = run_benchmark("CdgBench", "Frame", NVLIB_BENCH_CDG=song)
    rate = {name: figures["items_per_second"] for name, figures in (packs | frames).items() if "items_per_second" in figures}

    one = rate["PacksOneByOne"] / 1e6
    if have("peer_libav_cdg"):
        said = [subprocess.run([path("peer_libav_cdg"), path(ten)], check=True, capture_output=True, text=True).stdout for _ in range(3)]
        add("packs, one call each", one, "million/s", "libavcodec in process", max(float(text.split()[0]) for text in said) / 1e6, "12")
    index = limit.get("packs applied to an index screen")
    add("packs, one call each", one, "million/s", "limit: index screen only", index)
    for masking, name, wanted in ((0, "off", "0.5"), (1, "separate", "0.1"), (2, "in alpha", "0.1")):
        add(f"packs in bulk, masking {name}", rate[f"PacksInBulk/masking:{masking}"] / 1e6, "million/s",
            "limit: index screen only", index, wanted)

    shown = rate["SongAt30FramesASecond"]
    if have(song) and shutil.which("ffmpeg"):
        spent = seconds_of(["ffmpeg", "-v", "quiet", "-i", path(song), "-vf", "fps=30,format=bgra", "-f", "null", "-"])
        add("a song's frames, 30 a second", shown, "frames/s", "ffmpeg to 32 bits", os.path.getsize(path(song)) / 240 / spent, "10")
    add("a song's frames, 30 a second", shown, "frames/s", "limit: all expanded", limit.get("30 frames a second, all expanded to 32 bits"), "0.5 (aim)")
    add("a frame at a random time", frames["RandomFramesWarm"]["real_time"], "us", "limit: replay and expand",
        limit.get("random seek from a keyframe every 1500 packs"), "2.5", less_is_better=True)
    add("the middle of a fresh file", frames["FirstFrameOfFreshFile/percent:50"]["real_time"], "us", "a millisecond", 1000.0, "1", less_is_better=True)


def scan():
    best = run_benchmark("ScanBench", ".", NVLIB_BENCH_CDG="song.cdg")
    spent = {name: figures["real_time"] for name, figures in best.items()}
    for what, name, wanted in (("a song scanned", "Scan", "2"), ("a song loaded for analysis", "ReadFromFile", "1.5"),
                               ("a song's thumbprint", "MakeThumbprint", "1.2")):
        add(what, spent[name], "us", "its packs in bulk, same program", spent["PacksInBulk"], wanted, less_is_better=True)
    add("10,000 thumbprints compared", spent["CompareThumbprints"] * 10, "ms", "a second", 1000.0, "1", less_is_better=True)


def split():
    best = run_benchmark("SplitBench", ".", NVLIB_BENCH_IMAGE="song.bin")
    speed = {name: figures["best MB/s"] for name, figures in best.items()}
    add("an image split", speed["split_into_new_files"], "MB/s", "cp of it", speed["copy_by_cp"], "1")
    if have("song.bin"):
        limit = limits("split", path("song.bin"), path("out"))
        add("an image split", speed["split_into_new_files"], "MB/s", "limit: map, gather, write", limit.get("map, gather and write, 1 thread"))


def silence():
    best = run_benchmark("SilenceBench", "scan_file|limit", NVLIB_BENCH_WAV="long.wav")
    speed = {name: figures["bytes_per_second"] / 1e6 for name, figures in best.items()}
    add("silences of a recording", speed["scan_file"], "MB/s", "read and counted, same program", speed["limit_read_and_count"])
    if have("long.wav"):
        limit = limits("silence", path("long.wav"))
        add("silences of a recording", speed["scan_file"], "MB/s", "limit: masks from the file", limit.get("loud-sample masks, AVX2, from the file"), "0.5")
        if shutil.which("ffmpeg"):
            spent = seconds_of(["ffmpeg", "-v", "quiet", "-i", path("long.wav"), "-af", "silencedetect=noise=0.01:d=1", "-f", "null", "-"], 3)
            add("silences of a recording", speed["scan_file"], "MB/s", "ffmpeg silencedetect", os.path.getsize(path("long.wav")) / 1e6 / spent)


def mp3():
    best = run_benchmark("Mp3WalkBench", ".", NVLIB_BENCH_MP3="vbr-60min.mp3")
    spent = {name: figures["real_time"] for name, figures in best.items()}
    add("frames of an hour of MP3", spent["walk_frames"], "ms", "walked and no more, same program", spent["limit_walk_pieces"], "1.3", less_is_better=True)
    add("frames of an hour of MP3", spent["walk_frames"], "ms", "merely read", spent["limit_read_only"], less_is_better=True)
    if have("vbr-60min.mp3"):
        limit = limits("mp3", path("vbr-60min.mp3"))
        add("frames of an hour of MP3", spent["walk_frames"], "ms", "limit: pieces as read", limit.get("walk pieces as read, time"), "1.3", less_is_better=True)
        for name, argv in (("mp3val", ["mp3val"]), ("mp3info -F", ["mp3info", "-F", "-p", "%S"])):
            if shutil.which(argv[0]):
                add("frames of an hour of MP3", spent["walk_frames"], "ms", name, 1e3 * seconds_of([*argv, path("vbr-60min.mp3")]), less_is_better=True)


def encode():
    best = run_benchmark("EncodeBench", ".", NVLIB_BENCH_WAV="long.wav")
    one = best["encoder_and_file"]
    add("a minute into an MP3 file", one["over encoder"] * one["encoder alone s"], "s", "the encoder alone, same program", one["encoder alone s"], "1.02", less_is_better=True)
    wall = {name: figures["real_time"] for name, figures in best.items() if name.startswith("threads")}
    add("the same, two threads", wall["threads_wall_clock/threads:2/real_time"], "ms", "one thread", wall["threads_wall_clock/threads:1/real_time"], "0.59", less_is_better=True)


def peaks():
    best = run_benchmark("PeakBench", "create|limit|kernel|points", NVLIB_BENCH_WAV="long.wav")
    speed = {name.removesuffix("/real_time"): figures["bytes_per_second"] / 1e6 for name, figures in best.items() if "bytes_per_second" in figures}
    one, two = speed["create_in_memory<OneThread>"], speed["create_in_memory<CWaveFile>"]
    add("peaks of a recording, one thread", one, "MB/s", "merely read", speed["limit_read_only"])
    add("peaks of a recording", two, "MB/s", "one thread", one, "1.5")
    add("peaks of a recording", speed["create_on_disk"], "MB/s", "on disk as in memory: one thread", one)
    add("extremes of sectors, SSE2", speed["kernel_in_memory/0"], "MB/s", "SSE2 loop from the file", speed["limit_sse2"], "0.7")
    if have("long.wav"):
        limit = limits("minmax", path("long.wav"))
        add("peaks of a recording, one thread", one, "MB/s", "limit: records, AVX2, from the file", limit.get("peak records, AVX2, from the file, 1 thread"), "0.8")
        add("peaks of a recording", two, "MB/s", "limit: the same, 2 threads", limit.get("peak records, AVX2, from the file, 2 threads"))
    slowest = max((figures["real_time"], name) for name, figures in best.items() if name.startswith("points"))
    add("2,000 points of an hour, slowest zoom", slowest[0], "ms", "five milliseconds", 5.0, "1", less_is_better=True)


def waveform():
    best = run_benchmark("WaveViewBench", ".")
    spent = {name: figures["real_time"] for name, figures in best.items()}
    name, worst = max(((name, time) for name, time in spent.items() if name.startswith("page_with_peaks")), key=lambda entry: entry[1])
    add(f"a page of an hour's waveform ({name})", worst, "ms", "four milliseconds", 4.0, "1", less_is_better=True)
    add("a page, 256 frames a row", spent["page_with_peaks/256"], "ms", "its pixels filled and copied", spent["limit_fill_and_copy"], less_is_better=True)
    name, worst = max(((name, time) for name, time in spent.items() if name.startswith("page_without_peaks")), key=lambda entry: entry[1])
    add(f"a page without a peak file ({name})", worst, "ms", "thirty milliseconds", 30.0, "1", less_is_better=True)


def cddb():
    if not have("xmcd"):
        return
    best = run_benchmark("CddbBench", ".", NVLIB_BENCH_CDDB="xmcd", NVLIB_BENCH_CDDB_RANGES="xmcd-ranges",
                         NVLIB_BENCH_QUERIES="queries.txt")
    time = {name: figures["real_time"] for name, figures in best.items()}
    limit = limits("cddb", path("xmcd"), path("queries.txt"))
    asking, reading, once = None, None, None
    if limit:
        # Of a disc: its 33 names asked for in every folder, and the records read that have one of them.
        records = sum(len(files) for _, _, files in os.walk(path("xmcd")))
        asking = limit["33 candidate names in every folder, by opening"]
        reading = limit["files found"] / best["query_fresh"]["discs"] * limit["reading every record"] * 1000 / records
        once = asking + reading
    add("a disc, asked for once", time["query_fresh"], "us", "limit: 33 names in every folder, and their records read", once,
        "1.5", less_is_better=True)
    add("the same, all records in range files", time["query_fresh_ranges"], "us", "limit: 33 names in every folder", asking,
        "1.5", less_is_better=True)
    add("a disc, asked for again", time["query_again"], "us", "20 microseconds", 20.0, "1", less_is_better=True)
    add("another disc, with the index", time["query_new"], "us", "limit: its records read", reading, less_is_better=True)
    add("another disc, with the index", time["query_new"], "us", "20 microseconds", 20.0, "1", less_is_better=True)
    add("the index of 100,000 records", time["index"], "ms", "limit: listing the names", limit.get("listing the names into an index"),
        "1.5", less_is_better=True)
    add("a disc in range files", time["range_fresh"], "us", "a millisecond", 1000.0, less_is_better=True)


jobs = {"cdg": cdg, "scan": scan, "split": split, "silence": silence, "mp3": mp3, "encode": encode, "peaks": peaks, "waveform": waveform, "cddb": cddb}
for job in sys.argv[3:] or jobs:
    if job not in jobs:
        sys.exit(f"bench.py: no job '{job}' ({' '.join(jobs)})")
    print(f"{job} ...", file=sys.stderr)
    jobs[job]()

processor = platform.processor() or platform.machine()
if os.path.exists("/proc/cpuinfo"):
    with open("/proc/cpuinfo", encoding="utf-8") as cpuinfo:
        processor = next((line.split(":")[1].strip() for line in cpuinfo if line.startswith("model name")), processor)
print(f"Machine: {processor}, {os.cpu_count()} cores; release build; "
      f"inputs: {'the common ones' if have('song.cdg') else 'made by the benchmarks'}\n")
print("| what | ours | beside | its figure | ours / its | wanted |\n|---|---|---|---|---|---|")
for row in rows:
    print("| " + " | ".join(row) + " |")
