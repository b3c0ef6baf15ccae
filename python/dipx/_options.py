"""The options of an analysis, checked and converted for the extension module."""

from __future__ import annotations

import math
import os
import re
from pathlib import Path
from typing import Iterable, Optional, Sequence, Union

from . import _dipx
from ._errors import OptionError

_UNITS = {"": 1.0, "V": 1.0, "v": 1.0, "kV": 1e3, "kv": 1e3, "KV": 1e3, "MV": 1e6}
_VOLTAGE = re.compile(r"\s*([0-9.+\-eE]+) *([A-Za-z]*)\s*(?::(phase|line))?")
_KINDS = {None: _dipx.DeclaredKind.by_level, "phase": _dipx.DeclaredKind.phase, "line": _dipx.DeclaredKind.line}
_REFERENCES = {
    "declared": _dipx.Reference.declared,
    "sliding": _dipx.Reference.sliding,
    "pre-event": _dipx.Reference.pre_event,
}

Curves = Union[str, "os.PathLike[str]", Sequence[Union[str, "os.PathLike[str]"]]]


def _take_nominal(options: _dipx.Options, nominal: Union[float, str]) -> None:
    found = _VOLTAGE.fullmatch(str(nominal))
    try:
        volts = float(found[1]) * _UNITS[found[2]] if found else 0.0
    except (KeyError, ValueError):
        volts = 0.0
    if not found or not 0 < volts <= 1e7:
        raise OptionError(f"nominal={nominal!r} is not a voltage; use a form such as 230, '20kV', '20kV:line' or '230:phase'")
    options.nominal = volts
    options.nominal_kind = _KINDS[found[3]]


def number_within(name: str, value: Optional[float], lowest: float, highest: float) -> float:
    """Returns a number, and 0 for None. Raises OptionError outside the range."""
    if value is None:
        return 0.0
    try:
        number = float(value)
    except (TypeError, ValueError):
        number = math.nan
    if not lowest <= number <= highest:
        raise OptionError(f"{name}={value!r} is not a number from {lowest:g} to {highest:g}")
    return number


def _whole(name: str, value: Optional[int]) -> int:
    if value is None:
        return 0
    if isinstance(value, bool) or not isinstance(value, int) or not 1 <= value <= 1_000_000_000:
        raise OptionError(f"{name}={value!r} is not a whole number from 1 on")
    return value


def _take_thresholds(
    options: _dipx.Options, dip: float, swell: float, interruption: float, hysteresis: float, rapid_change: float
) -> None:
    thresholds = options.thresholds
    thresholds.dip = number_within("dip_threshold", dip, 1, 100)
    thresholds.swell = number_within("swell_threshold", swell, 100, 300)
    thresholds.interruption = number_within("interruption_threshold", interruption, 0, 99)
    thresholds.hysteresis = number_within("hysteresis", hysteresis, 0, 50)
    thresholds.rapid_change = number_within("rvc_threshold", rapid_change, 0, 50)
    if dip >= swell:
        raise OptionError(
            f"dip_threshold={dip:g} is not below swell_threshold={swell:g}; nearly every voltage would be an event"
        )
    if interruption >= dip:
        raise OptionError(
            f"interruption_threshold={interruption:g} is not below dip_threshold={dip:g}; an interruption lies within "
            "a dip"
        )
    if dip + hysteresis > 100 or swell - hysteresis < 100:
        most = min(100 - dip, swell - 100)
        raise OptionError(
            f"hysteresis={hysteresis:g} reaches past 100 % from a threshold, so that an event would not end at the "
            f"reference voltage; use at most {most:g}"
        )


def _channels(channels: Union[str, Iterable[Union[str, int]], None]) -> str:
    if channels is None:
        return ""
    text = channels if isinstance(channels, str) else ",".join(str(channel) for channel in channels)
    if not text.strip():
        raise OptionError("channels is empty; name one to three voltages")
    return text


def options_of(
    frequency: Optional[float] = None,
    nominal: Union[float, str, None] = None,
    reference: Optional[str] = None,
    channels: Union[str, Iterable[Union[str, int]], None] = None,
    set: Optional[int] = None,
    part: Optional[int] = None,
    line_to_line: bool = False,
    dip_threshold: float = 90,
    swell_threshold: float = 110,
    interruption_threshold: float = 5,
    hysteresis: float = 2,
    rvc_threshold: float = 3,
    curves: Curves = (),
    through: Optional[str] = None,
) -> _dipx.Options:
    """Returns the options for the extension module. Raises OptionError."""
    options = _dipx.Options()
    choice = options.choice
    choice.line_frequency = number_within("frequency", frequency, 10, 100)
    choice.channels = _channels(channels)
    choice.set = _whole("set", set)
    choice.part = _whole("part", part)
    choice.line_to_line = bool(line_to_line)
    if choice.channels and choice.set:
        raise OptionError("channels and set cannot be used together; leave out one of them")
    if nominal is not None:
        _take_nominal(options, nominal)
    if reference is not None:
        if reference not in _REFERENCES:
            raise OptionError(f"reference={reference!r} is not one of 'declared', 'sliding' and 'pre-event'")
        options.reference = _REFERENCES[reference]
    if reference == "declared" and nominal is None:
        raise OptionError("reference='declared' needs a declared voltage; give it with nominal=")
    _take_thresholds(options, dip_threshold, swell_threshold, interruption_threshold, hysteresis, rvc_threshold)
    for curve in [curves] if isinstance(curves, (str, os.PathLike)) else curves:
        try:
            text = Path(curve).read_text(encoding="utf-8-sig")
        except (OSError, UnicodeDecodeError) as error:
            raise OptionError(f"curves: {os.fspath(curve)}: it cannot be read ({error}); check the path") from error
        options.add_curve(text, os.fspath(curve))
    if through is not None:
        options.set_through(through)
    return options
