#!/usr/bin/env python3
"""Prints lines and branches of each component that were run, of what `llvm-cov export` says on standard
input, and stores what was not: coverage-report.py GAPS. A line or branch counts as run when any
instance of its template or any program ran it. Ends with status 1 below the bounds."""
import collections
import json
import os
import subprocess
import sys

LINES_BOUND, BRANCHES_BOUND = 96, 92  # percent
CLONE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
COMPONENTS = [line.split()[0] for line in subprocess.run(
    [os.path.join(CLONE, "scripts/components.sh")], check=True, text=True,
    stdout=subprocess.PIPE).stdout.splitlines()] + ["tools"]


def place(filename):
    """The path of a product file relative to the clone, or None for any other file."""
    path = os.path.relpath(filename, CLONE)
    return path if path.startswith(tuple(f"{name}/" for name in COMPONENTS)) else None


def line_counts(segments):
    """How often each line with code was run: a line that regions begin on as often as the most used
    of them, any other as often as the region that it lies in."""
    by_line = collections.defaultdict(list)
    for line, _, count, has_count, is_entry, is_gap in segments:
        by_line[line].append((count, has_count, is_entry, is_gap))
    counts = {}
    around = None  # the count of the region that continues into the line
    for line in range(segments[0][0], segments[-1][0] + 1) if segments else []:
        here = by_line.get(line, [])
        begun = [count for count, has_count, is_entry, is_gap in here
                 if has_count and is_entry and not is_gap]
        skipped = bool(here) and here[0][2] and not here[0][1]
        if not skipped and (begun or around is not None):
            counts[line] = max(begun + ([around] if around is not None else []))
        if here:
            around = here[-1][0] if here[-1][1] else None
    return counts


def branch_counts(functions):
    """How often each branch was taken: (file, begin, end, way) to its count."""
    counts = collections.Counter()
    for function in functions:
        files = [place(name) for name in function["filenames"]]
        for begin_line, begin, end_line, end, taken, not_taken, file, *_ in function["branches"]:
            if files[file] is not None:
                span = (files[file], (begin_line, begin), (end_line, end))
                counts[span + (True,)] += taken
                counts[span + (False,)] += not_taken
    return counts


def ranges(numbers):
    """The numbers as ranges of neighbours."""
    found = []
    for number in sorted(numbers):
        if found and found[-1][1] == number - 1:
            found[-1][1] = number
        else:
            found.append([number, number])
    return found


def condition(begin, end, source):
    """The text of a condition, in one line."""
    lines = source[begin[0] - 1:end[0]]
    lines[-1] = lines[-1][:end[1] - 1]
    lines[0] = lines[0][begin[1] - 1:]
    return " ".join(" ".join(lines).split())


def write_gaps(path, lines, branches):
    """Lines as FILE:FIRST-LAST, branches as FILE:LINE: CONDITION, which was never true or false."""
    with open(path, "w", encoding="utf-8") as gaps:
        for file in sorted(lines):
            with open(os.path.join(CLONE, file), encoding="utf-8") as opened:
                source = opened.read().split("\n")
            never_run = {line for line, count in lines[file].items() if count == 0}
            for first, last in ranges(never_run):
                print(f"{file}:{first}-{last}: {source[first - 1].strip()}", file=gaps)
            for (of, begin, end, way), count in sorted(branches.items()):
                if of == file and count == 0 and begin[0] not in never_run:
                    print(f"{file}:{begin[0]}: never {str(way).lower()}: "
                          f"{condition(begin, end, source)}", file=gaps)


def share(counts):
    """Run, of how many, as text and as percent."""
    run = sum(count > 0 for count in counts)
    percent = 100 * run / max(len(counts), 1)
    return f"{run:6} of {len(counts):6} {percent:6.2f} %", percent


def main():
    exported = json.load(sys.stdin)["data"][0]
    lines = {place(file["filename"]): line_counts(file["segments"]) for file in exported["files"]
             if place(file["filename"]) is not None}
    branches = branch_counts(exported["functions"])
    write_gaps(sys.argv[1], lines, branches)

    print(f"{'component':16} {'lines run':>26} {'branches taken':>26}")
    for component in COMPONENTS + [""]:
        run = [count for file, counts in lines.items() if file.startswith(component)
               for count in counts.values()]
        taken = [count for key, count in branches.items() if key[0].startswith(component)]
        line_text, line_percent = share(run)
        branch_text, branch_percent = share(taken)
        print(f"{component or 'all':16} {line_text} {branch_text}")
    print(f"what is not run: {sys.argv[1]}")
    return int(line_percent < LINES_BOUND or branch_percent < BRANCHES_BOUND)


sys.exit(main())
