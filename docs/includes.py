#!/usr/bin/env python3
"""includes.py [check | folders]: who includes whom.

Without an argument it prints the sources of the library as a diagram, with `folders` the folders of the repository. With
`check` it counts the includes. It always fails when an include runs back: against the arrows between folders or between
the parts of a folder, in a circle among sources, out of a kernel into a stage, or past the one door to the library."""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# The sources of a folder may include those of the folders behind it, and no others.
ARROWS = {
    "command": {"outputs", "analysis", "measure", "readers", "synth", "files"},
    "outputs": {"analysis", "measure", "readers", "synth"},
    "analysis": {"measure", "readers", "files", "sagx"},
    "measure": set(),
    "synth": {"readers"},
    "readers": set(),
    "files": set(),
    "sagx": set(),
}
# The parts of a folder that know nothing of each other, and the only sources outside a part that may include it.
APART = {
    "readers/comtrade": {"readers/open_record"},
    "readers/table": {"readers/open_record"},
    "readers/voltages": set(),
}
# Only the first may include the second.
DOORS = [("analysis/embedded/", "sagx/"), ("analysis/embedded/", "dipx_dll.h"), ("command/", "CLI/")]
# What all sources of the library may use, kernels too, and no arrow is drawn to: records, and small headers without a
# stage behind them.
SHARED = {"dq_dipx", "dipx_dll", "three_phases", "gbk_text", "boundary_list", "mms_time", "dipx_outcome", "report_lines",
          "lanes", "sorted_median", "wrapping"}


def sources():
    for folder in ARROWS:
        for path in sorted((ROOT / folder).rglob("*.*")):
            if path.suffix in (".cpp", ".h") and "node_modules" not in path.parts:
                yield path
    yield from (ROOT / "dipx_dll.h", ROOT / "dipx_dll_main.cpp")


def module_of(name):
    """A source and its header are one module; the kernels, their table and the choice between them are one, too."""
    return "sagx/kernels" if name.startswith("sagx/kernels/") else name.removesuffix(".cpp").removesuffix(".h")


def all_includes():
    """Pairs of a source and what it includes, both as paths from the root."""
    for path in sources():
        name = path.relative_to(ROOT).as_posix()
        for included in re.findall(r'#include ["<]([^">]+)[">]', path.read_text()):
            yield name, included


def first_circle(arrows):
    state = {}

    def visit(node, path):
        if state.get(node) == "open":
            return path[path.index(node):] + [node]
        if node in state:
            return None
        state[node] = "open"
        for target in sorted(arrows.get(node, ())):
            circle = visit(target, path + [node])
            if circle:
                return circle
        state[node] = "done"
        return None

    for node in sorted(arrows):
        circle = visit(node, [])
        if circle:
            return circle
    return None


def complaints_about(includes):
    modules = {module_of(name) for name, _ in includes}
    arrows = {}
    for name, included in includes:
        folder, target = name.split("/")[0], included.split("/")[0]
        if folder in ARROWS and target in ARROWS and target != folder and target not in ARROWS[folder]:
            yield f"{name} includes {included}: {folder} may not know {target}"
        for part, users in APART.items():
            inside = name.startswith(part + "/")
            if not inside and name.startswith("readers/") and included.startswith(part + "/") and module_of(name) not in users:
                yield f"{name} includes {included}, which is apart"
        for room, thing in DOORS:
            if included.startswith(thing) and not name.startswith((room, "sagx/", "dipx_dll")):
                yield f"{name} includes {included}: only {room} may"
        if name.startswith("sagx/kernels/") and included.startswith("sagx/") and not included.startswith("sagx/kernels/"):
            if Path(included).stem not in SHARED:
                yield f"{name} includes {included}: a kernel knows no stage"
        if Path(name).stem in SHARED and included.startswith("sagx/") and Path(included).stem not in SHARED:
            yield f"{name}, which all may use, includes {included}"
        if module_of(included) in modules and module_of(included) != module_of(name):
            arrows.setdefault(module_of(name), set()).add(module_of(included))
    while circle := first_circle(arrows):
        yield "includes run in a circle: " + " -> ".join(circle)
        arrows[circle[-2]].remove(circle[-1])


def stem_of(module):
    return Path(module).stem


def of_the_library(includes):
    arrows = {}
    for name, included in includes:
        module, target = module_of(name), module_of(included)
        if not (module.startswith("sagx/") or module == "dipx_dll_main") or Path(name).stem in SHARED:
            continue
        node = arrows.setdefault(stem_of(module), set())
        if (target.startswith("sagx/") or target == "dipx_dll") and Path(included).stem not in SHARED:
            node |= {stem_of(target)} - {stem_of(module)}
    # The host's side first, then the stages by their names.
    return {node: arrows[node] for node in sorted(arrows, key=lambda node: (node != "dipx_dll_main", node))}


def of_the_folders(includes):
    arrows = {folder: set() for folder in ARROWS}
    for name, included in includes:
        folder, target = name.split("/")[0], included.split("/")[0]
        if folder in arrows and target in arrows and "/" in included:
            arrows[folder] |= {target} - {folder}
    return arrows


def main():
    includes = list(all_includes())
    complaints = sorted(set(complaints_about(includes)))
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    if sys.argv[1:] == ["check"]:
        print(f"{len(includes)} includes in {len({module_of(name) for name, _ in includes})} modules, "
              f"{len(complaints)} run back")
    else:
        arrows = of_the_folders(includes) if sys.argv[1:] == ["folders"] else of_the_library(includes)
        print("flowchart TD")
        for node in arrows:
            for target in sorted(arrows[node]):
                print(f"  {node} --> {target}")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
