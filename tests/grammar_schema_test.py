#!/usr/bin/env python3
"""The schema and the compiler agree: grammar_schema_test.py SOURCE OCMD_COMPILE

They have the same keys with the same limits, accept the example grammars and the first example of
the format's description, reject the same errors, and agree about random words.
"""
import glob
import random
import re
import subprocess
import sys

import jsonschema
import yaml
from support.checks import expect, failures, load_schema

source, compiler = sys.argv[1:]


class CoreLoader(yaml.SafeLoader):
    """YAML 1.2 as editors read it: keys as written, `no` and `on` are strings."""

    yaml_implicit_resolvers = {}


def mapping(loader, node):
    return {key.value: loader.construct_object(value, deep=True) for key, value in node.value}


CoreLoader.add_constructor("tag:yaml.org,2002:map", mapping)
CoreLoader.add_constructor("!bytes", lambda loader, node: node.value)
for kind, form, firsts in (("null", "^(~|null|)$", ["~", "n", ""]), ("bool", "^(true|false)$", "tf"),
                           ("int", "^([-+]?[0-9]+|0x[0-9a-fA-F]+)$", "-+0123456789")):
    CoreLoader.add_implicit_resolver("tag:yaml.org,2002:" + kind, re.compile(form), list(firsts))

schema = load_schema(source, "grammar")
validator = jsonschema.Draft201909Validator(schema)


def schema_errors(text):
    documents = yaml.load_all(text, CoreLoader)
    return [e.message[:200] for d in documents for e in validator.iter_errors(d)]


def compiler_errors(text, options=()):
    run = subprocess.run([compiler, *options, "-o", "/dev/null", "-"], input=text.encode(), capture_output=True)
    return run.returncode and (run.stderr.decode() or "it crashed")


listed = subprocess.run([compiler, "--list-keys"], capture_output=True, text=True).stdout
places = {"document": "document", "word": "keys_of_words", "parameter": "parameter", "submode": "submode"}
for place, definition in places.items():
    known = sorted(line.split("\t")[1] for line in listed.splitlines() if line.split("\t")[0] == place)
    expect(f"keys of a {place}", sorted(schema["$defs"][definition]["properties"]) == known, known)

good = {path: open(path).read() for path in glob.glob(source + "/examples/**/*.yaml", recursive=True)}
good["doc/grammar.md"] = re.search(r"```yaml\n(.*?)```", open(source + "/doc/grammar.md").read(), re.S)[1]
for name, text in good.items():
    expect(name, not schema_errors(text), schema_errors(text))
    expect(name, not compiler_errors(text), compiler_errors(text))



def limits(definition):
    """Yields the maximum length, byte count, number or element that a definition allows."""
    while "$ref" in definition:
        *_, name = definition["$ref"].split("/")
        definition = schema["$defs"].get(name) or schema["$defs"]["parameter"]["properties"][name]
    for choice in [definition] + definition.get("anyOf", []):
        if "maxLength" in choice:
            yield "text", choice["maxLength"]
        elif "maximum" in choice:
            yield "number", choice["maximum"]
        elif "maximum" in choice.get("items", {}):
            yield "element", choice["items"]["maximum"]
        elif "{0," in choice.get("pattern", ""):
            yield "bytes", int(re.search(r"\{0,(\d+)\}", choice["pattern"])[1])
        elif "$ref" in choice:
            yield from limits(choice)


forms = {"text": lambda limit: "x" * limit, "bytes": lambda limit: "'" + "0f" * limit + "'",
         "number": str, "element": "[{}]".format}
frames = {"keys_of_words": "words: {a<UINT64>: {KEY: VALUE}}",
          "submode": "words: {a: {submode: {KEY: VALUE}}}",
          "parameter": "words: {a<UINT64>: {parameters: [{KEY: VALUE}]}}"}
checked = 0
for definition, frame in frames.items():
    for key, value in schema["$defs"][definition]["properties"].items():
        word = frame.replace("KEY", key).replace("UINT64", "STRING" if key == "length" else "UINT64")
        for kind, limit in limits(value):
            text = word.replace("VALUE", forms[kind](limit))
            expect("highest value: " + text, not schema_errors(text), schema_errors(text))
            expect("highest value: " + text, not compiler_errors(text), compiler_errors(text))
            text = word.replace("VALUE", forms[kind](limit + 1))
            expect("value too high found by the schema: " + text, schema_errors(text))
            expect("value too high found by the compiler: " + text, compiler_errors(text))
            checked += 1
expect("keys with limits", checked >= 32, checked)

for text in ("words: {a: {hlep: x, command: f}}",
             "words: {a: {command: f, optional: maybe}}",
             "words: {a: {submode: {mode: m, name: n}}}",
             "words: {a<INTEGER>b: f}",
             "words: [{a: f, b: f}]",
             "below: x\nwords: {a: f, b: f}",
             "below: x\nwords: [{a: f, b: f}]",
             "below: x\nredirect_root: no\nwords: {a: f}",
             "words: {a: {command: f, permissions: 340282366920938463463374607431768211456}}",
             "below: x\nhelp: y\nwords: {a: f}",
             "version: -1\nwords: {a: f}",
             "- a"):
    expect("error found by the schema: " + text, schema_errors(text))
    expect("error found by the compiler: " + text, compiler_errors(text))

# Excludes values that the schema cannot distinguish (an empty one and null, 010 and 10), and quoted numbers
# that are too large.
numbers = ["0", "7", "0x1f", "0X1F", "'12'", "'010'", "'+1'", "'0x'", "-3", "x"]
answers = ["yes", "'no'", "true", "false", "'true'", "'1'", "x"]
texts = ["f", "''", "true", "12", "'" + 24 * "y" + "'", "[f]"]
bounds = {"min": ["1", "'-0x1'", "'-2'", "-2"], "max": ["9", "'0x9'", "'09'"], "length": numbers}
values = bounds | dict.fromkeys(["terminal", "excluded"], answers) | dict.fromkeys(
    ["command", "function", "submode_help", "mode", "help"], texts) | {
    "submode": answers + ["{help: x}", "{mode: x}", "{}", "{hlep: x}"], "token_id": numbers,
    "optional": numbers + answers, "flags": numbers + ["[0, '0x2', 31]", "[[1]]"],
    "parameters": ["[{}]", "[{}, {min: 1}]", "[]", "[{length: 1, max: 2}]", "[x]"],
    "words": ["{}", "[]", "[{a: f}]", "[a]", "{a: ''}", "x"], "clock": ["f"]}
keys = ["a", "a", "a", "<INTEGER>", "<INTEGER>", "a<WWN>", "<WWN> <LUN>", "<>", "a<>", "'a<WWN>b'",
        32 * "k", 31 * "k"]
unchecked = [f"--warn=no-{check}" for check in ("bounds", "redirect-root", "same-word")]
choose = random.Random(1)
verdicts = []
for _ in range(300):
    below = choose.choice(["", "below: a\n", "below: '" + choose.choice([16, 17]) * "a,,b," + "'\n"])
    chosen = choose.sample(sorted(values), choose.choice([0, 1, 1, 2, 2, 3]))
    word = ", ".join(f"{key}: {choose.choice(values[key])}" for key in chosen)
    text = below + f"words: {{{choose.choice(keys)}: {{{word}}}}}\n"
    verdicts.append(bool(compiler_errors(text, unchecked)))
    expect("the same verdict on " + text, bool(schema_errors(text)) == verdicts[-1],
           schema_errors(text) or compiler_errors(text, unchecked))
expect("good and bad words", 75 <= sum(verdicts) <= 225, sum(verdicts))
sys.exit(bool(failures))
