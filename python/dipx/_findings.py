"""Findings as objects whose attributes are the members of the JSON document (docs/analysis-json.md).

Voltages (`..._v`) are RMS values in volts, times (`..._s`) are seconds from the first sample of the record, and a member
`..._plus_minus` is the half width of the interval that holds the true value in 95 of 100 cases, in the unit of the
member whose name it extends. Lists per phase have three entries, which are None for voltages that were not analysed.
"""

from __future__ import annotations

from typing import Any, Dict, Iterator, List, Mapping, Optional


class Findings(Mapping[str, Any]):
    """An object of the JSON document: its members are both attributes and items.

    >>> place = Findings({"time_s": 0.25, "sample": 1600})
    >>> place.time_s, place["sample"], list(place)
    (0.25, 1600, ['time_s', 'sample'])
    """

    __slots__ = ("_members",)
    # Classes of the objects, or of the objects in the lists, that some members hold.
    _classes: Mapping[str, str] = {"events": "Event", "course": "Course", "segments": "Segment"}

    def __init__(self, members: Dict[str, Any]) -> None:
        self._members = members

    def __getitem__(self, name: str) -> Any:
        return self._wrapped(name, self._members[name])

    def _wrapped(self, name: str, value: Any) -> Any:
        if isinstance(value, list):
            return [self._wrapped(name, one) for one in value]
        if isinstance(value, dict):
            return _CLASSES.get(self._classes.get(name, ""), Findings)(value)
        return value

    def __getattr__(self, name: str) -> Any:
        if name.startswith("_"):
            raise AttributeError(name)
        try:
            return self[name]
        except KeyError:
            members = ", ".join(self._members)
            raise AttributeError(f"{type(self).__name__} has no member '{name}'; its members are {members}") from None

    def __iter__(self) -> Iterator[str]:
        return iter(self._members)

    def __len__(self) -> int:
        return len(self._members)

    def __dir__(self) -> List[str]:
        return [*super().__dir__(), *self._members]

    def __reduce__(self) -> Any:
        return type(self), (self._members,)

    def to_dict(self) -> Dict[str, Any]:
        """Returns the members as plain dictionaries and lists."""
        return self._members

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self._members!r})"


class Segment(Findings):
    """A stretch of a dip between two transitions. If `measured` is false, it has only the first five members."""

    __slots__ = ()
    number: int
    start_s: float
    end_s: Optional[float]  #: None if the dip goes on at the end of the record
    gradual: bool
    measured: bool
    below_threshold: str  #: letters of the voltages below 90 % of their voltage before
    voltage: List[Optional[Findings]]  #: per phase: `voltage_v`, `voltage_v_plus_minus`, `percent_of_before`, ...
    phase_jump: List[Optional[Findings]]  #: per phase: `degrees`, `degrees_plus_minus`
    sequences: Optional[Findings]
    unbalance_percent: Optional[float]
    type: Optional[Findings]  #: `letter`, `phases`, `characteristic_voltage`, `pn_factor`
    category: Optional[Findings]


class Course(Findings):
    """A dip on the waveform: when it begins and ends, and its segments and transitions."""

    __slots__ = ()
    start_s: Optional[float]
    start_s_plus_minus: Optional[float]
    end_s: Optional[float]
    end_s_plus_minus: Optional[float]
    duration_s: Optional[float]
    point_on_wave: Optional[List[Optional[Findings]]]
    frequency_hz: float
    frequency_before_hz: Optional[float]
    frequency_after_hz: Optional[float]
    level_before: Findings
    steepest_change: List[Optional[Findings]]
    lowest_of_six: Optional[Findings]
    segments: List[Segment]
    transitions: List[Findings]
    explained_percent: Optional[float]


class Event(Findings):
    """A dip, swell, interruption or rapid voltage change by the rules of IEC 61000-4-30.

    The members that only some kinds have, such as `course` of dips and `delta_max` of rapid voltage changes, are
    missing in the others; ``event.get("course")`` is then None.
    """

    __slots__ = ()
    number: int
    kind: str  #: "dip", "swell", "interruption" or "rapid_voltage_change"
    start: Findings  #: `time_s`, `sample`, `clock`, `from_trigger_s`, `known`
    end: Findings
    duration_s: Optional[float]
    duration_cycles: Optional[float]
    recorded_duration_s: float
    phases: str
    reference: Findings
    extreme: Findings  #: residual voltage, or highest one of a swell: `phase`, `voltage_v`, `percent`
    course: Optional[Course]

    def __repr__(self) -> str:
        end = "?" if self.end.time_s is None else f"{self.end.time_s:.4f}"
        return f"<dipx.Event {self.number}: {self.kind.replace('_', ' ')}, {self.start.time_s:.4f} s to {end} s>"


_CLASSES: Dict[str, Any] = {"Event": Event, "Course": Course, "Segment": Segment}
