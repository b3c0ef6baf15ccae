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


def printed(dipx, record, *options):
    command = [dipx, "analyse", "--json", "-", *options]
    return subprocess.run(command, input=record, stdout=subprocess.PIPE, check=True).stdout


def synth(dipx, *options):
    return subprocess.run([dipx, "synth", *options], stdout=subprocess.PIPE, check=True).stdout


def main(dipx, schema_file):
    schema = json.load(open(schema_file, encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    optional = {"unit_assumed", "percent_of_declared"}
    met = set()
    closed = jsonschema.Draft202012Validator(strict(schema))
    records = {
        "no dip": ["--depth", "0"],
        "two steps": ["--duration", "0.2,0.3", "--depth", "40,70"],
        "interruption": ["--depth", "100"],
        "too shallow": ["--depth", "12", "--duration", "0.04"],
        "not recovered": ["--duration", "1", "--length", "1"],
        "long": ["--duration", "12", "--rate", "1600"],
        "resampled": ["--rate", "5120"],
        "sixty hertz": ["--frequency", "60", "--phases", "B-C", "--depth", "40", "--format", "cff"],
    }
    documents = {name: printed(dipx, synth(dipx, *options)) for name, options in records.items()}
    plain = synth(dipx)
    documents["declared voltage"] = printed(dipx, plain, "--nominal", "230")
    documents["line to line"] = printed(dipx, plain.replace(b"Ua_V,Ub_V,Uc_V", b"Uab_V,Ubc_V,Uca_V"), "--line-to-line")
    documents["assumed unit"] = printed(dipx, synth(dipx, "--format", "cff").replace(b",,V,", b",,A,"), "--channels", "1,2,3")
    for name, text in documents.items():
        document = json.loads(text)
        errors = [f"{'/'.join(map(str, e.absolute_path))}: {e.message}" for e in closed.iter_errors(document)]
        assert not errors, f"{name}: {errors}"
        for path in members(document):
            required = not closed.is_valid(without(document, path))
            assert required != (path[-1] in optional), f"{name}: {path} is {'' if required else 'not '}required"
            met.add(path[-1])
    assert optional <= met, f"never printed: {optional - met}"
    print(f"{len(documents)} documents fit the schema, which requires each of their members")


main(*sys.argv[1:])
