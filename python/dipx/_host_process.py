"""The helper process of dipx.Host: answers requests for analyses by the embedded library."""

from __future__ import annotations

import ctypes
import os
import pickle
import tempfile
from pathlib import Path
from typing import IO, Any

_REPORT = Path("dipx_result.txt")


def _answer(request: Any, lines: IO[bytes]) -> Any:
    from . import _dipx

    lines.seek(0)
    lines.truncate()
    _REPORT.unlink(missing_ok=True)
    dips = _dipx.run_library(*request)
    ctypes.CDLL(None).fflush(None)
    lines.seek(0)
    try:
        report = _REPORT.read_bytes()
    except OSError as error:
        return f"the embedded library could not write its report into the temporary folder ({error.strerror})"
    printed = lines.read().decode("gbk", "replace")
    return dips, report.decode("gbk", "replace").replace("\r\n", "\n"), report, printed


def serve() -> None:
    """Reads requests from standard input and writes answers to standard output until the input ends."""
    requests = os.fdopen(os.dup(0), "rb")
    answers = os.fdopen(os.dup(1), "wb")
    # The library's own lines go into a file.
    with tempfile.TemporaryFile(buffering=0) as lines:
        os.dup2(lines.fileno(), 1)
        os.dup2(lines.fileno(), 2)
        while True:
            try:
                request = pickle.load(requests)
            except EOFError:
                return
            pickle.dump(_answer(request, lines), answers, protocol=pickle.HIGHEST_PROTOCOL)
            answers.flush()
