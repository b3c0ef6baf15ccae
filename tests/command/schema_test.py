#!/usr/bin/python3
"""schema_test.py DIPX SCHEMA RECORD...: holds what `dipx analyse --json` prints against its schema, which must name every
member of the document and must refuse one that lacks any of them."""

import copy
import json
import subprocess
import sys

import jsonschema


def strict(schema):
    """The schema with no members allowed but those it names."""
    if isinstance(schema, list):
        return [strict(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    closed = {key: strict(part) for key, part in schema.items()}
    if schema.get("type") == "object":
        closed["additionalProperties"] = False
    return closed


def members(document, path=()):
    """The paths of all members of all objects."""
    if isinstance(document, dict):
        for key, value in document.items():
            yield path + (key,)
            yield from members(value, path + (key,))
    if isinstance(document, list):
        for index, value in enumerate(document):
            yield from members(value, path + (index,))


def without(document, path):
    lacking = copy.deepcopy(document)
    place = lacking
    for step in path[:-1]:
        place = place[step]
    del place[path[-1]]
    return lacking


def printed(dipx, record):
    return subprocess.run([dipx, "analyse", "--json", "-"], input=record, stdout=subprocess.PIPE, check=True).stdout


def synth(dipx, *options):
    return subprocess.run([dipx, "synth", *options], stdout=subprocess.PIPE, check=True).stdout


def main(dipx, schema_file):
    schema = json.load(open(schema_file, encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    closed = jsonschema.Draft202012Validator(strict(schema))
    records = {
        "no dip": ["--depth", "0"],
        "two steps": ["--duration", "0.2,0.3", "--depth", "40,70"],
        "interruption": ["--depth", "100"],
        "too shallow": ["--depth", "12", "--duration", "0.04"],
        "not recovered": ["--duration", "1", "--length", "1"],
        "long": ["--duration", "12", "--rate", "1600"],
        "sixty hertz": ["--frequency", "60", "--phases", "B-C", "--depth", "40", "--format", "cff"],
    }
    for name, options in records.items():
        document = json.loads(printed(dipx, synth(dipx, *options)))
        errors = [f"{'/'.join(map(str, e.absolute_path))}: {e.message}" for e in closed.iter_errors(document)]
        assert not errors, f"{name}: {errors}"
        for path in members(document):
            assert not closed.is_valid(without(document, path)), f"{name}: the schema does not require {path}"
    print(f"{len(records)} documents fit the schema, which requires each of their members")


main(*sys.argv[1:])
