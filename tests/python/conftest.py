"""Places that the tests use: the checkout, its examples and the command that was built with the package."""

import os
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parent.parent.parent


@pytest.fixture(scope="session")
def root():
    return ROOT


@pytest.fixture(scope="session")
def examples():
    return ROOT / "examples"


@pytest.fixture(scope="session")
def command():
    """Runs the command and returns what it prints."""

    def run(*arguments, status=0):
        done = subprocess.run([os.environ["DIPX_COMMAND"], *map(str, arguments)], capture_output=True, check=False)
        assert done.returncode == status, done.stderr.decode()
        return done.stdout

    return run


@pytest.fixture(autouse=True)
def nothing_is_printed_and_the_folder_stays(capfd):
    """No function of the package prints anything or changes the current folder."""
    folder = os.getcwd()
    yield
    assert os.getcwd() == folder
    printed = capfd.readouterr()
    assert printed.out == "" and printed.err == ""
