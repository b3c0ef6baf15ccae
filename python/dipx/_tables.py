"""Analyses as tables: a DataFrame, and HTML for notebooks."""

from __future__ import annotations

import html
import math
import re
from typing import TYPE_CHECKING, Any, Dict, Iterable, Iterator, List, Optional, Union

from ._analysis import Analysis
from ._errors import needs
from ._findings import Event, Findings, Segment

if TYPE_CHECKING:  # only type checkers need pandas
    import pandas

_ZONED = re.compile(r"(?:Z|[+-]\d{2}:\d{2})$")
_LETTERS = "abc"


def _event_columns(about: Findings, event: Event) -> Dict[str, Any]:
    extreme = event.get("extreme")
    indices = event.get("indices")
    return {
        "file": about.file,
        "station": about.station,
        "set": about.set.number if about.set else None,
        "part": about.part.number,
        "event": event.number,
        "kind": event.kind,
        "start_s": event.start.time_s,
        "start_clock": event.start.clock,
        "start_utc": event.start.clock,
        "end_s": event.end.time_s,
        "end_clock": event.end.clock,
        "end_utc": event.end.clock,
        "duration_s": event.duration_s,
        "phases": event.phases,
        "extreme_v": extreme.voltage_v if extreme else None,
        "extreme_percent": extreme.percent if extreme else None,
        "depth_percent": event.get("depth_percent"),
        "delta_max_v": event.delta_max.voltage_v if "delta_max" in event else None,
        "delta_steady_v": event.delta_steady.voltage_v if "delta_steady" in event else None,
        "energy_s": indices.energy_s if indices else None,
        "lost_v_s": indices.lost_v_s if indices else None,
    }


def _course_columns(event: Event) -> Dict[str, Any]:
    course = event.get("course")
    columns: Dict[str, Any] = {}
    for name in ("start_s", "end_s"):
        columns[f"course_{name}"] = course[name] if course else None
        columns[f"course_{name}_plus_minus"] = course[f"{name}_plus_minus"] if course else None
    columns["course_duration_s"] = course.duration_s if course else None
    for i, letter in enumerate(_LETTERS):
        point = course.point_on_wave[i] if course and course.point_on_wave else None
        columns[f"point_on_wave_{letter}_degrees"] = point.degrees if point else None
        columns[f"point_on_wave_{letter}_degrees_plus_minus"] = point.degrees_plus_minus if point else None
    return columns


def _segment_columns(segment: Optional[Segment]) -> Dict[str, Any]:
    measured = segment is not None and segment.measured
    kind = segment["type"] if segment is not None and measured else None
    columns: Dict[str, Any] = {
        "segment": segment.number if segment is not None else None,
        "segment_start_s": segment.start_s if segment is not None else None,
        "segment_end_s": segment.end_s if segment is not None else None,
        "gradual": segment.gradual if segment is not None else None,
        "type": kind.letter if kind else None,
        "type_phases": kind.phases if kind else None,
        "unbalance_percent": segment["unbalance_percent"] if segment is not None and measured else None,
    }
    for i, letter in enumerate(_LETTERS):
        voltage = segment.voltage[i] if segment is not None and measured else None
        jump = segment.phase_jump[i] if segment is not None and measured else None
        columns[f"voltage_{letter}_v"] = voltage.voltage_v if voltage else None
        columns[f"voltage_{letter}_v_plus_minus"] = voltage.voltage_v_plus_minus if voltage else None
        columns[f"voltage_{letter}_percent_of_before"] = voltage.percent_of_before if voltage else None
        columns[f"phase_jump_{letter}_degrees"] = jump.degrees if jump else None
        columns[f"phase_jump_{letter}_degrees_plus_minus"] = jump.degrees_plus_minus if jump else None
    return columns


def rows_of(analysis: Analysis) -> Iterator[Dict[str, Any]]:
    """Yields one row per segment of a dip, and one for each other event."""
    for event in analysis.events:
        course = event.get("course")
        for segment in (course.segments if course else None) or [None]:
            yield {**_event_columns(analysis.about_record, event), **_course_columns(event), **_segment_columns(segment)}


# A table without events has the same columns, so they are taken from an event of which nothing is known.
_NOWHERE = {"time_s": None, "clock": None}
_NO_RECORD = Findings({"file": None, "station": None, "set": None, "part": {"number": None}})
_NO_EVENT = Event(dict.fromkeys(("number", "kind", "duration_s", "phases"), None) | {"start": _NOWHERE, "end": _NOWHERE})
_COLUMNS = list(_event_columns(_NO_RECORD, _NO_EVENT) | _course_columns(_NO_EVENT) | _segment_columns(None))

_TEXTS = {"file", "station", "kind", "start_clock", "end_clock", "phases", "type", "type_phases"}
_NUMBERS = {"set", "part", "event", "segment"}
_TIMES = {"start_utc", "end_utc"}


