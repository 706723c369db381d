"""The files that damage.py damages, made whole at first, and the commands of nvtool that read them."""
import io
import os
import shutil
import struct
import subprocess
import tarfile
import zipfile
from dataclasses import dataclass, field

RECORD = """# xmcd
#
# Track frame offsets:
#	150
#	15225
#	30300
#
# Disc length: 602 seconds
#
# Revision: 3
# Submitted via: nvtool 0.1
#
DISCID=0f025803
DTITLE=Some Band / A Title that goes \\
DTITLE=on in another line
DYEAR=1999
DGENRE=Folk
TTITLE0=First
TTITLE1=Second \\t with a tab
TTITLE2=Dritt\xe4r
EXTD=Words\\nof more lines
EXTT0=
EXTT1=
EXTT2=
PLAYORDER=
"""
DISC = "0:2:0 3:23:0 6:44:0 10:02:0"  # the record's
CUE = """REM made by hand
TITLE "A Title"
FILE "track.bin" BINARY
  TRACK 01 AUDIO
    TITLE "First"
    INDEX 01 00:00:00
  TRACK 02 AUDIO
    PREGAP 00:02:00
    INDEX 00 00:01:00
    INDEX 01 00:01:20
  TRACK 03 AUDIO
    INDEX 01 00:03:00
"""
TOC = """CD_DA
CATALOG "0123456789012"
// two tracks
TRACK AUDIO
NO COPY
FILE "track.bin" 0 00:01:00
TRACK AUDIO
PREGAP 00:00:10
FILE "track.bin" 00:01:00 00:02:00
FILE "track.bin" 00:03:00 00:01:00
"""


@dataclass
class Sample:
    """A file that will be damaged: where it lies in a run's folder, what reads it (FILE: it, OUT: what a new name begins
    with, ALL: the folder of whole files), and the whole files that have to lie beside it there."""
    path: str
    commands: list
    beside: dict = field(default_factory=dict)
    makes: list = field(default_factory=list)  # names that commands make by themselves

    @property
    def whole(self):
        return self.path.replace("/", "-")


GRAPHICS = ["info FILE --json", "clean FILE", "palette FILE --at 2", "frame FILE --at 3 -o OUT.png", "sheet FILE -o OUT.png",
            "scan FILE", "thumbprint FILE -o OUT", "compare FILE ALL/long.cdg", "find FILE ALL/long.cdg --no-cache",
            "process FILE -o OUT"]
SOUND = ["info FILE", "silence FILE", "levels FILE --points 50", "peaks FILE", "waveform FILE -o OUT.png",
         "mp3 FILE -o OUT.mp3", "play FILE --to 0.01"]
DISCS = ["info FILE", "disc-id --image FILE", "cddb local --db ALL/db --image FILE"]
DATABASE = ["cddb local --db db --json " + DISC]
ARCHIVE = ["cddb unpack FILE OUT"]
# Every command on files that are not for it, a few of whose damages will do.
ALL_COMMANDS = GRAPHICS + SOUND + DISCS + ARCHIVE + [
    "split FILE --wav OUT.wav --cdg OUT.cdg", "join --wav ALL/track.wav --cdg FILE OUT.bin",
    "join --wav FILE --cdg ALL/track.cdg OUT.bin", "tag FILE --title x", "tag FILE --remove", "compare ALL/long.cdg FILE",
    "cddb local --db ALL/db --list FILE", "disc-id --image ALL/sheet.cue --image FILE"]

SAMPLES = [
    Sample("track.cdg", GRAPHICS + ["join --wav ALL/track.wav --cdg FILE OUT.bin"]),
    Sample("long.cdg", ["thumbprint FILE -o OUT", "compare FILE ALL/long.cdg", "find ALL/long.cdg FILE --cache OUT"]),
    Sample("track.bin", GRAPHICS + SOUND[1:] + ["split FILE --wav OUT.wav --cdg OUT.cdg"], makes=["track.fpr"]),
    Sample("audio.bin", ["info FILE", "silence FILE", "process FILE -o OUT"]),
    Sample("track.wav", SOUND + ["process FILE -o OUT", "join --wav FILE --cdg ALL/track.cdg OUT.bin"], makes=["track.fpr"]),
    Sample("mono8.wav", SOUND + ["process FILE -o OUT"], makes=["mono8.fpr"]),
    Sample("track.fpr", ["info FILE", "peaks track.wav", "peaks track.wav --sector 7 --json"], beside={"track.wav": "track.wav"}),
    Sample("track.mp3", ["info FILE", "info FILE --json", "tag FILE", "tag FILE --title x", "tag FILE --remove"]),
    Sample("tagged.mp3", ["info FILE", "tag FILE --comment x --track 3", "tag FILE --remove"]),
    Sample("track.kma", ["info FILE", "process FILE -o OUT"]),
    Sample("long.thumbprint", ["info FILE", "compare FILE ALL/long.cdg", "compare ALL/long.cdg FILE",
                               "find FILE ALL/long.cdg --no-cache"]),
    Sample("cache/entry", ["find ALL/long.thumbprint ALL/long.cdg --cache cache"]),
    Sample("db/rock/0f025803", DATABASE), Sample("db/rock/0fto10", DATABASE),
    Sample("sheet.cue", DISCS, beside={"track.bin": "track.bin"}), Sample("sheet.toc", DISCS, beside={"track.bin": "track.bin"}), Sample("sheet.nrg", DISCS, beside={"track.bin": "track.bin"}),
    Sample("list.txt", ["cddb local --db ALL/db --list FILE"]),
    Sample("settings/Varnel/FreeDB.conf", ["cddb local " + DISC]),
    Sample("db.tar", ARCHIVE), Sample("db.tar.gz", ARCHIVE), Sample("db.zip", ARCHIVE), Sample("db.7z", ARCHIVE),
    Sample("picture.png", ["info FILE"]),
]


