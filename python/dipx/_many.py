"""Analyses of many files by worker processes."""

from __future__ import annotations

import multiprocessing
import os
import signal
from collections import deque
from concurrent.futures import Future, ProcessPoolExecutor
from concurrent.futures.process import BrokenProcessPool
from typing import Any, Deque, Dict, Iterable, Iterator, List, Optional, Tuple, Union

from ._analysis import Analysis, analyse, check_names
from ._errors import Error, OptionError
from ._record import Path


_AHEAD = 16  # files under way for each worker, so that a slow one does not keep the others idle
_stopped: Any = None  # in a worker process: the event that says that no further file is to be analysed


def _prepare_worker(stopped: Any) -> None:
    """Ignores Ctrl-C, because a worker that ended while it sends a result would leave its receiver waiting for ever."""
    global _stopped
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    _stopped = stopped


def _start(pool: ProcessPoolExecutor) -> None:
    """Starts the workers. They inherit that the signal of Ctrl-C is held back, until they ignore it."""
    held_back = signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGINT})
    try:
        pool.submit(int)
    finally:
        signal.pthread_sigmask(signal.SIG_SETMASK, held_back)


def _analyse_one(path: Path, options: Dict[str, Any]) -> Union[Analysis, Error]:
    if _stopped is not None and _stopped.is_set():
        return Error("the analysis of several files was interrupted")
    try:
        return analyse(path, **options)
    except Error as error:
        return error


def _result_of(path: Path, future: "Future[Union[Analysis, Error]]") -> Union[Analysis, Error]:
    try:
        return future.result()
    except BrokenProcessPool:
        name = str(path)
        return Error(f"{name}: a worker process ended while files were analysed, perhaps because memory ran out; use "
                     "fewer processes, or analyse the file alone", name)


def _results(
    pool: ProcessPoolExecutor, paths: List[Path], options: Dict[str, Any], most: int
) -> Iterator[Union[Analysis, Error]]:
    """Yields the results in order, with at most `most` files under way.

    An executor of Python 3.11 can wait for itself if thousands of calls are submitted at once (CPython issue 105829).
    """
    waiting: Deque[Tuple[Path, Any]] = deque()
    for path in paths:
        waiting.append((path, pool.submit(_analyse_one, path, options)))
        if len(waiting) >= most:
            yield _result_of(*waiting.popleft())
    while waiting:
        yield _result_of(*waiting.popleft())


def analyse_many(
    paths: Iterable[Path], processes: Optional[int] = None, *, errors: str = "raise", **options: Any
) -> List[Union[Analysis, Error]]:
    """Analyses files by worker processes and returns their analyses in the order of the paths.

    Args:
        paths: the files.
        processes: number of worker processes; without it one per processor. With 1 no other process is started.
        errors: "raise" raises the first exception in the order of the paths; "return" puts exceptions in the places of
            the analyses that they prevented.
        options: those of `read` and `measure`.

    After Ctrl-C each worker ends with the file that it is analysing. The analyses are copies without samples; for a plot they read their file again.

    >>> found = analyse_many(["examples/rte_00.cfg", "no/such.cfg"], processes=2, errors="return", frequency=50)
    >>> [type(one).__name__ for one in found]
    ['Analysis', 'ReadError']
    """
    if errors not in ("raise", "return"):
        raise OptionError(f"errors={errors!r} is neither 'raise' nor 'return'")
    if processes is not None and (not isinstance(processes, int) or processes < 1):
        raise OptionError(f"processes={processes!r} is not a whole number from 1 on")
    check_names(options, "analyse_many")
    listed = list(paths)
    if processes == 1 or not listed:
        return _checked((_analyse_one(path, options) for path in listed), errors)
    stopped = multiprocessing.Event()
    with ProcessPoolExecutor(max_workers=processes, initializer=_prepare_worker, initargs=(stopped,)) as pool:
        try:
            _start(pool)
            return _checked(_results(pool, listed, options, _AHEAD * (processes or os.cpu_count() or 1)), errors)
        except BaseException:
            stopped.set()
            pool.shutdown(wait=False, cancel_futures=True)
            raise


def _checked(results: Iterable[Union[Analysis, Error]], errors: str) -> List[Union[Analysis, Error]]:
    checked = []
    for result in results:
        if errors == "raise" and isinstance(result, Error):
            raise result
        checked.append(result)
    return checked
