#!/usr/bin/env python3
"""includes.py [folders]: who includes whom, as a diagram: the sources of the library, or the folders of the repository.
Fails when includes run in a circle, when a kernel includes a stage, and when a header that all may use includes anything
that they may not."""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# What all may use, kernels too, and no arrow is drawn to: records, and small headers without a stage behind them.
SHARED = {"dq_dipx", "dipx_dll", "three_phases", "gbk_text", "boundary_list", "mms_time", "dipx_outcome", "report_lines", "lanes",
          "sorted_median", "wrapping"}
FOLDERS = ["command", "outputs", "analysis", "files", "synth", "readers", "sagx"]


def included(path):
    return re.findall(r'#include "([^"]+)"', path.read_text())


def node_of(stem):
    """The kernels, their table and the choice between them are one."""
    return "kernels" if stem == "kernels" or stem.startswith("kernel_") else stem


def of_the_library():
    arrows = {}
    for path in [ROOT / "dipx_dll_main.cpp", *sorted((ROOT / "sagx").rglob("*.cpp")), *sorted((ROOT / "sagx").rglob("*.h"))]:
        targets = {Path(name).stem for name in included(path)} - SHARED
        if path.stem in SHARED:
            if targets:
                sys.exit(f"{path.name}, which all may use, includes " + ", ".join(sorted(targets)))
            continue
        node = node_of(path.stem)
        arrows.setdefault(node, set()).update({node_of(target) for target in targets} - {node})
    if arrows["kernels"]:
        sys.exit("kernels include stages: " + ", ".join(sorted(arrows["kernels"])))
    return arrows


def of_the_folders():
    arrows = {}
    for folder in FOLDERS:
        for path in (ROOT / folder).rglob("*.*"):
            if path.suffix in (".cpp", ".h") and "node_modules" not in path.parts:
                arrows.setdefault(folder, set()).update(name.split("/")[0] for name in included(path) if "/" in name)
        arrows[folder] &= set(FOLDERS) - {folder}
    return arrows


def check_one_way(arrows):
    state = {}

    def visit(node, path):
        if state.get(node) == "open":
            sys.exit("includes run in a circle: " + " -> ".join(path + [node]))
        if node in state:
            return
        state[node] = "open"
        for target in arrows.get(node, ()):
            visit(target, path + [node])
        state[node] = "done"

    for node in arrows:
        visit(node, [])


def main():
    arrows = of_the_folders() if sys.argv[1:] == ["folders"] else of_the_library()
    check_one_way(arrows)
    print("flowchart TD")
    for node in arrows:
        for target in sorted(arrows[node]):
            print(f"  {node} --> {target}")


main()
