"""Analyses: the events of a record and their figures."""

from __future__ import annotations

import inspect
import json
from typing import TYPE_CHECKING, Any, Dict, Iterable, List, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _dipx
from ._errors import AnalysisError, OptionError
from ._findings import Event, Findings, Segment
from ._options import Curves, options_of
from ._record import Floats, Path, Record, native_read

if TYPE_CHECKING:  # only type checkers need the optional packages
    import matplotlib.axes
    import matplotlib.figure
    import pandas

_READ_OPTIONS = ("rate", "charset", "from_s", "to_s")


class Analysis:
    """The findings in one record: what ``dipx analyse --json`` prints, and figures of it.

    >>> analysis = measure(read("examples/rte_00.cfg"))
    >>> analysis.events
    [<dipx.Event 1: dip, 0.2636 s to 0.5713 s>, <dipx.Event 2: swell, 0.2667 s to 0.5684 s>]
    >>> dip = analysis.events[0]
    >>> dip.extreme.voltage_v, dip.extreme.percent, dip.duration_s
    (18194.5, 29.089, 0.307724)
    >>> voltage = dip.course.segments[0].voltage[0]
    >>> voltage.voltage_v, voltage.voltage_v_plus_minus
    (20455.4, 230.249)

    Analyses can be pickled. A copy has all findings; for plots it reads its file again.
    """

    def __init__(self, native: _dipx.Analysis, record: Record, how: "Optional[Tuple[Path, Dict[str, Any]]]" = None) -> None:
        self._native: Optional[_dipx.Analysis] = native
        self._record: Optional[Record] = record
        self._how = how
        self._json = native.json()
        self._text = native.text()
        self._document: Optional[Dict[str, Any]] = None

    # --- findings -----------------------------------------------------------------------------------------------------

    @property
    def document(self) -> Dict[str, Any]:
        """The whole JSON document as dictionaries and lists; docs/analysis-json.md describes its members."""
        if self._document is None:
            self._document = json.loads(self._json)
        return self._document

    def to_json(self) -> str:
        """Returns the JSON document on one line, as ``dipx analyse --json-lines`` prints it."""
        return self._json.rstrip("\n")

    @property
    def events(self) -> List[Event]:
        """All events in the order of their starts."""
        return [Event(event) for event in self.document["events"]]

    @property
    def dips(self) -> List[Event]:
        """The dips among the events."""
        return [event for event in self.events if event.kind == "dip"]

    @property
    def segments(self) -> List[Segment]:
        """The segments of all dips that were measured on the waveform, in order."""
        return [segment for event in self.events if event.get("course") for segment in event["course"].segments]

    @property
    def about_record(self) -> Findings:
        """The member `record` of the document: file, station, start, sampling rate, part and set."""
        return Findings(self.document["record"])

    @property
    def voltages(self) -> List[Optional[Findings]]:
        """The analysed voltages per phase: `channel`, `name`, `usual_rms_v`, `reference_v` and others."""
        return [Findings(voltage) if voltage else None for voltage in self.document["voltages"]]

    @property
    def changes_without_event(self) -> List[Findings]:
        """Changes of the voltage that belong to no event."""
        return [Findings(change) for change in self.document["changes_without_event"]]

    @property
    def notes(self) -> List[str]:
        """What a user should know about the record or its analysis, one sentence each."""
        return list(self.document["notes"])

    @property
    def record(self) -> Record:
        """The record that was analysed. A copy of an analysis reads it again."""
        self._with_samples()
        assert self._record is not None
        return self._record

    # --- figures ------------------------------------------------------------------------------------------------------

    def curves(self) -> Tuple[Floats, Floats, Floats]:
        """Returns times, waveforms and one-cycle RMS of the analysed voltages.

        Returns:
            Three arrays: times in seconds from the first sample of the record, shape (samples,); instantaneous values
            in volts, shape (phases, samples), which are empty if the record holds RMS values; and RMS values in volts
            over the cycle that ends at each sample, shape (phases, samples). Missing values are NaN.
        """
        volts, rms = self._with_samples().curves()
        part = self.document["record"]["part"]
        length = rms.shape[-1]
        times = part["start_s"] + np.arange(length) / self.document["record"]["sampling_rate_hz"]
        return times, volts, rms

    def to_svg(self, event: Optional[int] = None) -> str:
        """Returns the figure of an event (its `number`; 1 if not given) as an SVG document 84 mm wide.

        It is the figure of ``dipx analyse --svg``. Raises AnalysisError if there is no such event.
        """
        count = len(self.document["events"])
        number = 1 if event is None else event
        if not 1 <= number <= max(count, 1):
            raise AnalysisError(f"{self.about_record.file}: there is no event {event}; the record has {count} events",
                                self.about_record.file)
        return self._with_samples().svg(number - 1)

    def plot(
        self, event: Optional[int] = None, axes: "Optional[Tuple[matplotlib.axes.Axes, matplotlib.axes.Axes]]" = None
    ) -> "matplotlib.figure.Figure":
        """Draws waveform and one-cycle RMS with Matplotlib and returns the figure.

        Args:
            event: the `number` of the event to show; without it the whole analysed part is shown.
            axes: two axes for waveform and RMS; without them a new figure is made.

        Needs Matplotlib.
        """
        from ._plot import plot

        return plot(self, event, axes)

    # --- other forms --------------------------------------------------------------------------------------------------

    def to_dataframe(self) -> "pandas.DataFrame":
        """Returns a table with one row per segment; see `dipx.to_dataframe`."""
        from ._tables import to_dataframe

        return to_dataframe([self])

    def __str__(self) -> str:
        """Returns the text that ``dipx analyse`` prints."""
        return self._text.rstrip("\n")

    def __repr__(self) -> str:
        count = len(self.document["events"])
        return f"<dipx.Analysis {self.about_record.file}: {count} event{'' if count == 1 else 's'}>"

    def _repr_html_(self) -> str:
        from ._tables import html_of

        figure = self.to_svg() if self._native is not None and _drawable(self.document) else ""
        return html_of(self, figure)

    # --- copies -------------------------------------------------------------------------------------------------------

    def _with_samples(self) -> _dipx.Analysis:
        if self._native is None:
            if self._how is None:
                raise AnalysisError(
                    f"{self.about_record.file}: this copy of an analysis of arrays has no samples; measure them again"
                )
            again = analyse(self._how[0], **self._how[1])
            self._native, self._record = again._native, again._record
        assert self._native is not None
        return self._native

    def __getstate__(self) -> Dict[str, Any]:
        return {**self.__dict__, "_native": None, "_record": None, "_document": None}


