"""Runs the pages on Python as notebooks and compares what they show with what is printed."""

import contextlib
import io
import re

import pytest

CELL = re.compile(r"^```python\n(.*?)^```$(?:\n+<!-- prints -->\n```\n(.*?)^```$)?", re.DOTALL | re.MULTILINE)


def without_blanks_at_line_ends(text):
    return "\n".join(line.rstrip() for line in text.rstrip("\n").split("\n"))


@pytest.mark.parametrize("page", ["python.md", "python-tutorial.md"])
def test_cells_print_what_the_page_shows(root, tmp_path, monkeypatch, page):
    for module in ("pandas", "xarray", "matplotlib"):
        pytest.importorskip(module)
    monkeypatch.chdir(tmp_path)
    (tmp_path / "examples").symlink_to(root / "examples")
    names = {}
    cells = CELL.findall((root / "docs" / page).read_text())
    assert len(cells) >= 5
    for code, shown in cells:
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            exec(code, names)  # noqa: S102: the pages are part of the sources
        assert without_blanks_at_line_ends(printed.getvalue()) == without_blanks_at_line_ends(shown)
