#!/usr/bin/env python3
"""quotes.py [--check] BIN PAGE...: regenerates the outputs, tables and pictures that the pages show.

Every block marked `sh` is run, and every block marked `python` by Debian's interpreter, in the state that the earlier
ones of the page left, as in a notebook. Each page has a folder of its own for this, which contains links to the
folders of the repository; the programs in the folder BIN are in the search path. Comments, which readers of the page
do not see, say where the rest comes from:

  <!-- run: COMMAND -->           runs a command that is not shown
  <!-- prints -->                 the next block or table is the output of the last commands
  <!-- prints, among others -->   the lines of the next block are in that output in this order; ... means other lines
  <!-- file: PATH -->             the next block is this file of the repository and is not run
  <!-- picture: FILE -->          the next picture is this file, which the commands have made
  <!-- page: FILE WIDTHxHEIGHT -->  the next picture shows this page in a browser window of that size
  <!-- fails: STATUS -->          the next block ends with this exit status
  <!-- not run: REASON -->        the next block is not run

Without --check the pages are rewritten. With --check differences are reported and nothing is changed. In both cases
broken links and lines of more than 120 characters are reported.
"""
import difflib
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDERS = ["analysis", "build", "command", "docs", "files", "outputs", "readers", "sagx", "scripts", "synth", "tests"]
RUN_CELLS = """
import contextlib, io, sys
*earlier, last = sys.argv[1:]
names = {"__name__": "__main__"}
for cell in earlier:
    with contextlib.redirect_stdout(io.StringIO()):
        exec(cell, names)
exec(last, names)
"""
SCALE = 1.25  # magnification of browser pictures


def shot(page, size, picture):
    """Takes a picture of the upper left corner of a page."""
    with tempfile.TemporaryDirectory() as home:
        subprocess.run(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--disable-dev-shm-usage",
             f"--user-data-dir={home}", f"--force-device-scale-factor={SCALE}",
             "--window-size=" + size.replace("x", ","), f"--screenshot={picture}", f"file://{page}"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=120)


def png_size(path):
    return struct.unpack(">II", path.read_bytes()[16:24])