def nrg_image():
    """Three tracks at frames 0, 15075 and 30150 of a disc-at-once image."""
    points = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (2, 0, 15000), (2, 1, 15075), (3, 0, 30075), (3, 1, 30150), (0xAA, 1, 45000)]
    entries = b"".join(struct.pack(">BBBBI", 1, track, index, 0, at) for track, index, at in points)
    body = b"CUEX" + struct.pack(">I", len(entries)) + entries + b"END!" + struct.pack(">I", 0)
    return bytes(300) + body + b"NER5" + struct.pack(">Q", 300)


def write_tars(path, mode, record):
    with tarfile.open(path, mode, format=tarfile.USTAR_FORMAT) as archive:
        for name, text in (("rock/0f025803", record), ("folk/0f025803", record * 3), ("README", b"x" * 600)):
            member = tarfile.TarInfo(name)
            member.size = len(text)
            archive.addfile(member, io.BytesIO(text))


def write_archives(folder, record):
    write_tars(os.path.join(folder, "db.tar"), "w", record)
    write_tars(os.path.join(folder, "db.tar.gz"), "w:gz", record)
    with zipfile.ZipFile(os.path.join(folder, "db.zip"), "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("rock/0f025803", record)
        archive.writestr("folk/0f025803", record * 3)
    if shutil.which("bsdtar"):
        subprocess.run(["bsdtar", "-caf", "db.7z", "-C", "db", "rock"], cwd=folder, check=True)


def write(folder, name, data):
    path = os.path.join(folder, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)


def wave(channels, rate, bits, data):
    head = struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + len(data), b"WAVE", b"fmt ", 16, 1, channels, rate,
                       rate * channels * bits // 8, channels * bits // 8, bits, b"data", len(data))
    return head + data


def make(nvtool, folder):
    """Makes all whole files in a new folder, and returns the samples: those that could be made here."""
    def run(*words):
        subprocess.run([nvtool, *words], cwd=folder, check=True, capture_output=True)
    os.makedirs(folder)
    run("make-sample", "track.bin", "--seconds", "5", "--wav", "track.wav", "--cdg", "track.cdg")
    run("make-sample", "long.bin", "--seconds", "45", "--cdg", "long.cdg")
    run("mp3", "track.wav", "-o", "track.mp3")
    shutil.copy(os.path.join(folder, "track.mp3"), os.path.join(folder, "tagged.mp3"))
    run("tag", "tagged.mp3", "--title", "Some", "--artist", "Band", "--genre", "Folk")
    run("thumbprint", "long.cdg", "-o", "long.thumbprint")
    run("peaks", "track.wav")
    run("find", "long.thumbprint", "long.cdg", "--cache", "cache")
    for name in os.listdir(os.path.join(folder, "cache")):
        os.rename(os.path.join(folder, "cache", name), os.path.join(folder, "cache-entry"))
        cache_name = name
    with open(os.path.join(folder, "track.bin"), "rb") as file:
        sectors = file.read()
    write(folder, "audio.bin", b"".join(sectors[at:at + 2352] for at in range(0, len(sectors) // 4, 2448)))
    write(folder, "mono8.wav", wave(1, 8000, 8, bytes((at * at // 99) % 256 for at in range(16000))))
    write(folder, "track.kma", bytes(169) + b"\6" + bytes(86) + b"PK\3\4" + sectors[:3000])
    record = RECORD.encode("latin-1")
    write(folder, "db/rock/0f025803", record)
    write(folder, "db-rock-0f025803", record)
    write(folder, "db-rock-0fto10", b"".join(b"#FILENAME=%s\n" % name + record for name in (b"0f025700", b"0f025803", b"10025803")))
    for name, text in (("sheet.cue", CUE), ("sheet.toc", TOC), ("list.txt", "# some\n0f025803 150 15225 30300\n10025803 150\n"),
                       ("settings-Varnel-FreeDB.conf", "LocalDBPath=" + folder + "/db\n")):
        write(folder, name, text.encode())
    write(folder, "sheet.nrg", nrg_image())
    write_archives(folder, record)
    shutil.copy(os.path.join(os.path.dirname(__file__), "..", "data", "overview.png"), os.path.join(folder, "picture.png"))
    for sample in SAMPLES:
        if sample.path == "cache/entry":
            sample.path = "cache/" + cache_name
            os.rename(os.path.join(folder, "cache-entry"), os.path.join(folder, sample.whole))
    os.rmdir(os.path.join(folder, "cache"))
    return [sample for sample in SAMPLES if os.path.exists(os.path.join(folder, sample.whole))]
