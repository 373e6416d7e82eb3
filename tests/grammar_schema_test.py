#!/usr/bin/env python3
"""The schema and the compiler agree: grammar_schema_test.py SOURCE OCMD_COMPILE

They know the same keys, accept the example grammars and the first example of the format's
description, and both refuse the same mistakes.
"""
import glob
import json
import re
import subprocess
import sys

import jsonschema
import yaml

source, compiler = sys.argv[1:]


class CoreLoader(yaml.SafeLoader):
    """YAML 1.2 as editors read it: keys as written, `no` and `on` are texts."""

    yaml_implicit_resolvers = {}


def mapping(loader, node):
    return {key.value: loader.construct_object(value, deep=True) for key, value in node.value}


CoreLoader.add_constructor("tag:yaml.org,2002:map", mapping)
CoreLoader.add_constructor("!bytes", lambda loader, node: node.value)
for kind, form, firsts in (("null", "^(~|null|)$", ["~", "n", ""]), ("bool", "^(true|false)$", "tf"),
                           ("int", "^([-+]?[0-9]+|0x[0-9a-fA-F]+)$", "-+0123456789")):
    CoreLoader.add_implicit_resolver("tag:yaml.org,2002:" + kind, re.compile(form), list(firsts))

schema = json.load(open(source + "/share/ocmd/grammar.schema.json"))
jsonschema.Draft201909Validator.check_schema(schema)
validator = jsonschema.Draft201909Validator(schema)
failures = 0


def expect(what, ok, detail=""):
    global failures
    if not ok:
        failures += 1
        print("FAILED:", what, detail, sep="\n")


def schema_faults(text):
    documents = yaml.load_all(text, CoreLoader)
    return [e.message[:200] for d in documents for e in validator.iter_errors(d)]


def compiler_faults(text):
    run = subprocess.run([compiler, "-o", "/dev/null", "-"], input=text.encode(), capture_output=True)
    return run.returncode and (run.stderr.decode() or "it crashed")


listed = subprocess.run([compiler, "--list-keys"], capture_output=True, text=True).stdout
places = {"document": "document", "word": "keys_of_words", "parameter": "parameter", "submode": "submode"}
for place, definition in places.items():
    known = sorted(line.split("\t")[1] for line in listed.splitlines() if line.split("\t")[0] == place)
    expect(f"keys of a {place}", sorted(schema["$defs"][definition]["properties"]) == known, known)

good = {path: open(path).read() for path in glob.glob(source + "/examples/**/*.yaml", recursive=True)}
good["doc/grammar.md"] = re.search(r"```yaml\n(.*?)```", open(source + "/doc/grammar.md").read(), re.S)[1]
for name, text in good.items():
    expect(name, not schema_faults(text), schema_faults(text))
    expect(name, not compiler_faults(text), compiler_faults(text))

for text in ("words: {a: {hlep: x, command: f}}",
             "words: {a: {help: " + 64 * "x" + ", command: f}}",
             "words: {a: {command: f, optional: maybe}}",
             "words: {a: {command: f, permissions: [128]}}",
             "words: {a: {command: f, message_type: 65536}}",
             "words: {a: {submode: {mode: m, name: n}}}",
             "words: {<INTEGER>: {min: 1, length: 2, command: f}}",
             "words: {a<INTEGER>b: f}",
             "words: [{a: f, b: f}]",
             "below: x\nwords: {a: f, b: f}",
             "below: x\nwords: [{a: f, b: f}]",
             "below: x\nredirect_root: no\nwords: {a: f}",
             "words: {a: ''}",
             "words: {a: {command: f, permissions: 340282366920938463463374607431768211456}}",
             "below: x\nhelp: y\nwords: {a: f}",
             "version: -1\nwords: {a: f}",
             "- a"):
    expect("mistake seen by the schema: " + text, schema_faults(text))
    expect("mistake seen by the compiler: " + text, compiler_faults(text))
sys.exit(failures > 0)
