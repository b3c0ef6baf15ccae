"""The exceptions of the package."""

from __future__ import annotations

import re
from typing import Optional

# The forms in which the readers name a place in a file.
_PLACE = re.compile(r'(?:line \d+|byte \d+|row \d+(?: \(byte \d+\))?|record \d+ at byte \d+|channel (?:"[^"]*"|\'[^\']*\'|\S+))')
_OPTIONS = {"line-to-line": "line_to_line=True", "from": "from_s=", "to": "to_s=", "json": "to_json()"}
# Messages of the libraries name options of the command; the package has keywords of the same names.
_OPTION = re.compile(r"(?<!\S)--([a-z][a-z-]*[a-z])")


def _keyword(option: "re.Match[str]") -> str:
    return _OPTIONS.get(option[1], option[1].replace("-", "_") + "=")


class Error(Exception):
    """Base of all exceptions of the package.

    Attributes:
        file: the file that is concerned, as it was named, or None.
        place: where in the file the fault is, such as ``"line 3"`` or ``"byte 120"``, or None if the fault concerns
            the whole file.
    """

    def __init__(self, message: str, file: Optional[str] = None, place: Optional[str] = None) -> None:
        super().__init__(message, file, place)
        self.file = file
        self.place = place

    def __str__(self) -> str:
        return str(self.args[0])

    @classmethod
    def from_message(cls, message: str) -> "Error":
        """Makes an exception of a message of the form ``file: place: cause; cure``."""
        file, colon, rest = message.partition(": ")
        if not colon:
            return cls(_OPTION.sub(_keyword, message))
        place = _PLACE.match(rest)
        found = place[0] if place and rest[place.end():].startswith(":") else None
        return cls(f"{file}: {_OPTION.sub(_keyword, rest)}", file, found)


class ReadError(Error):
    """A file cannot be read. The message names the file, the place, the fault and a remedy."""


class AnalysisError(Error):
    """A record was read but cannot be analysed as requested: it holds too little, or has no such channel, set or part."""


class OptionError(Error, ValueError):
    """An option has a value that cannot be used."""

    @classmethod
    def from_message(cls, message: str) -> "OptionError":
        return cls(_OPTION.sub(_keyword, message))


class HostError(Error):
    """The helper process of the embedded library ended, or could not write its report."""


class MissingPackage(Error, ImportError):
    """A function needs a Python package that is not installed. The message names the package of Debian."""


def needs(module: str, purpose: str):  # type: ignore[no-untyped-def]
    """Imports an optional module, or raises MissingPackage with the name of Debian's package."""
    import importlib

    try:
        return importlib.import_module(module)
    except ImportError as error:
        package = "python3-" + module.partition(".")[0]
        raise MissingPackage(f"{purpose} needs {module}; install the Debian package {package}") from error
