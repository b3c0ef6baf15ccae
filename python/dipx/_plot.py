"""Figures by Matplotlib."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any, List, Optional, Tuple

import numpy as np

from ._analysis import Analysis
from ._errors import AnalysisError, needs
from ._findings import Event

if TYPE_CHECKING:  # only type checkers need Matplotlib
    import matplotlib.axes
    import matplotlib.figure

# Colours that people with deficient colour vision can tell apart (Okabe and Ito).
_COLOURS = ("#0072b2", "#d55e00", "#009e73")
_SHADES = {"dip": "#e69f00", "interruption": "#cc79a7", "swell": "#56b4e9", "rapid_voltage_change": "#999999"}
_MARGIN_CYCLES = 4


def _shown_time(analysis: Analysis, event: Event, last: float) -> Tuple[float, float]:
    margin = _MARGIN_CYCLES / analysis.about_record.line_frequency_hz
    end = event.end.time_s if event.end.time_s is not None else last
    return event.start.time_s - margin, end + margin


def _shade_events(events: List[Event], axes: Any, last: float) -> None:
    for event in events:
        end = event.end.time_s if event.end.time_s is not None else last
        axes.axvspan(event.start.time_s, end, color=_SHADES[event.kind], alpha=0.15, linewidth=0)


def _mark_segments(event: Event, axes: Any) -> None:
    for transition in (event.get("course") or {}).get("transitions", []):
        axes.axvspan(transition.start_s, transition.end_s, color="0.5", alpha=0.35, linewidth=0)


def _draw_thresholds(analysis: Analysis, axes: Any, scale: float) -> None:
    """Draws the thresholds where all voltages have nearly the same reference; it may differ between voltages."""
    references = [voltage.reference_v for voltage in analysis.voltages if voltage and voltage.reference_v]
    if not references or analysis.document["parameters"]["reference"] == "sliding":
        return
    parameters = analysis.document["parameters"]
    for name in ("dip_threshold_percent", "swell_threshold_percent"):
        level = scale * parameters[name] / 100 * float(np.mean(references))
        axes.axhline(level, color="0.4", linewidth=0.8, linestyle="--")


def plot(
    analysis: Analysis, number: Optional[int], axes: "Optional[Tuple[matplotlib.axes.Axes, matplotlib.axes.Axes]]"
) -> "matplotlib.figure.Figure":
    """Draws waveform and RMS of an event, or of the whole part."""
    needs("matplotlib", "Analysis.plot")
    events = analysis.events
    if number is not None and not 1 <= number <= len(events):
        file = analysis.about_record.file
        raise AnalysisError(f"{file}: there is no event {number}; the record has {len(events)} events", file)
    event = events[number - 1] if number is not None else None
    times, volts, rms = analysis.curves()
    if axes is None:
        # A figure that is not registered with pyplot neither opens a window nor has to be closed.
        from matplotlib.figure import Figure

        figure = Figure(figsize=(8, 5), layout="constrained")
        upper, lower = figure.subplots(2, 1, sharex=True)
    else:
        upper, lower = axes
        figure = upper.figure
    shown = slice(None)
    if event is not None:
        begin, end = _shown_time(analysis, event, times[-1])
        shown = slice(int(np.searchsorted(times, begin)), int(np.searchsorted(times, end, side="right")))
    largest = float(np.nanmax(rms[:, shown])) if np.isfinite(rms[:, shown]).any() else 1.0
    scale, unit = (1e-3, "kV") if largest >= 1e3 else (1.0, "V")
    names = [voltage.get("name") or voltage.phase for voltage in analysis.voltages if voltage]
    for i, name in enumerate(names):
        if volts.size:
            upper.plot(times[shown], scale * volts[i, shown], color=_COLOURS[i], linewidth=0.8, label=name)
        lower.plot(times[shown], scale * rms[i, shown], color=_COLOURS[i], linewidth=1.2, label=name)
    for one in (upper, lower):
        _shade_events([event] if event is not None else events, one, float(times[-1]))
        if event is not None:
            _mark_segments(event, one)
    _draw_thresholds(analysis, lower, scale)
    upper.set_ylabel(f"voltage ({unit})")
    lower.set_ylabel(f"one-cycle RMS ({unit})")
    lower.set_xlabel("time (s)")
    lower.set_ylim(bottom=0)
    lower.set_xlim(float(times[shown][0]), float(times[shown][-1]))
    lower.legend(loc="lower left", ncols=len(names), fontsize="small")
    title = analysis.about_record.file
    upper.set_title(f"{title}: event {number}, {event.kind.replace('_', ' ')}" if event is not None else title,
                    fontsize="medium")
    return figure
