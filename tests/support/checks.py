"""Schemas of this project, and checks after which a test goes on."""
import json

import jsonschema

failures = []


def load_schema(source, name):
    with open(f"{source}/share/ocmd/{name}.schema.json", encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft201909Validator.check_schema(schema)
    return schema


def expect(what, ok, detail=""):
    if not ok:
        failures.append(what)
        print("FAILED:", what, detail, sep="\n")
