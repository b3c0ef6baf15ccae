#!/usr/bin/env python3
"""mutate.py [COUNT [SEED]]: counts the small faults in the embedded library's sources that its tests do not find.

Changes one operator, constant or statement of sagx/*.cpp and dipx_dll_main.cpp at a time (COUNT of them, 100 by default,
chosen at random from SEED), then builds and runs dipx_test on a copy of the tree in build/mutation. A change that does not
compile, or compiles to the same code, is replaced by another one. Each fault that the tests miss is listed, and the last
line is their share. Kernels are left out: their fast forms are compared with plain ones, and a fault in a plain form
would be a fault of the test.
"""
import hashlib
import pathlib
import random
import re
import shutil
import subprocess
import sys

root = pathlib.Path(__file__).resolve().parent.parent
copy = root / "build/mutation/source"
build = root / "build/mutation/build"

REPLACEMENTS = [
    (r" <= ", [" < "]), (r" < ", [" <= ", " > "]), (r" >= ", [" > "]), (r" > ", [" >= ", " < "]),
    (r" == ", [" != "]), (r" != ", [" == "]), (r" && ", [" || "]), (r" \|\| ", [" && "]),
    (r" \+ ", [" - "]), (r" - ", [" + "]), (r" \* ", [" / "]), (r" / ", [" * "]),
    (r"\+\+", ["--"]), (r" \+= ", [" -= "]), (r" -= ", [" += "]),
    (r"\btrue\b", ["false"]), (r"\bfalse\b", ["true"]),
    (r"(?<![\w.\"])\d+(?![\w.\"])", ["+1"]), (r"(?<![\w.])\d+\.\d+(?=F?\b)", ["*1.5"]),
]
STATEMENT = re.compile(r"^\s+[\w.\[\]:>*-]+(\(.*\)| [-+*/]?= .*);$")


def is_code(line):
    text = line.strip()
    return text and not text.startswith(("//", "/*", "*", "#", "static_assert", "using", "template", "namespace", "case"))


def mutations():
    found = []
    for path in sorted(root.glob("sagx/*.cpp")) + [root / "dipx_dll_main.cpp"]:
        for number, line in enumerate(path.read_text().splitlines()):
            if not is_code(line):
                continue
            code = line.split("//")[0]
            for pattern, replacements in REPLACEMENTS:
                for match in re.finditer(pattern, code):
                    if code[: match.start()].count('"') % 2 == 1:  # in a text
                        continue
                    for replacement in replacements:
                        if replacement == "+1":
                            replacement = str(int(match.group()) + 1)
                        elif replacement == "*1.5":
                            replacement = str(float(match.group()) * 1.5 + 0.5)
                        found.append((path.relative_to(root), number,
                                      line[: match.start()] + replacement + line[match.end():]))
            if STATEMENT.match(code):
                found.append((path.relative_to(root), number, line[: len(line) - len(line.lstrip())] + ";"))
    return found


def run(*command, seconds=600):
    try:
        return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=seconds, check=False,
                              cwd=build).returncode
    except subprocess.TimeoutExpired:
        return -1


def passes():
    """Returns whether the tests pass. A fault that makes them hang counts as found."""
    return run(build / "tests/core/dipx_test", "--gtest_brief=1", "--gtest_fail_fast", "--gtest_filter=-AMillion*",
               seconds=120) == 0


def main():
    count = int(sys.argv[1]) if len(sys.argv) > 1 else 100
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    shutil.rmtree(copy, ignore_errors=True)
    build.mkdir(parents=True, exist_ok=True)
    files = subprocess.run(["git", "ls-files"], cwd=root, capture_output=True, text=True, check=True).stdout.split("\n")
    for name in filter(None, files):
        (copy / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(root / name, copy / name)
    launcher = ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"] if shutil.which("ccache") else []
    subprocess.run(["cmake", "-S", copy, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DDIPX_WARNINGS_AS_ERRORS=ON",
                    "-DDIPX_BUILD_BENCHMARKS=OFF", *launcher], check=True, stdout=subprocess.DEVNULL)
    if run("ninja", "dipx_test", seconds=3600) != 0 or not passes():
        sys.exit("mutate.py: the tests do not pass without a fault")
    program = build / "tests/core/dipx_test"
    whole = hashlib.sha256(program.read_bytes()).digest()

    candidates = mutations()
    random.Random(seed).shuffle(candidates)
    tried = 0
    survivors = []
    for path, number, line in candidates:
        if tried == count:
            break
        lines = (root / path).read_text().splitlines()
        before = lines[number]
        lines[number] = line
        (copy / path).write_text("\n".join(lines) + "\n")
        same = run("ninja", "dipx_test") != 0 or hashlib.sha256(program.read_bytes()).digest() == whole
        if not same:
            tried += 1
            if passes():
                survivors.append(path)
                print(f"survived: {path}:{number + 1}\n  {before.strip()}\n  {line.strip()}", flush=True)
        shutil.copy(root / path, copy / path)
        if tried % 10 == 0 and not same:
            print(f"{tried} tried, {len(survivors)} survived", flush=True)
    if tried == 0:
        sys.exit("mutate.py: no fault could be tried")
    print(f"of {len(candidates)} possible faults {tried} were tried; {len(survivors)} survived: "
          f"{100 * len(survivors) / tried:.1f} %")


main()
