import os
import signal
import subprocess
import sys
import tarfile
import time

import numpy as np
import pytest

import dipx


def test_kept_inputs_raise_nothing_but_errors_of_the_package(root, tmp_path):
    """Reads and measures every input that ever found a fault, and all records that fuzzing damages, as each format."""
    inputs = [path.read_bytes() for folder in ("regressions", "records") for path in sorted((root / "fuzz" / folder).glob("*/*"))]
    for name in ("comtrade", "csv", "pqdif"):
        with tarfile.open(root / "fuzz" / "seeds" / f"{name}.tar.xz") as archive:
            members = [member for member in archive.getmembers() if member.isfile()]
            inputs += [archive.extractfile(member).read() for member in members[::8]]
    read = measured = 0
    for content in inputs:
        for extension in (".cff", ".csv", ".pqd", ".zip"):
            path = tmp_path / f"input{extension}"
            path.write_bytes(content)
            try:
                record = dipx.read(path)
                read += 1
                dipx.measure(record)._repr_html_()
                measured += 1
            except dipx.Error as error:
                assert str(error) and "\n" not in str(error)
    assert len(inputs) > 150 and read > 50 and measured > 5, (len(inputs), read, measured)


INTERRUPTED = """
import os, signal, sys, threading, time
import numpy as np
import dipx
t = np.arange(int(sys.argv[1]) * 6400) / 6400
volts = [325 * np.sin(2 * np.pi * 50 * t - angle) * (1 - 0.5 * (t % 7 < 1)) for angle in (0.0, 2.1, 4.2)]
record = dipx.Record.from_arrays(volts, 6400)
began = time.monotonic()
sent = []
def interrupt():
    sent.append(time.monotonic())
    os.kill(os.getpid(), signal.SIGINT)
try:
    threading.Timer(0.05, interrupt).start()
    dipx.measure(record, frequency=50)
    print("finished in", time.monotonic() - began)
except KeyboardInterrupt:
    print("interrupted" if time.monotonic() - sent[0] < 0.5 else "late")
"""


def test_interruption_ends_the_wait_for_an_analysis():
    done = subprocess.run([sys.executable, "-c", INTERRUPTED, "1200"], capture_output=True, text=True, timeout=120)
    assert (done.returncode, done.stdout, done.stderr) == (0, "interrupted\n", "")


BLOCKED = """
import os, signal, sys, threading
import dipx
os.mkfifo(sys.argv[1])
threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT)).start()
try:
    dipx.read(sys.argv[1])
except KeyboardInterrupt:
    print("interrupted")
"""


def test_interruption_ends_the_wait_for_a_file_that_never_comes(tmp_path):
    done = subprocess.run([sys.executable, "-c", BLOCKED, str(tmp_path / "pipe.csv")], capture_output=True, text=True,
                          timeout=60)
    assert (done.returncode, done.stdout, done.stderr) == (0, "interrupted\n", "")


WORKERS = """
import signal, sys
import dipx
signal.signal(signal.SIGINT, signal.default_int_handler)
print("begins", flush=True)
try:
    dipx.analyse_many([sys.argv[1]] * 100_000, processes=2)
except KeyboardInterrupt:
    print("interrupted")
"""


def test_interruption_ends_worker_processes(examples):
    process = subprocess.Popen([sys.executable, "-c", WORKERS, str(examples / "rte_00.cfg")], stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, start_new_session=True, text=True)
    assert process.stdout.readline() == "begins\n"
    time.sleep(1)
    os.killpg(process.pid, signal.SIGINT)  # as a terminal does
    printed = process.communicate(timeout=60)  # returns when the workers have closed the pipes as well
    assert (process.returncode, *printed) == (0, "interrupted\n", "")
    with pytest.raises(ProcessLookupError):
        os.killpg(process.pid, 0)


def test_other_threads_run_during_an_analysis():
    import threading

    t = np.arange(400 * 6400) / 6400
    record = dipx.Record.from_arrays([325 * np.sin(2 * np.pi * 50 * t)], 6400)
    ticks = []
    stop = threading.Event()

    def tick():
        while not stop.is_set():
            ticks.append(time.monotonic())
            time.sleep(0.001)

    thread = threading.Thread(target=tick)
    thread.start()
    began = time.monotonic()
    dipx.measure(record, frequency=50)
    ended = time.monotonic()
    stop.set()
    thread.join()
    within = [moment for moment in ticks if began < moment < ended]
    assert len(within) > 5, f"{len(within)} ticks in {ended - began:.3f} s"


def test_optional_packages_are_named_where_they_are_missing(examples):
    script = """
import sys
for name in ("pandas", "xarray", "matplotlib"):
    sys.modules[name] = None
import dipx
analysis = dipx.analyse(sys.argv[1])
for function in (analysis.record.to_pandas, analysis.record.to_xarray, analysis.plot, analysis.to_dataframe):
    try:
        function()
    except dipx.MissingPackage as error:
        print(str(error).rpartition("; ")[2])
"""
    done = subprocess.run([sys.executable, "-c", script, str(examples / "rte_00.cfg")], capture_output=True, text=True)
    package = "install the Debian package python3-"
    assert done.stdout.split("\n")[:-1] == [package + name for name in ("pandas", "xarray", "matplotlib", "pandas")], done.stderr


def test_examples_in_docstrings_hold(root):
    script = """
import doctest, os, sys
os.chdir(sys.argv[1])
import dipx
runner = doctest.DocTestRunner(optionflags=doctest.IGNORE_EXCEPTION_DETAIL)
for name in dipx.__all__:
    for test in doctest.DocTestFinder().find(getattr(dipx, name), name, module=False, globs=vars(dipx)):
        runner.run(test)
failed, count = runner.summarize(verbose=False)
print(failed, count > 20)
"""
    done = subprocess.run([sys.executable, "-c", script, str(root)], capture_output=True, text=True)
    assert done.stdout.startswith("0 True"), done.stdout + done.stderr
