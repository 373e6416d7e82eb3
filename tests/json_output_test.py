#!/usr/bin/env python3
"""JSON output says what the plain output says: json_output_test.py SOURCE PROGRAMS

Every object of ocmd_find --json and ocmd_diff --json must match its schema and have no members that
the schema or the documentation lacks. The plain output must follow from the objects.
"""
import json
import os
import random
import re
import subprocess
import sys
import tempfile

import jsonschema
from support.checks import expect, failures, load_schema

source, programs = map(os.path.abspath, sys.argv[1:])
schema = load_schema(source, "json")


def closed(part):
    """The schema with no members beyond those that it names."""
    if isinstance(part, list):
        return [closed(element) for element in part]
    if not isinstance(part, dict):
        return part
    part = {key: closed(value) for key, value in part.items()}
    return part | ({"additionalProperties": False} if part.get("type") == "object" else {})


def run(command, **arguments):
    return subprocess.run(command, shell=True, capture_output=True, **arguments)


def objects(kind, command):
    validator = jsonschema.Draft201909Validator(closed(schema) | {"anyOf": [{"$ref": "#/$defs/" + kind}]})
    found = []
    for line in run(command).stdout.decode().splitlines():
        found.append(json.loads(line))
        errors = [error.message[:300] for error in validator.iter_errors(found[-1])]
        expect(f"{command}: {line}", not errors, errors)
    return found


def text(value):
    return value.encode() if isinstance(value, str) else bytes.fromhex(value["hex"])


def quoted(value):
    """A string field in the plain output."""
    controls, byte = (rb"[\x00-\x1f\x7f]", rb"[\x00-\x1f\x7f-\xff]")
    escaped = re.sub(rb'["\\]', rb"\\\g<0>", text(value))
    return b'"' + re.sub(controls if isinstance(value, str) else byte, lambda m: b"\\x%02x" % m[0][0], escaped) + b'"'


sections = re.split(r"\n## ", open(source + "/doc/json.md").read())
for program, kinds in (("ocmd_find", ["answer", "reading", "message"]), ("ocmd_diff", ["difference", "group", "totals"])):
    section, = [s for s in sections if s.startswith(program)]
    described = set(re.findall(r"\w+", " ".join(re.findall(r"^\| ([a-z_, ]+) \|", section, re.M))))
    known = set().union(*(schema["$defs"][kind]["properties"] for kind in kinds))
    expect("members of " + program, described == known, described ^ known)

os.environ["PATH"] = programs + ":" + os.environ["PATH"]
os.chdir(tempfile.mkdtemp())
GRAMMAR = r"""words:
  lamp: {words: {<INTEGER>: {min: 1, max: 12, submode: {help: "a \"lamp\"", mode: lamp}, words: {
    bright: {words: {<INTEGER>: {max: 100, command: lamp_bright}}}, LABEL}}}}
  show: {words: {lamps: {help: !bytes 'Gr\xfc\xdfe \x1b', command: show_lamps},
                 lanes: show_lanes, ODD: show_odd}}
"""
for name, label, odd in (("old", "label: {words: {<LINE>: lamp_label}}", r"!bytes '\xfc\\'"),
                         ("new", "dark: lamp_dark", r"!bytes '\xc3\xbc\xc2\x85'")):
    with open(name + ".yaml", "w") as file:
        file.write(GRAMMAR.replace("LABEL", label).replace("ODD", odd).replace("100", str(len(label))))
    expect("compile " + name, not run(f"ocmd_compile --main {name}.yaml").returncode)
for grammar in ("before", "after"):
    expect("compile", not run(f"ocmd_compile --main -Wno-same-word -Wno-dead-end -Wno-bounds -o {grammar}.par "
                              f"'{source}/tests/grammars/fields_{grammar}.yaml'").returncode)

marks = {"removed": b"- ", "added": b"+ ", "changed": b"~ "}
listed = 0
for options in ("old.par new.par", "new.par old.par", "--fields old.par new.par", "--fields before.par after.par"):
    lines = b""
    for found in objects("difference", "ocmd_diff --json " + options):
        lines += marks[found["difference"]] + text(found["line"])
        if found["difference"] == "changed":
            spell = quoted if re.search("(help|text|label|mode|function|name)$", found.get("field", "")) else text
            values = [b" | ".join(map(spell, found.get(side, []))) or b"none" for side in ("before", "after")]
            if "field" in found:
                named = [text(found[key]) for key in ("word", "field") if key in found]
                expect("text of " + str(found), text(found["text"]) == b" ".join(named + [b" -> ".join(values)]))
            lines += (b": " if found["is_line"] else b" ...: ") + text(found["text"])
        lines += b"\n"
        listed += 1
    expect("ocmd_diff " + options, lines == run("ocmd_diff " + options).stdout, lines)
    totals, = objects("totals", "ocmd_diff --json --stat " + options)
    expect("totals " + options, run("ocmd_diff --stat " + options).stdout.decode().split() ==
           ["-", totals["removed"], "+", totals["added"], "~", totals["changed"]])
expect("differences", listed > 30, listed)

# Keywords can be restored, whatever their bytes.
KEYWORDS = [br"a\x1b", b"a\x1b", br"b\x5cx1b", b"b\\", br"c\x4", br"c\X1b", b"d\xff\x9b", "é\x85".encode(), br"e\\x7f"]
with open("bytes.yaml", "w") as file:
    file.write("words:\n" + "".join(f"""  !bytes '{"".join(f"{chr(92)}x{byte:02x}" for byte in word)}': f\n"""
                                    for word in KEYWORDS))
