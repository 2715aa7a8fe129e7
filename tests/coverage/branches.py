#!/usr/bin/env python3
"""Sums up the branches that the tests of a build have taken.

usage: branches.py BUILD_FOLDER

Prints the lines with branches not taken, a table of the files, and the totals of their folders. A source
may belong to several objects (a library for the tests, a DLL, copies of a template): a branch is taken
when one of them has taken it. Not counted are branches that only an exception takes, and those that the
compiler adds to a closing brace or to the start of a program."""
import collections
import concurrent.futures
import pathlib
import re
import sys

from gcovfiles import read_object

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("src", "client", "monitor", "host", "base")
ONLY_BRACES = re.compile(r"[\s{}();,]*(//.*)?$")


def is_ours(function):
    path = pathlib.Path(function.file)
    return (path.is_relative_to(ROOT) and path.relative_to(ROOT).parts[0] in FOLDERS
            and not function.is_artificial)


def branches_of(note):
    """{(file, line, place of the function): counts of its branches} of an object."""
    found = {}
    for function in read_object(note, is_ours):
        one = collections.defaultdict(list)
        for block, arcs in function.branches().items():
            file, line = function.lines.get(block, (None, 0))
            if file == function.file:  # not of a header that is part of the function
                key = (str(pathlib.Path(file).relative_to(ROOT)), line, function.place)
                one[key] += [arc.count for arc in arcs]
        for key, counts in one.items():
            add(found, key, counts)
    return found


def add(found, key, counts):
    """Adds up copies of a function that were compiled alike; others stand beside them."""
    known = found.setdefault(key, {})
    sums = known.get(len(counts), [0] * len(counts))
    known[len(counts)] = [a + b for a, b in zip(sums, counts)]


def count(notes):
    """{file: {line: counts of its branches}}."""
    functions = {}
    with concurrent.futures.ProcessPoolExecutor() as pool:
        for found in pool.map(branches_of, notes):
            for key, known in found.items():
                for counts in known.values():
                    add(functions, key, counts)
    files = collections.defaultdict(lambda: collections.defaultdict(list))
    for (file, line, _), known in functions.items():
        files[file][line] += max(known.values(), key=lambda counts: sum(map(bool, counts)) / len(counts))
    return files


def row(name, branches, taken):
    percent = f"{100 * taken / branches:.1f}" if branches else "-"
    return f"{name:<48}{branches:>9}{taken:>8}{percent:>8}"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.split("\n")[2])
    build = pathlib.Path(sys.argv[1]).resolve()
    notes = sorted(build.rglob("*.c*.gcno"))
    notes = [note for note in notes if note.stat().st_size]  # a precompiled header has none
    if not notes:
        sys.exit(f"branches: no notes of the compiler below {build}; is it a build that counts?")

    sums = collections.defaultdict(lambda: [0, 0])
    table = []
    print("Branches not taken\n")
    for file, lines in sorted(count(notes).items()):
        text = (ROOT / file).read_text().split("\n")
        branches = taken = 0
        for line, counts in sorted(lines.items()):
            code = text[line - 1].strip()
            if ONLY_BRACES.match(code):
                continue
            branches += len(counts)
            missed = counts.count(0)
            taken += len(counts) - missed
            if missed:
                what = f"{missed} of {len(counts)}" if any(counts) else "not run"
                print(f"{file}:{line}: {what}: {code}")
        if branches:
            table.append(row(file, branches, taken))
        sums[file.split("/")[0]][0] += branches
        sums[file.split("/")[0]][1] += taken
    print(f"\n{'file':<48}{'branches':>9}{'taken':>8}{'%':>8}", *table, "", sep="\n")
    for folder in FOLDERS:
        print(row(folder + "/", *sums[folder]))


if __name__ == "__main__":
    main()
