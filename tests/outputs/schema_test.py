#!/usr/bin/python3
"""schema_test.py DIPX SCHEMA: compares what `dipx analyse --json` prints with the schema of the document. The schema
must name every member that is printed, must refuse a document that lacks one of them, and must name no member that none
of the documents here has."""

import copy
import json
import subprocess
import sys

import jsonschema

OPTIONAL = {"unit_assumed", "percent_of_declared"}


def strict(schema):
    """The schema without permission for members that it does not name."""
    if isinstance(schema, list):
        return [strict(part) for part in schema]
    if not isinstance(schema, dict):
        return schema
    closed = {key: strict(part) for key, part in schema.items()}
    if "properties" in schema:
        closed["additionalProperties"] = False
    return closed


def named(schema):
    """The names of all members that the schema describes."""
    if isinstance(schema, list):
        for part in schema:
            yield from named(part)
    if isinstance(schema, dict):
        properties = schema.get("properties", {})
        yield from properties
        for key, part in schema.items():
            yield from named(list(properties.values()) if key == "properties" else part)


def members(document, path=()):
    """The paths of all members of all objects."""
    if isinstance(document, dict):
        for key, value in document.items():
            yield path + (key,)
            yield from members(value, path + (key,))
    if isinstance(document, list):
        for index, value in enumerate(document):
            yield from members(value, path + (index,))


def parent_of(document, path):
    for step in path[:-1]:
        document = document[step]
    return document


def place_of(document, path):
    """Describes the object that a member belongs to: the names that lead to it, the kind of event, and its members.
    Objects in the same place have the same schema."""
    names = tuple(step for step in path if isinstance(step, str))
    kind = document["events"][path[1]]["kind"] if path[0] == "events" and len(path) > 1 else None
    return kind, names, tuple(parent_of(document, path))


def without(document, path):
    lacking = copy.deepcopy(document)
    del parent_of(lacking, path)[path[-1]]
    return lacking


def printed(dipx, record, *options):
    command = [dipx, "analyse", "--json", "-", *options]
    return json.loads(subprocess.run(command, input=record, stdout=subprocess.PIPE, check=True).stdout)


def synth(dipx, *options):
    return subprocess.run([dipx, "synth", *options], stdout=subprocess.PIPE, check=True).stdout


def changed(table, begin_s, end_s, change):
    """A table whose voltages between two times are changed, row by row."""
    heading, *rows = table.decode().splitlines()
    lines = [heading]
    for row in rows:
        time, *volts = row.split(",")
        if begin_s < float(time) < end_s:
            volts = change(volts)
        lines.append(",".join([time, *volts]))
    return "\n".join(lines).encode() + b"\n"


def higher(volts):
    return [str(1.3 * float(value)) for value in volts]


def missing(volts):
    return [""] * len(volts)


def missing_b(volts):
    return [volts[0], "", volts[2]]


def without_c(volts):
    return [volts[0], volts[1], "0"]


def with_currents(table):
    """A table with four currents that follow the voltages; the last one is 3I0."""
    heading, *rows = table.decode().splitlines()
    lines = [heading + ",Ia_A,Ib_A,Ic_A,3I0_A"]
    for row in rows:
        time, *volts = row.split(",")
        lines.append(",".join([time, *volts, *volts, "0"]))
    return "\n".join(lines).encode() + b"\n"


def with_digital(record):
    """A .cff record with a digital channel that changes in its hundredth row."""
    lines = []
    for line in record.decode().splitlines():
        cells = line.split(",")
        if line == "3,3A,0D":
            line = "4,3A,1D"
        if cells[0] == "3" and len(cells) == 13:
            line += "\n1,breaker,,,0"
        if len(cells) == 5 and cells[0].isdigit():
            line += ",1" if int(cells[0]) >= 100 else ",0"
        lines.append(line)
    return "\n".join(lines).encode() + b"\n"


