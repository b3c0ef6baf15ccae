"""The embedded library, called as a host program calls it."""

from __future__ import annotations

import contextlib
import pickle
import subprocess
import sys
import threading
from pathlib import Path
from tempfile import TemporaryDirectory
from typing import Any, NamedTuple, Optional

import numpy as np
import numpy.typing as npt

from . import _dipx
from ._errors import HostError, OptionError

_CAPACITY = 768000


class HostResult(NamedTuple):
    """What the embedded library leaves for its host."""

    #: The dips, shape (dips,), with the fields of `dipx_event_record` in dipx_dll.h (``result.dips["hold_time_dq"]``):
    #: voltages are RMS in volts, angles degrees, times seconds. Lists of segments hold `u_min_num` entries.
    dips: npt.NDArray[Any]
    report: str  #: content of dipx_result.txt
    report_bytes: bytes  #: the same as it was written, in GBK with CR LF
    printed: str  #: the lines that the library printed


class Host:
    """Runs the embedded library, whose results hosts rely on to the last bit.

    The library prints lines, writes a report into the current folder and may run only once at a time. It therefore runs
    in a helper process, which begins with the first analysis and has a folder of its own. A Host may be used by several
    threads, which wait for one another; several hosts work side by side. Use it in a ``with`` statement, or call
    `close`.

    >>> import numpy as np
    >>> t = np.arange(6400) / 6400
    >>> depth = np.where((t > 0.4) & (t < 0.6), 0.4, 1.0)
    >>> volts = [325 * depth * np.sin(2 * np.pi * 50 * t - angle) for angle in np.radians([0, 120, 240])]
    >>> with Host() as host:
    ...     result = host.analyse(*volts, samples_per_cycle=128)
    >>> len(result.dips), result.dips["u_min_num"][0]
    (1, 1)
    """

    #: The type of an entry of `HostResult.dips`.
    event_dtype: "np.dtype[Any]" = _dipx.event_dtype

    def __init__(self) -> None:
        self._lock = threading.Lock()
        self._process: "Optional[subprocess.Popen[bytes]]" = None
        self._folder: "Optional[TemporaryDirectory[str]]" = None

    def analyse(
        self, va: npt.ArrayLike, vb: npt.ArrayLike, vc: npt.ArrayLike, samples_per_cycle: int
    ) -> HostResult:
        """Analyses three voltages.

        Args:
            va, vb, vc: volts, shape (samples,); converted to single precision, as the library takes them.
            samples_per_cycle: samples per 20 ms, 32 to 128.

        As in any host, a record that the library refuses gets the count of the dips of the last accepted record, with
        zero contents; `printed` says so.

        Raises:
            OptionError: the arrays differ in length or hold more than 768000 samples.
            HostError: the helper process ended; the next call begins a new one.
        """
        arrays = [np.ascontiguousarray(values, dtype=np.float32) for values in (va, vb, vc)]
        if any(array.ndim != 1 or array.shape != arrays[0].shape for array in arrays):
            shapes = ", ".join(str(array.shape) for array in arrays)
            raise OptionError(f"the voltages have the shapes {shapes}; pass three arrays of one dimension and equal length")
        if arrays[0].size > _CAPACITY:
            raise OptionError(f"there are {arrays[0].size} samples; the library takes at most {_CAPACITY}")
        if not -(2**31) <= int(samples_per_cycle) < 2**31:
            raise OptionError(f"samples_per_cycle={samples_per_cycle} is not a number that the library takes")
        with self._lock:
            try:
                return HostResult(*self._ask((*arrays, int(samples_per_cycle))))
            except (OSError, EOFError, pickle.UnpicklingError) as error:
                status = self._end()
                raise HostError(
                    f"the helper process of the embedded library ended with status {status}; call analyse again to "
                    "begin a new one"
                ) from error
            except BaseException:
                # After Ctrl-C the answer to this request would be taken for that to the next one.
                self._end()
                raise

    def _ask(self, request: Any) -> Any:
        if self._process is None:
            self._begin()
        assert self._process is not None and self._process.stdin is not None and self._process.stdout is not None
        pickle.dump(request, self._process.stdin, protocol=pickle.HIGHEST_PROTOCOL)
        self._process.stdin.flush()
        answer = pickle.load(self._process.stdout)
        if isinstance(answer, str):
            raise HostError(answer)
        return answer

    def _begin(self) -> None:
        self._folder = TemporaryDirectory(prefix="dipx-host-")
        package = str(Path(__file__).resolve().parent.parent)
        self._process = subprocess.Popen(
            [sys.executable, "-c", "import sys; sys.path.insert(0, sys.argv[1]); from dipx._host_process import serve; serve()",
             package],
            cwd=self._folder.name, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
            start_new_session=True,
        )

    def _end(self) -> Optional[int]:
        process, folder = self._process, self._folder
        self._process = self._folder = None
        status = None
        if process is not None:
            process.kill()
            for pipe in (process.stdin, process.stdout):
                if pipe is not None:
                    with contextlib.suppress(OSError):
                        pipe.close()
            status = process.wait()
        if folder is not None:
            folder.cleanup()
        return status

    def close(self) -> None:
        """Ends the helper process. The next analysis would begin a new one."""
        with self._lock:
            self._end()

    def __enter__(self) -> "Host":
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_process", None) is not None:
            self._end()
