#!/usr/bin/env python3
"""Random YAML means the same to ocmd_compile and to Python's YAML, which is written in Python:
yaml_difference_test.py PROGRAMS [FILES [SEED]]

Each file is one grammar with random strings: all scalar styles, line breaks, indentation, encodings
and odd bytes. Either both read the same strings from it, or both refuse it; but only Python refuses
a tab at the end of a line and a comment right after '|' or '>', and only the compiler a tab that a
block scalar begins with.
"""
import json
import os
import random
import subprocess
import sys
import tempfile

import yaml

PIECES = ["a", "b", " ", " ", "  ", "\t", "\n", "\n", "\n\n", "\n    ", "\n   ", "\n     ", "\n \t",
          "''", "'", '"', "\\", "\\n", "\\\n", "\\x41", "\\u00e9", "\\ ", "\\P", "#", " #", ":", ": ",
          "-", "- ", "? ", "&", "*", "!", "%", "@", "|", ">", "[", "]", "{", "}", ",", "---", "...",
          "é", "€", "😀", "\u0085", "\u2028", "\u00a0", "0", "~", "<", "\x07"]
ROOM = {"help": 63, "aux_label": 47, "submode_help": 31, "command": 47}
ENCODINGS = ["utf-8"] * 6 + ["utf-8-sig", "utf-16", "utf-16-le", "utf-16-be"]
MARKS = {"utf-16-le": b"\xff\xfe", "utf-16-be": b"\xfe\xff"}


def text(rng, pieces):
    return "".join(rng.choices(pieces, k=rng.randint(0, 9)))


def scalar(rng):
    style = rng.choice(("plain", "single", "double", "block", "block", "any"))
    if style == "plain":
        return rng.choice("abé0~") + text(rng, PIECES[:11] + ["b", "é", ":", "#", " #", "\n    x"])
    if style == "single":
        return "'" + text(rng, [p for p in PIECES if "'" not in p] + ["''"] * 5) + "'"
    if style == "double":
        return '"' + text(rng, [p for p in PIECES if '"' not in p and p != "\\"] + ["\\\""]) + '"'
    if style == "any":
        return text(rng, PIECES)
    indent = rng.choice(("", "", "", "1", "2", "4"))
    header = rng.choice("|>") + rng.choice((indent, indent + "-", "+" + indent)) + rng.choice(("", " # c"))
    blanks = " " * (4 + int(indent or rng.randint(0, 3)))
    lines = (rng.choice(("", "", " ", "  ", "\t", " x")) + rng.choice(("", "a", "bé", "# d", "e "))
             for _ in range(rng.randint(0, 5)))
    return header + "\n" + "\n".join(rng.choice((blanks, blanks, blanks, "")) + line for line in lines)


def grammar(rng):
    lines = ["below: x", "words:", "  w:"]
    for key in rng.sample(list(ROOM), rng.randint(1, 3)):
        lines.append(f"    {key}: " + scalar(rng))
    whole = "\n".join(lines) + rng.choice(("", "\n", "\n\n", "\n# end", "\n...\n"))
    if rng.random() < 0.1:
        at = rng.randrange(len(whole))
        whole = whole[:at] + rng.choice(PIECES) + whole[at + rng.randint(0, 1):]
    whole = whole.replace("\n", rng.choice(("\n", "\n", "\r\n", "\r")))
    encoding = rng.choice(ENCODINGS)
    data = MARKS.get(encoding, b"") + whole.encode(encoding)
    if rng.random() < 0.1:
        at = rng.randrange(3, len(data))  # without the mark, UTF-16 is no grammar at all
        data = data[:at] + bytes([rng.choice((7, 0x80, 0xC3, 0xED, 0xFF))]) + data[at + 1:]
    return data


def mapping(node):
    """Returns the pairs of a mapping whose keys are different strings, or None."""
    if not isinstance(node, yaml.MappingNode):
        return None
    pairs = {key.value: value for key, value in node.value if isinstance(key, yaml.ScalarNode)}
    return pairs if len(pairs) == len(node.value) else None


def meaning(data):
    """Returns what a grammar contains by Python's YAML: strings by their keys, "refused", or None if other
    tests cover it."""
    try:
        documents = list(yaml.compose_all(data, Loader=yaml.BaseLoader))
    except (yaml.YAMLError, UnicodeError) as error:
        stricter = ("'\\t' that cannot start", "but found '#'", "but found '\\t'")
        return None if any(text in str(error) for text in stricter) else "refused"
    root = mapping(documents[0]) if len(documents) == 1 else None
    words = mapping(root.get("words")) if root and set(root) == {"below", "words"} else None
    word = mapping(words.get("w")) if words and len(words) == 1 else None
    if not word or not set(word) <= set(ROOM) or root["below"].value != "x":
        return None
    strings = {}
    for key, value in word.items():
        if not isinstance(value, yaml.ScalarNode) or value.tag != "tag:yaml.org,2002:str":
            return None
        strings[key] = value.value
        if "\0" in value.value or (key == "command" and value.value == ""):
            return None
        if len(value.value.encode("utf-8", "surrogatepass")) > ROOM[key]:
            return None
    return strings


def run(*command):
    return subprocess.run(command, capture_output=True, check=False)


def first_errors(errors, names):
    """Returns the files with errors, with the first error of each."""
    first = {}
    for line in errors.decode(errors="replace").splitlines():
        name = line.removeprefix("ocmd_compile: ").partition(":")[0]
        if line.startswith("ocmd_compile: ") and name in names and ": error: " in line:
            first.setdefault(name, line)
    return first


def compiled(programs, files):
    """Returns what the compiler reads: strings of each file, or its first message."""
    checks = ["-W", "no-duplicate-name"]
    command = [os.path.join(programs, "ocmd_compile"), *checks, "-o", "all.par"]
    first = run(*command, *files)
    results = first_errors(first.stderr, set(files))
    assert (first.returncode == 1) == bool(results), first
    good = [name for name in files if name not in results]
    assert run(*command, *good).returncode == 0
    shown = json.loads(run(os.path.join(programs, "ocmd_show"), "--json", "all.par").stdout)
    keys = {"func_id": "command"}
    for name, record in zip(good, shown["records"], strict=True):
        node = record["nodes"][0]
        results[name] = {key: node[{v: k for k, v in keys.items()}.get(key, key)] for key in ROOM}
    return results


def main():
    programs = os.path.abspath(sys.argv[1])
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 600
    rng = random.Random(int(sys.argv[3]) if len(sys.argv) > 3 else 1)
    seen = {"refused": 0, "same": 0, "other": 0}
    failures = 0
    with tempfile.TemporaryDirectory() as scratch:
        os.chdir(scratch)
        for start in range(0, count, 200):
            grammars = {f"g{i}.yaml": grammar(rng) for i in range(start, min(start + 200, count))}
            for name, data in grammars.items():
                with open(name, "wb") as file:
                    file.write(data)
            results = compiled(programs, list(grammars))
            for name, data in grammars.items():
                expected, result = meaning(data), results[name]
                os.remove(name)
                if expected is None or "tab used for indentation" in result:
                    seen["other"] += 1
                elif expected == "refused" and isinstance(result, str):
                    seen["refused"] += 1
                elif expected != "refused" and result == {key: expected.get(key, "") for key in ROOM}:
                    seen["same"] += 1
                else:
                    failures += 1
                    print("FAILED:", data, "by Python:", expected, "compiled:", result, sep="\n  ")
    print(seen)
    return failures > 0 or min(seen["refused"], seen["same"]) < count / 10


sys.exit(main())
