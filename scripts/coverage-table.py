#!/usr/bin/env python3
"""Makes a table of the folders out of gcovr's account of a run, and a list of the functions that nothing reached.

    coverage-table.py ACCOUNT.json UNREACHED.txt

Exceptions' own branches leave the account on the way: the one that a call takes when it throws, and its other half, the one
that it takes when it does not, which says no more than that the line was reached."""
import collections
import json
import sys

COLUMNS = ("lines", "branches", "functions")


def without_throws(branches):
    kept = []
    for branch in branches:
        if kept and branch["throw"] != kept[-1]["throw"] and (branch["fallthrough"] or kept[-1]["fallthrough"]):
            kept.pop()
        else:
            kept.append(branch)
    return [branch for branch in kept if not branch["throw"]]


def functions_of(file):
    """The file's functions by line: instances of one template are one function, as are a constructor's two bodies."""
    by_line = {}
    for function in file["functions"]:
        name, count = by_line.get(function["lineno"], (function["name"], 0))
        by_line[function["lineno"]] = (name, count + function["execution_count"])
    return by_line


def print_row(name, cells):
    print(f"{name:12}" + "".join(f"{each:>11}" for each in cells))


def main():
    account_path, unreached_path = sys.argv[1:]
    with open(account_path, encoding="utf-8") as file:
        account = json.load(file)
    table = collections.defaultdict(lambda: {column: [0, 0] for column in COLUMNS})
    unreached = []
    for file in account["files"]:
        lines = [line for line in file["lines"] if not line["gcovr/noncode"]]
        for line in lines:
            line["branches"] = without_throws(line["branches"])
        functions = functions_of(file)
        unreached += [f"{file['file']}:{line}: {name}" for line, (name, count) in sorted(functions.items()) if not count]
        counts = ([line["count"] for line in lines], [branch["count"] for line in lines for branch in line["branches"]],
                  [count for _, count in functions.values()])
        for row in (file["file"].split("/")[0], "all"):
            for column, each in zip(COLUMNS, counts):
                table[row][column][0] += sum(count > 0 for count in each)
                table[row][column][1] += len(each)

    print_row("", [heading for column in COLUMNS for heading in (column, "reached")])
    for row in sorted(table, key=lambda name: (name == "all", name)):
        print_row(row, [cell for reached, whole in table[row].values()
                        for cell in (whole, f"{100 * reached / whole:.1f} %" if whole else "")])
    with open(unreached_path, "w", encoding="utf-8") as file:
        file.writelines(f"{each}\n" for each in unreached)
    with open(account_path, "w", encoding="utf-8") as file:
        json.dump(account, file)


if __name__ == "__main__":
    main()
