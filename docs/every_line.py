#!/usr/bin/env python3
"""every_line.py PAGE SOURCE...: checks that PAGE shows, as `code`, every line that the library's sources print or write,
with example values in place of the conversions, and that every line in the first column of its tables is one of them."""
import re
import sys
from pathlib import Path

CALL = re.compile(r"std::(printf|fprintf|puts|fputs)\(")
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
CONVERSION = re.compile(r"%(?:0?\.?\d*)(zu|[dufpcs%])|%(\d+)d")
VALUES = {"d": r"-?\d+", "u": r"\d+", "zu": r"\d+", "f": r"-?\d+\.\d+", "p": r"0x[0-9a-f]+|\(nil\)", "c": r"[ABC]", "s": r".+"}


def arguments_after(text, begin):
    """Returns the arguments of the call whose bracket opened just before `begin`."""
    arguments, depth, last, i = [], 0, begin, begin
    while True:
        literal = LITERAL.match(text, i)
        if literal:
            i = literal.end()
            continue
        if depth == 0 and text[i] in ",)":
            arguments.append(text[last:i].strip())
            last = i + 1
            if text[i] == ")":
                return arguments
        depth += {"(": 1, "{": 1, ")": -1, "}": -1}.get(text[i], 0)
        i += 1


def text_of(argument):
    """Returns the text of adjacent literals, also within gbk<>, or None if the argument is not a literal."""
    if not re.match(r'(?:sagx::)?(?:gbk<)?"', argument):
        return None
    text = "".join(LITERAL.findall(argument))
    return re.sub(r"\\([rn])", "", text).replace('\\"', '"')


def pattern_of(call, arguments):
    if call in ("puts", "fputs"):
        text = text_of(arguments[0])
        return None if text is None else re.escape(text)
    values = arguments[1:] if call == "fprintf" else arguments
    text, values = text_of(values[0]), values[1:]
    if text is None:
        return None
    pattern, last, number = "", 0, 0
    for conversion in CONVERSION.finditer(text):
        pattern += re.escape(text[last:conversion.start()])
        last = conversion.end()
        fixed = text_of(values[number])
        pattern += "(?:%s)" % (VALUES[conversion[1] or "d"] if fixed is None else re.escape(fixed))
        number += 1
    return pattern + re.escape(text[last:])


def main():
    page, *sources = sys.argv[1:]
    text = Path(page).read_text().replace(r"\|", "|")
    shown = set(re.findall(r"`([^`\n]+)`", text))
    for block in re.findall(r"^```\w*\n(.*?)^```", text, flags=re.S | re.M):
        shown |= set(block.split("\n"))
    shown = {line.strip() for line in shown}
    tabled = re.findall(r"^\| `([^`]+)`", text, flags=re.M)
    patterns, missing = [], []
    for source in sources:
        code = re.sub(r"^\s*//.*$", "", Path(source).read_text(), flags=re.M)
        for call in CALL.finditer(code):
            pattern = pattern_of(call[1], arguments_after(code, call.end()))
            place = f"{source}:{code.count(chr(10), 0, call.start()) + 1}"
            if pattern is None:
                missing.append(f"{place}: cannot tell what is printed")
                continue
            patterns.append(re.compile(pattern.strip().removeprefix(re.escape("    "))))
            if not any(patterns[-1].fullmatch(line) for line in shown):
                missing.append(f"{place}: no line of the page is like {patterns[-1].pattern}")
    stray = [line for line in tabled if not any(p.fullmatch(line.strip()) for p in patterns)]
    for complaint in missing + [f"{page}: nothing prints {line}" for line in stray]:
        print(complaint)
    print(f"{len(patterns)} printing calls, {len(tabled)} lines in tables")
    return 1 if missing or stray or len(patterns) < 40 else 0


sys.exit(main())
