#!/usr/bin/env python3
"""includes.py [check | folders]: shows which source includes which.

Without an argument it prints the sources of the embedded library as a diagram, with `folders` the folders of the
repository. With `check` it counts the includes. It always fails if an include runs back: against the arrows between
folders or between the parts of a folder, in a circle among sources, from a kernel to a stage, or around the places
that may include the embedded library."""
import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# The sources of a folder may include those of the listed folders, and no others.
ARROWS = {
    "command": {"archive", "outputs", "analysis", "assess", "measure", "readers", "synth", "files", "writers",
                "platform"},
    "python": {"outputs", "analysis", "assess", "measure", "readers"},
    "archive": {"outputs", "analysis", "assess", "measure", "readers", "platform"},
    "outputs": {"analysis", "assess", "measure", "readers", "synth"},
    "analysis": {"assess", "measure", "readers", "files", "sagx", "platform"},
    "assess": {"measure"},
    "measure": {"platform"},
    "synth": {"readers", "writers"},
    "writers": {"readers"},
    "readers": {"platform"},
    "files": {"platform"},
    "sagx": {"platform"},
    "platform": set(),
}
# These parts of a folder do not include each other. Listed are the only sources outside a part that may include it.
APART = {
    "readers/comtrade": {"readers/open_record", "readers/archive"},
    "readers/pqdif": {"readers/open_record", "readers/archive"},
    "readers/table": {"readers/open_record"},
    "readers/voltages": {"readers/open_record"},
}
# Only sources in one of the first places may include the second.
DOORS = [(("analysis/embedded/",), "sagx/"), (("analysis/embedded/", "python/host_binding"), "dipx_dll.h"),
         (("command/",), "CLI/"), (("python/",), "pybind11/")]
# All sources of the library, including kernels, may use these records and small headers, and the diagram leaves them
# out.
SHARED = {"dq_dipx", "dipx_dll", "three_phases", "gbk_text", "boundary_list", "mms_time", "dipx_outcome", "report_lines",
          "lanes", "sorted_median", "wrapping", "symmetrical_components"}


def sources():
    for folder in ARROWS:
        for path in sorted((ROOT / folder).rglob("*.*")):
            if path.suffix in (".cpp", ".h") and "node_modules" not in path.parts:
                yield path
    yield from (ROOT / "dipx_dll.h", ROOT / "dipx_dll_main.cpp")


def module_of(name):
    """Returns the module of a file: a source and its header are one, and all kernels with their table are one."""
    return "sagx/kernels" if name.startswith("sagx/kernels/") else name.removesuffix(".cpp").removesuffix(".h")


def all_includes():
    """Yields pairs of a source and the file that it includes, both as paths from the root."""
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
        for rooms, thing in DOORS:
            if included.startswith(thing) and not name.startswith((*rooms, "sagx/", "dipx_dll")):
                yield f"{name} includes {included}: only {' and '.join(rooms)} may"
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
    # The interface for hosts comes first, then the stages by name.
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
