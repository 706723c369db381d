#!/usr/bin/env python3
"""Keeps the programs that a document shows the same as those that are built and run.

    guide.py [--check] DOCUMENT...

A block that opens with ```cpp PATH is filled with that file; with --check nothing is written, and the exit code is 1 when a
block is not the file."""
import re
import sys


def main():
    check = "--check" in sys.argv
    stale = []
    for path in [each for each in sys.argv[1:] if each != "--check"]:
        with open(path, encoding="utf-8") as file:
            old = file.read()

        def fill(match):
            with open(match[1], encoding="utf-8") as file:
                return f"```cpp {match[1]}\n{file.read()}```"

        new = re.sub(r"```cpp (\S+)\n(?:.*?\n)??```", fill, old, flags=re.S)
        if new != old:
            stale.append(path)
            if not check:
                with open(path, "w", encoding="utf-8") as file:
                    file.write(new)
    for path in stale:
        print(f"{path}: {'shows other programs than the files it names' if check else 'brought up to date'}")
    return 1 if check and stale else 0


if __name__ == "__main__":
    sys.exit(main())