def documents_of(dipx):
    """Documents of all kinds, each with the value that shows that it is of its kind."""
    plain = synth(dipx)
    steady = synth(dipx, "--depth", "0", "--length", "1")
    line_to_line = plain.replace(b"Ua_V,Ub_V,Uc_V", b"Uab_V,Ubc_V,Uca_V")
    no_unit = synth(dipx, "--format", "cff").replace(b",,V,", b",,A,")
    two_steps = synth(dipx, "--duration", "0.2,0.3", "--depth", "40,70")
    begins_low = synth(dipx, "--start", "0", "--length", "1")

    def of(record, *options):
        return printed(dipx, record, *options)

    def kinds(document):
        return [event["kind"] for event in document["events"]]

    def course(document):
        return document["events"][0]["course"]

    yield "currents", of(with_currents(plain)), lambda d: len(d["events"][0]["currents"]) == 4
    digital = of(with_digital(synth(dipx, "--format", "cff")))
    yield "digital channel", digital, lambda d: d["digital_channels"][0]["changes"][0]["sample"] == 99
    yield "no event", of(steady), lambda d: kinds(d) == []
    yield "two steps", of(two_steps), lambda d: len(course(d)["segments"]) == 2
    yield "interruption", of(synth(dipx, "--depth", "100")), lambda d: "interruption" in kinds(d)
    yield "swell", of(changed(steady, 0.4, 0.6, higher)), lambda d: kinds(d) == ["swell"]
    slight = synth(dipx, "--depth", "5", "--duration", "3", "--start", "3", "--length", "8")
    yield "rapid voltage change", of(slight), lambda d: kinds(d)[0] == "rapid_voltage_change"
    slight = synth(dipx, "--depth", "5", "--duration", "0.3")
    yield "change without event", of(slight), lambda d: kinds(d) == [] and d["changes_without_event"]
    yield "not recovered", of(synth(dipx, "--duration", "1", "--length", "1")), lambda d: course(d)["end_s"] is None
    yield "begins in the dip", of(begins_low), lambda d: course(d)["level_before"]["source"] == "after"
    yield "begins in the declared dip", of(begins_low, "--nominal", "230"), lambda d: course(d)["start_s"] is None
    slow = synth(dipx, "--recovery", "0.4")
    yield "gradual recovery", of(slow), lambda d: any(t["gradual"] for t in course(d)["transitions"])
    three_steps = synth(dipx, "--duration", "0.2,0.2,0.2", "--depth", "40,70,55")
    gap = of(changed(three_steps, 0.505, 0.695, missing))
    yield "segment of missing samples", gap, lambda d: not all(s["measured"] for s in course(d)["segments"])
    phase_gap = of(changed(synth(dipx, "--duration", "0.3"), 0.295, 0.605, missing_b))
    yield "phase of missing samples", phase_gap, lambda d: course(d)["segments"][0]["voltage"][1] is None
    dead = of(changed(plain, -1, 9, without_c), "--channels", "1,2,3")
    yield "dead phase", dead, lambda d: course(d)["level_before"]["voltage"][2]["degrees"] is None
    sixty = synth(dipx, "--frequency", "60", "--phases", "B-C", "--depth", "40", "--format", "cff")
    yield "sixty hertz", of(sixty), lambda d: course(d)["segments"][0]["type"]["letter"] == "C"
    yield "one voltage", of(plain, "--channels", "2"), lambda d: d["voltages"][1:] == [None, None]
    yield "two voltages", of(plain, "--channels", "1,2"), lambda d: course(d)["segments"][0]["type"] is None
    yield "declared voltage", of(plain, "--nominal", "230"), lambda d: d["declared_voltage"]["level_v"] == 230
    stretch = of(plain, "--from", "0.02", "--to", "0.9")
    yield "stretch", stretch, lambda d: kinds(d) == ["dip"]
    yield "sliding reference", of(plain, "--reference", "sliding"), lambda d: kinds(d) == ["dip"]
    yield "line to line", of(line_to_line, "--line-to-line"), lambda d: d["voltages"][0]["channel"] == 1
    yield "computed line to line", of(plain, "--line-to-line"), lambda d: d["voltages"][0]["computed_from"] == [1, 2]
    unit = of(no_unit, "--channels", "1,2,3")
    yield "assumed unit", unit, lambda d: d["voltages"][0]["unit_assumed"] == "V"
    through = of(two_steps, "--through", "Dyn11")
    yield "through a transformer", through, lambda d: len(d["at_load"]["phase_voltages"]["events"][0]["segments"]) == 2
    through = of(synth(dipx, "--depth", "100"), "--through", "YNyn0,Dyn5")
    yield "interruption of a load", through, lambda d: len(d["at_load"]["line_voltages"]["events"]) == 2
    through = of(changed(steady, 0.4, 0.6, higher), "--through", "Dyn11")
    yield "swell of a load", through, lambda d: d["at_load"]["phase_voltages"]["events"][0]["kind"] == "swell"
    changing = synth(dipx, "--depth", "5", "--duration", "3", "--start", "3", "--length", "8")
    through = of(changing, "--through", "Yd1")
    yield "change at a load", through, lambda d: not d["at_load"]["line_voltages"]["events"][0]["dips"]
    yield "library", of(two_steps, "--library"), lambda d: len(d["library"]["dips"][0]["segments"]) == 2
    falls_at_once = synth(dipx, "--start", "0.01")
    yield "library refuses", of(falls_at_once, "--library"), lambda d: d["library"]["refusal"]
    unfinished = synth(dipx, "--duration", "1", "--length", "1")
    yield "unfinished dip of the library", of(unfinished, "--library"), lambda d: d["library"]["unfinished_dip"]


def main(dipx, schema_file):
    schema = json.load(open(schema_file, encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    closed = jsonschema.Draft202012Validator(strict(schema))
    met = set()
    tried = set()
    count = 0
    for name, document, is_of_its_kind in documents_of(dipx):
        count += 1
        assert is_of_its_kind(document), f"{name}: the document is not of its kind"
        errors = [f"{'/'.join(map(str, e.absolute_path))}: {e.message}" for e in closed.iter_errors(document)]
        assert not errors, f"{name}: {errors}"
        for path in members(document):
            met.add(path[-1])
            if place_of(document, path) in tried:
                continue
            tried.add(place_of(document, path))
            required = not closed.is_valid(without(document, path))
            assert required != (path[-1] in OPTIONAL), f"{name}: {path} is {'' if required else 'not '}required"
    assert not set(named(schema)) - met, f"never printed: {set(named(schema)) - met}"
    print(f"{count} documents fit the schema, which requires each of their members")


main(*sys.argv[1:])