def to_dataframe(analyses: Union[Analysis, Iterable[Analysis]]) -> "pandas.DataFrame":
    """Returns a table with one row per segment of each dip and one row for each other event.

    Columns with the names of the JSON document have its meaning and units; `voltage_a_v` is the voltage of the first
    phase of the segment, and so on. `start_clock` and `end_clock` are the times as recorded, in ISO 8601. `start_utc`
    and `end_utc` are the same times in UTC (datetime64[ns, UTC]) if the file gives the offset from UTC, otherwise NaT.
    Values that are not there are NaN, NA, NaT or None. Entries that are exceptions, as `analyse_many` may return them,
    are left out. Needs pandas.
    """
    pandas = needs("pandas", "dipx.to_dataframe")
    if isinstance(analyses, Analysis):
        analyses = [analyses]
    rows = [row for analysis in analyses if isinstance(analysis, Analysis) for row in rows_of(analysis)]
    frame = pandas.DataFrame(rows, columns=_COLUMNS)
    for name in frame.columns:
        if name in _TIMES:
            zoned = [text if text and _ZONED.search(text) else None for text in frame[name]]
            frame[name] = pandas.to_datetime(pandas.Series(zoned, dtype=object), utc=True, errors="coerce")
        elif name in _NUMBERS:
            frame[name] = frame[name].astype("Int64")
        elif name == "gradual":
            frame[name] = frame[name].astype("boolean")
        elif name not in _TEXTS:
            frame[name] = frame[name].astype("float64")
    return frame


# --- notebooks --------------------------------------------------------------------------------------------------------


def _with_plus_minus(value: Optional[float], plus_minus: Optional[float], scale: float = 1, sign: str = "") -> str:
    """Shows a figure to the second significant digit of its uncertainty, which is rounded up."""
    if value is None:
        return ""
    if not plus_minus:
        return f"{scale * value:{sign}g}"
    decimals = max(0, 1 - math.floor(math.log10(scale * plus_minus)))
    rounded_up = math.ceil(scale * plus_minus * 10**decimals) / 10**decimals
    return f"{scale * value:{sign}.{decimals}f} ± {rounded_up:.{decimals}f}"


def _html_row(cells: Iterable[str], tag: str = "td") -> str:
    return "<tr>" + "".join(f"<{tag}>{cell}</{tag}>" for cell in cells) + "</tr>"


def _html_table(head: Iterable[str], rows: Iterable[Iterable[str]]) -> str:
    body = "".join(_html_row(row) for row in rows)
    return f"<table><thead>{_html_row(head, 'th')}</thead><tbody>{body}</tbody></table>"


def _event_cells(event: Event) -> List[str]:
    extreme = event.get("extreme") or event.get("delta_max")
    times = [f"{seconds:.4f}" if seconds is not None else "" for seconds in (event.start.time_s, event.end.time_s)]
    duration = f"{1e3 * event.duration_s:.1f}" if event.duration_s is not None else ""
    percent = f"{extreme.percent:.1f}" if extreme and extreme.percent is not None else ""
    volts = f"{extreme.voltage_v:g}" if extreme else ""
    return [str(event.number), event.kind.replace("_", " "), *times, duration, volts, percent, event.phases]


def _segment_cells(event: Event, segment: Segment, scale: float) -> List[str]:
    kind = segment["type"] if segment.measured else None
    cells = [f"{event.number}.{segment.number}", f"{segment.start_s:.4f}",
             f"{segment.end_s:.4f}" if segment.end_s is not None else "",
             f"{kind.letter} ({html.escape(kind.phases)})" if kind else ""]
    for i in range(3):
        voltage = segment.voltage[i] if segment.measured else None
        cells.append(_with_plus_minus(voltage.voltage_v, voltage.voltage_v_plus_minus, scale) if voltage else "")
    for i in range(3):
        jump = segment.phase_jump[i] if segment.measured else None
        cells.append(_with_plus_minus(jump.degrees, jump.degrees_plus_minus, sign="+") if jump else "")
    return cells


def html_of(analysis: Analysis, figure: str) -> str:
    """Returns the events, the segments of the dips and a figure as HTML."""
    about = analysis.about_record
    events = analysis.events
    parts = [f"<p><b>{html.escape(about.file)}</b>, {about.samples_per_cycle:g} samples per cycle of "
             f"{about.line_frequency_hz:g} Hz, {len(events)} event{'' if len(events) == 1 else 's'}</p>"]
    if events:
        head = ["event", "kind", "start (s)", "end (s)", "duration (ms)", "extreme (V)", "extreme (%)", "phases"]
        parts.append(_html_table(head, (_event_cells(event) for event in events)))
    segments = [(event, segment) for event in events if event.get("course") for segment in event["course"].segments]
    if segments:
        names = [voltage.phase if voltage else "" for voltage in analysis.voltages]
        highest = max(voltage.highest_rms_v or 0 for voltage in analysis.voltages if voltage)
        scale, unit = (1e-3, "kV") if highest >= 1e3 else (1, "V")
        head = ["segment", "start (s)", "end (s)", "type", *(f"{name} ({unit})" for name in names),
                *(f"jump {name} (°)" for name in names)]
        parts.append(_html_table(head, (_segment_cells(event, segment, scale) for event, segment in segments)))
    if figure:
        # A document inside another one has no XML declaration.
        parts.append(re.sub(r"^<\?xml[^>]*\?>\s*", "", figure))
    return "".join(parts)
