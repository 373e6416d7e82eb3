#!/usr/bin/env python3
"""Time from a key to its answer at a terminal: completion.py BUILD. Compares Tab and ? of ocmd_try,
on the trees of 60,000 nodes, with a letter that is only echoed. Keys alternate; medians in
milliseconds, of the processor's time in brackets."""
import os
import statistics
import subprocess
import sys
import tempfile
import time

import pexpect

ROUNDS = 100
BUILD = os.path.realpath(sys.argv[1])


def processor_time(shell):
    with open(f"/proc/{shell.pid}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def seconds(shell, key, answer):
    used, start = processor_time(shell), time.perf_counter()
    os.write(shell.child_fd, key)
    shell.expect(answer)
    end = time.perf_counter()
    return end - start, processor_time(shell) - used


def measure(tree):
    env = dict(os.environ, TERM="dumb", LC_ALL="C.UTF-8")
    shell = pexpect.spawn(f"{BUILD}/bin/ocmd_try", ["--no-history", tree], env=env,
                          timeout=60, dimensions=(24, 200))
    name = os.path.basename(tree)[:-4].encode()
    prompt = name + b"# "
    shell.expect(prompt)
    drawn = b"[\r\n]" + prompt
    keys = {"echo": (b"z", b"z"), "Tab": (b"\t", drawn), "?": (b"?", drawn)}
    times = {key: [] for key in keys}
    for _ in range(ROUNDS):
        for key, (sent, answer) in keys.items():
            times[key].append(seconds(shell, sent, answer))
            seconds(shell, b"\x15\r", b"\n\r?" + prompt)  # the line is empty again
    shell.close()
    results = []
    for key, pairs in times.items():
        clock, processor = (statistics.median(times) * 1000 for times in zip(*pairs))
        results.append(f"{key} {clock:.2f} ({processor:.2f})")
    print(f"{name.decode():8} {'  '.join(results)}")


with tempfile.TemporaryDirectory(dir="/dev/shm") as scratch:
    for shape in ("wide", "deep", "shared"):
        file = os.path.join(scratch, shape + ".par")
        subprocess.run([f"{BUILD}/bench/make_tree", shape, file], check=True)
        measure(file)