class Page:
    def __init__(self, path, programs, check):
        self.path, self.check = path, check
        self.lines = path.read_text().split("\n")
        self.complaints = []
        self.commands = 0
        self.printed = None
        self.cells = []  # earlier blocks of Python
        self.exports = []  # export lines of earlier blocks, which later blocks need too
        self.folder = Path(tempfile.mkdtemp(prefix="dipx-page-"))
        shutil.copytree(ROOT / "examples", self.folder / "examples")
        for name in FOLDERS:
            (self.folder / name).symlink_to(ROOT / name)
        self.environment = dict(os.environ, PATH=f"{programs}:{os.environ['PATH']}", LC_ALL="C.UTF-8")

    def complain(self, line, text):
        self.complaints.append(f"{self.path.relative_to(ROOT)}:{line + 1}: {text}")

    def run(self, command, line, expected=0):
        self.commands += 1
        script = "\n".join(self.exports + [command])
        self.exports += [text for text in command.split("\n") if text.startswith("export ")]
        self.execute(["sh", "-ec", script], command, line, expected)

    def run_python(self, cell, line, expected=0):
        """Runs all blocks of Python up to this one, of which only this one may print."""
        self.commands += 1
        self.execute(["/usr/bin/python3", "-c", RUN_CELLS, *self.cells, cell], cell, line, expected)
        self.cells.append(cell)

    def execute(self, arguments, command, line, expected):
        done = subprocess.run(arguments, cwd=self.folder, env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=1800)
        if done.returncode != expected:
            self.complain(line, f"exit status {done.returncode}: {command}\n{done.stderr.decode(errors='replace')}")
        self.printed = [text.rstrip() for text in done.stdout.decode(errors="replace").rstrip("\n").split("\n")]

    def block_after(self, i):
        """Returns the first line and the end of the fenced block or table that follows line i, without its fences."""
        while i < len(self.lines) and not self.lines[i].strip():
            i += 1
        if i < len(self.lines) and self.lines[i].startswith("```"):
            end = self.lines.index("```", i + 1)
            return i + 1, end
        end = i
        while end < len(self.lines) and self.lines[end].startswith("|"):
            end += 1
        if end == i:
            self.complain(min(i, len(self.lines) - 1), "a block should follow")
        return i, end

    def compare(self, i, wanted):
        """Compares the block after line i with `wanted`, or replaces it."""
        begin, end = self.block_after(i)
        shown = self.lines[begin:end]
        if shown == wanted:
            return
        if self.check:
            self.complain(begin, "differs (- shown, + as it is now)\n" +
                          "\n".join(list(difflib.unified_diff(shown, wanted, lineterm="", n=0))[2:]))
        else:
            self.lines[begin:end] = wanted

    def compare_among_others(self, i):
        begin, end = self.block_after(i)
        rest = iter(self.printed)
        for number in range(begin, end):
            text = self.lines[number]
            if text.strip() != "..." and text not in rest:
                self.complain(number, f"not in the output: {text}")
                return

    def picture_after(self, i):
        while not self.lines[i].strip():
            i += 1
        found = re.search(r"!\[[^\]]+\]\(([^)]+)\)", self.lines[i])
        if not found:
            self.complain(i, "a picture should follow")
            return None
        return self.path.parent / found[1]

    def compare_picture(self, i, made):
        kept = self.picture_after(i + 1)
        if kept is None or not made.exists():
            self.complain(i, f"{made.name} was not made")
        elif not self.check:
            kept.parent.mkdir(exist_ok=True)
            shutil.copyfile(made, kept)
        elif not kept.exists() or kept.read_bytes() != made.read_bytes():
            self.complain(i, f"{kept.relative_to(ROOT)} differs from the picture that is drawn now")

    def compare_shot(self, i, page, size):
        # Browsers draw letters differently, so only the existence and the size of the picture can be checked.
        kept = self.picture_after(i + 1)
        if kept is None:
            return
        if not self.check:
            kept.parent.mkdir(exist_ok=True)
            shot(self.folder / page, size, kept)
        wanted = tuple(int(int(side) * SCALE) for side in size.split("x"))
        if not (self.folder / page).exists():
            self.complain(i, f"{page} was not made")
        elif not kept.exists() or png_size(kept) != wanted:
            self.complain(i, f"{kept.relative_to(ROOT)} does not exist with {wanted[0]} x {wanted[1]} pixels")

    def go(self):
        expected, skip = 0, False
        i = 0
        while i < len(self.lines):
            line = self.lines[i]
            comment = re.fullmatch(r"<!-- ([a-z, ]+?)(?:: (.*))? -->", line)
            if line.startswith("```"):
                language = line[3:]
                end = self.lines.index("```", i + 1)
                if language in RUNNERS and not skip:
                    RUNNERS[language](self, "\n".join(self.lines[i + 1:end]), i, expected)
                expected, skip = 0, False
                i = end
            elif comment:
                kind, what = comment.groups()
                if kind == "run":
                    self.run(what, i)
                elif kind == "fails":
                    expected = int(what)
                elif kind == "not run":
                    skip = True
                elif kind == "prints":
                    self.compare(i + 1, self.printed)
                elif kind == "prints, among others":
                    self.compare_among_others(i + 1)
                elif kind == "file":
                    self.compare(i + 1, (ROOT / what).read_text().rstrip("\n").split("\n"))
                    skip = True  # a quoted file is a program with arguments, and a test of its own runs it
                elif kind == "picture":
                    self.compare_picture(i, self.folder / what)
                elif kind == "page":
                    self.compare_shot(i, *what.split())
                else:
                    self.complain(i, f"unknown comment '{kind}'")
            i += 1
        self.check_form()
        if not self.check:
            self.path.write_text("\n".join(self.lines))
        shutil.rmtree(self.folder)

    def check_form(self):
        fenced = False
        for i, line in enumerate(self.lines):
            if line.startswith("```"):
                fenced = not fenced
            if fenced:
                continue
            if len(line) > 120 and not line.startswith(("|", "!", "<!--")):
                self.complain(i, f"{len(line)} characters")
            for target in re.findall(r"\]\(([^)\s]+)\)", re.sub(r"`[^`]*`", "", line)):
                self.check_link(i, target)

    def check_link(self, i, target):
        if re.match(r"[a-z]+:", target):
            return
        name, _, anchor = target.partition("#")
        file = (self.path.parent / name) if name else self.path
        if not file.exists():
            self.complain(i, f"no such file: {name}")
        elif anchor and anchor not in anchors(file):
            self.complain(i, f"no such heading: {target}")


RUNNERS = {"sh": Page.run, "python": Page.run_python}


def anchors(page):
    """Yields the names by which links refer to the headings of a page."""
    text = re.sub(r"^```.*?^```$", "", page.read_text(), flags=re.S | re.M)
    for heading in re.findall(r"^#+ (.*)$", text, flags=re.M):
        yield re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def main():
    arguments = sys.argv[1:]
    check = "--check" in arguments
    programs, *pages = [a for a in arguments if not a.startswith("--")]
    complaints, commands = [], 0
    for name in pages:
        page = Page(Path(name).resolve(), Path(programs).resolve(), check)
        page.go()
        complaints += page.complaints
        commands += page.commands
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    print(f"{len(pages)} pages, {commands} commands run, {len(complaints)} complaints")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