expect("compile", not run("ocmd_compile --main bytes.yaml; echo 'words: {z: f}' >z.yaml; ocmd_compile --main z.yaml").returncode)
for found in ([candidate["word"] for candidate in objects("answer", "ocmd_find --json bytes.par zz")[0]["candidates"]],
              [found["line"] for found in objects("difference", "ocmd_diff --json bytes.par z.par")][:-1]):
    restored = [re.sub(rb"\\x([0-9a-f]{2})", lambda m: bytes.fromhex(m[1].decode()), text(word)) for word in found]
    expect("keywords", sorted(restored) == sorted(KEYWORDS), restored)
listed = run("ocmd_show --commands bytes.par >listed; ocmd_compile --lines listed >listed.yaml; "
             "ocmd_compile --main listed.yaml; ocmd_show --commands listed.par | cmp - listed")
expect("list of lines", not listed.returncode, listed)

# Random trees: the groups cover every line of the plain output once, and nothing else.
choose = random.Random(1)


def some_words(depth):
    count = choose.choice([1, 2, 3]) if depth else 0
    return {choose.choice("abcdef"): {"words": some_words(depth - 1)} |
            ({"command": "f"} if choose.random() < 0.6 else {}) for _ in range(count)}


def edited(words):
    return {choose.choice("abcdef") if choose.random() < 0.1 else word: {**value, "words": edited(value["words"])}
            for word, value in choose.sample(sorted(words.items()), len(words)) if choose.random() < 0.95}


def lines_of(place, words, count, lines):
    """The listed lines of a group at a place: one, or all that begin with its words."""
    begin = (place + " " + words).strip()
    return {begin} if int(count) == 1 and begin in lines else {
        line for line in lines if (line + " ").startswith(begin + " ")}


grouped = 0
for _ in range(60):
    shared = some_words(3)
    for name, words in (("one", shared), ("two", edited(shared))):
        with open(name + ".yaml", "w") as file:
            json.dump({"words": {"top": {"words": words}, "other": {"words": words}}}, file)
        expect("compile", not run(f"ocmd_compile --main -Wno-dead-end {name}.yaml").returncode)
    plain = run("ocmd_diff one.par two.par").stdout.decode().splitlines()
    removed, added = ({line[2:] for line in plain if line[0] == mark} for mark in "-+")
    seen_removed, seen_added = [], []
    for group in objects("group", "ocmd_diff --json --group one.par two.par"):
        kind = group["difference"]
        expect("places", int(group["place_count"]) == len(set(group["places"])), group)
        for place in group["places"] if kind != "added" else []:
            seen_removed += lines_of(place, group["words"], group["lines"], removed)
        new_places = group["places"] if kind in ("added", "renamed") else group.get("new_places", [])
        for place in new_places:
            seen_added += lines_of(place, group.get("new_words", group["words"]), group["lines"], added)
        grouped += kind in ("renamed", "moved")
    expect("grouped lines", sorted(seen_removed) == sorted(removed) and sorted(seen_added) == sorted(added),
           [plain, run("ocmd_diff --group one.par two.par").stdout.decode()])
expect("renamed and moved words", grouped > 10, grouped)

with open("saved", "wb") as file:
    file.write(b"lamp 3\n  bright 101\n  \xfc\n    x\nlamp 13\nshow\n")
messages = b"".join(b"%s:%d:%d: %s%s\n" % (
    text(m["file"]), m["line"], m["column"], text(m["message"]),
    b"; %d line below it not checked" % m["skipped"] if m["skipped"] else b"")
    for m in objects("message", "ocmd_find --json --config=saved new.par"))
expect("messages", messages == run("ocmd_find --config=saved new.par").stdout, messages)

for line in ("show lamps", "lamp 3", "lam 3 / br 7", "show", "show l", "show bays", "lamp 13", "lamp 3 bright",
             "show lanes 2", "lamp 3 / ", r"show $'\xfc'"):
    answer, = objects("answer", f"bash -c \"ocmd_find --json -- new.par {line}\"")
    plain = run(f"bash -c \"ocmd_find -- new.par {line}\"")
    fields = dict(re.findall(rb"^([a-z]+): +(.*)", plain.stdout, re.M))
    expect("status of " + line, (plain.returncode == 0) == (answer["verdict"] == "accepted"))
    for reading in answer["readings"][-1:] if answer["verdict"] != "ambiguous" else []:
        for key in ("command", "line", "function", "mode"):
            expect(f"{key} of {line}", text(reading[key]) == fields.get(key.encode(), b""), reading)
        expect("submode of " + line, reading["submode"] == (b"submode" in fields) ==
               (text(reading["command"]) == b"lamp <INTEGER>"), reading)
    for list_name, before in (("follows", b"follows:"), ("commands", b"commands of the submode:")):
        words = re.search(before + rb"\n((  .*\n)*)", plain.stdout)
        here = answer.get(list_name, answer["candidates"] if list_name == "follows" and plain.stderr else [])
        if words:
            expect(f"{list_name} of {line}", [w.split()[0] for w in words[1].splitlines()] ==
                   [text(candidate["word"]) for candidate in here], here)
    if "message" in answer:
        expect("message of " + line, text(answer["message"]) in plain.stderr, answer)
        caret = re.search(rb"\n  ( *)\^+\n", plain.stderr)
        expect("place of " + line, not caret or len(caret[1]) == answer["begin"], answer)
sys.exit(bool(failures))