def _drawable(document: Dict[str, Any]) -> bool:
    """Whether the figure is made without being asked for, which takes too long for the longest records."""
    return int(document["record"]["part"]["samples"]) <= 2_000_000


def measure(
    record: Union[Record, npt.ArrayLike, Dict[str, npt.ArrayLike]],
    rate: Optional[float] = None,
    *,
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
) -> Analysis:
    """Finds and measures the events of a record, or of voltages in arrays.

    Args:
        record: a Record, or voltages in volts as `Record.from_arrays` takes them, which are copied.
        rate: samples per second of the arrays; not with a Record, whose rate is an option of `read`.
        frequency: nominal line frequency, 10 to 100 Hz, if the record does not say it or is wrong.
        nominal: declared voltage in volts, or as text such as "20kV", "20kV:line" or "230:phase".
        reference: voltage to which the thresholds refer: "declared" (the default with `nominal`), "sliding" or
            "pre-event" (the default without).
        channels: one to three voltages by name or number, as "1,2,3" or as a list.
        set, part: numbers of the voltage set and of the part of the record, counted from 1. Without them the set with
            the worst event and a part with a dip are analysed.
        line_to_line: analyse the voltages between phases.
        dip_threshold, swell_threshold, interruption_threshold, hysteresis: per cent of the reference.
        rvc_threshold: threshold of rapid voltage changes, per cent; 0 disables the search for them.
        curves: files with your own voltage-tolerance curves, as for ``--curve``.
        through: vector groups of transformers to a load, such as "Dyn11", as for ``--through``.

    Raises:
        AnalysisError: the record holds too little, or no such channels, set or part.
        ReadError: the record has no usable voltages.
        OptionError: an option has a value that cannot be used.

    The interpreter's lock is released during the analysis, and Ctrl-C works.

    >>> import numpy as np
    >>> t = np.arange(12800) / 6400
    >>> depth = np.where((t > 1.0) & (t < 1.2), 0.4, 1.0)
    >>> volts = [230 * 2**0.5 * depth * np.sin(2 * np.pi * 50 * t - angle) for angle in np.radians([0, 120, 240])]
    >>> analysis = measure(volts, rate=6400, nominal=230)
    >>> [(event.kind, round(event.extreme.percent)) for event in analysis.events]
    [('dip', 40)]
    """
    if isinstance(record, Record):
        if rate is not None:
            raise OptionError("rate is only for arrays; give the rate of a file to dipx.read(path, rate=...)")
        measured = record
    else:
        if rate is None:
            raise OptionError("rate is missing; give the samples per second of the arrays")
        measured = Record.from_arrays(record, rate, line_to_line=line_to_line)
    options = options_of(
        frequency, nominal, reference, channels, set, part, line_to_line, dip_threshold, swell_threshold,
        interruption_threshold, hysteresis, rvc_threshold, curves, through,
    )
    return Analysis(_dipx.measure(measured._native, options), measured)


def check_names(options: Dict[str, Any], function: str) -> None:
    """Raises TypeError for an option that neither `read` nor `measure` has."""
    for name in options:
        if name not in _READ_OPTIONS and name not in inspect.signature(options_of).parameters:
            raise TypeError(f"{function}() got an unexpected keyword argument '{name}'")


def analyse(path: Path, **options: Any) -> Analysis:
    """Reads a file and measures it; the options are those of `read` and `measure`.

    Only the channels that the analysis needs are read, so this is faster than the two functions for a file with many
    channels; the other channels of the record are empty.

    >>> analyse("examples/rte_08_volts.csv", frequency=50)
    <dipx.Analysis examples/rte_08_volts.csv: 1 event>
    """
    check_names(options, "analyse")
    reading = {name: options[name] for name in _READ_OPTIONS if name in options}
    chosen = options_of(**{name: value for name, value in options.items() if name not in reading})
    record = Record(native_read(path, chosen, **reading))
    return Analysis(_dipx.measure(record._native, chosen), record, (path, options))
