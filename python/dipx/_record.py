"""Records: what a file holds."""

from __future__ import annotations

import html
import os
from typing import TYPE_CHECKING, Any, List, Mapping, NamedTuple, Optional, Sequence, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import _dipx
from ._errors import OptionError, needs
from ._options import number_within

if TYPE_CHECKING:  # only type checkers need the optional packages
    import pandas
    import xarray

Floats = npt.NDArray[np.float64]
Path = Union[str, bytes, "os.PathLike[str]"]

_HIGHEST_RATE = 1e8
_PHASES = ("A", "B", "C")
_PAIRS = ("AB", "BC", "CA")


class Channel(NamedTuple):
    """One analog channel of a record."""

    number: int  #: in the file, counted from 1
    name: str
    phase: str  #: phase field of the file, such as "A" or "L1"; empty if there is none
    unit: str  #: unit as the file gives it, such as "V" or "kA"; empty if there is none
    side: Optional[str]  #: "primary" or "secondary" if the file says which values it holds
    transformer_primary: float
    transformer_secondary: float
    skew_s: float  #: seconds by which the channel is sampled later than `Record.times` says
    values: Floats  #: shape (samples,), in `unit`; NaN where values are missing; cannot be written to


class DigitalChange(NamedTuple):
    """A change of a digital channel."""

    sample: int  #: the first row with the new state
    time_s: float  #: its time, seconds from the first sample of the record
    state: bool


class DigitalChannel(NamedTuple):
    """A channel of states, such as the position of a circuit breaker."""

    number: int
    name: str
    first_state: bool
    changes: Tuple[DigitalChange, ...]


class Section(NamedTuple):
    """A section of a record with one sampling rate."""

    first_sample: int
    samples: int
    sampling_rate_hz: float  #: NaN if neither the file nor its time stamps give it
    start_s: float  #: time of its first sample, seconds from the first sample of the record


def _unique(names: Sequence[str]) -> List[str]:
    """Makes names differ by appending the channel's number where an earlier channel has the same name."""
    seen: List[str] = []
    for number, name in enumerate(names, 1):
        unique = name or f"channel {number}"
        while unique in seen:
            unique = f"{unique} ({number})"
        seen.append(unique)
    return seen


class Record:
    """A waveform record: channels of samples with the file's description of them.

    Records come from `read` or `Record.from_arrays`. They never change, and arrays of their samples show the memory
    of the record itself, which they keep alive.

    >>> record = read("examples/rte_00.cfg")
    >>> record
    <dipx.Record examples/rte_00.cfg: 6 channels of 21000 samples>
    >>> record.channels[0].name, record.channels[0].unit, record.channels[0].values.shape
    ('v1', 'V', (21000,))
    >>> record["v1"] is not None and record.times[-1]
    3.28109375
    """

    def __init__(self, native: _dipx.Record) -> None:
        self._native = native
        self._channels = tuple(
            Channel(number, one["name"], one["phase"], one["unit"], one["side"], one["transformer_primary"],
                    one["transformer_secondary"], one["skew_s"], native.samples(number - 1))
            for number, one in enumerate(native.channels(), 1)
        )
        self._times: Optional[Floats] = None

    @classmethod
    def from_arrays(
        cls,
        arrays: Union[npt.ArrayLike, Mapping[str, npt.ArrayLike]],
        rate: float,
        *,
        line_to_line: bool = False,
        start_time: str = "",
        name: str = "arrays",
    ) -> "Record":
        """Makes a record of arrays, whose samples are copied.

        Args:
            arrays: voltages in volts: an array of shape (phases, samples), a sequence of one to three arrays of shape
                (samples,), or a mapping from channel names to such arrays (of which those with names of currents, such
                as "Ia", are amperes). NaN marks missing values.
            rate: samples per second.
            line_to_line: the voltages are AB, BC and CA instead of A, B and C.
            start_time: date and time of the first sample, such as "2024-05-17T13:45:00.250".
            name: what messages call the record.

        >>> import numpy as np
        >>> t = np.arange(6400) / 6400
        >>> record = Record.from_arrays([325 * np.sin(2 * np.pi * 50 * t)], rate=6400)
        >>> len(record.channels), len(record)
        (1, 6400)
        """
        number_within("rate", rate, 1, _HIGHEST_RATE)
        if isinstance(arrays, Mapping):
            named = [(str(key), np.ascontiguousarray(values, dtype=np.float64)) for key, values in arrays.items()]
            channels = [(key, "", "A" if key[:1] in "iI" else "V", values) for key, values in named]
        else:
            rows = [np.ascontiguousarray(values, dtype=np.float64) for values in np.atleast_1d(arrays)] \
                if isinstance(arrays, np.ndarray) and arrays.ndim == 2 \
                else [np.ascontiguousarray(values, dtype=np.float64) for values in _sequence(arrays)]
            if len(rows) > len(_PHASES):
                raise OptionError(f"there are {len(rows)} arrays; pass one to three voltages, or a mapping with names")
            letters = _PAIRS if line_to_line else _PHASES
            channels = [("U" + letters[i].lower(), letters[i], "V", values) for i, values in enumerate(rows)]
        if not channels:
            raise OptionError("there are no arrays; pass one to three voltages")
        for key, _, _, values in channels:
            if values.ndim != 1 or values.shape != channels[0][3].shape or values.size == 0:
                raise OptionError(
                    f"{key} has the shape {values.shape}; all voltages need one dimension and the same number of samples"
                )
        return cls(_dipx.from_arrays(channels, float(rate), name, start_time))

    # --- what the file says -------------------------------------------------------------------------------------------

    @property
    def file(self) -> str:
        """The file as it was named."""
        return self._native.file

    @property
    def sources(self) -> List[str]:
        """The files that the record was read from."""
        return self._native.sources

    @property
    def format(self) -> str:
        """Such as "COMTRADE 1999 BINARY", "PQDIF 1.5" or "CSV"."""
        return self._native.format

    @property
    def station(self) -> str:
        """The station as the file names it; empty if it does not."""
        return self._native.station

    @property
    def device(self) -> str:
        """The device as the file names it; empty if it does not."""
        return self._native.device

    @property
    def start_time(self) -> str:
        """Date and time of the first sample as the file writes them; empty if it does not."""
        return self._native.start_time

    @property
    def trigger_time(self) -> str:
        """Date and time of the trigger as the file writes them; empty if it does not."""
        return self._native.trigger_time

    @property
    def time_zone(self) -> str:
        """Offset from UTC as the file writes it, such as "+5h30"; empty if it does not."""
        return self._native.time_zone

    @property
    def trigger_s(self) -> Optional[float]:
        """Time of the trigger, seconds from the first sample; None if there is none within the record."""
        return self._native.trigger_s

    @property
    def line_frequency_hz(self) -> Optional[float]:
        """Nominal line frequency, hertz; None if the file does not say."""
        return self._native.line_frequency or None

    @property
    def notes(self) -> List[str]:
        """What is unusual in the file or had to be assumed, one sentence each."""
        return self._native.notes

    @property
    def stretch(self) -> Optional[Tuple[float, float]]:
        """The stretch that `from_s` and `to_s` chose, seconds from the first sample; None if they were not given."""
        return self._native.stretch

    # --- samples ------------------------------------------------------------------------------------------------------

    @property
    def channels(self) -> Tuple[Channel, ...]:
        """All analog channels, in the order of the file."""
        return self._channels

    @property
    def digital_channels(self) -> Tuple[DigitalChannel, ...]:
        """All digital channels with their changes."""
        return tuple(
            DigitalChannel(number, name, first, tuple(DigitalChange(*change) for change in changes))
            for number, (name, first, changes) in enumerate(self._native.digitals(), 1)
        )

    @property
    def sections(self) -> Tuple[Section, ...]:
        """The sections of the record, each with one sampling rate."""
        return tuple(
            Section(begin, end - begin, rate if rate > 0 else float("nan"), start)
            for begin, end, rate, start in self._native.sections()
        )

    @property
    def times(self) -> Floats:
        """Times of the samples, seconds from the first sample, shape (samples,); NaN where the rate is not known."""
        if self._times is None:
            times = np.full(len(self), np.nan)
            for begin, samples, rate, start in self.sections:
                times[begin:begin + samples] = start + np.arange(samples) / rate
            times.setflags(write=False)
            self._times = times
        return self._times

    def clock(self, seconds: float = 0.0) -> Optional[str]:
        """Returns date and time of day in ISO 8601 at a time in seconds from the first sample.

        It ends in the offset from UTC if the file gives it. None if the file gives no date and time.
        """
        return self._native.clock(seconds) or None

    def __len__(self) -> int:
        """Returns the number of samples per channel."""
        return self._native.length

    def __getitem__(self, channel: Union[str, int]) -> Channel:
        """Returns the first channel of a name, or that of a number counted from 1 as in the file.

        Raises KeyError if there is none.
        """
        for one in self._channels:
            if channel in (one.name, one.number):
                return one
        names = ", ".join(one.name for one in self._channels[:20])
        raise KeyError(f"{self.file} has no channel {channel!r}; its channels are {names}")

    # --- other forms --------------------------------------------------------------------------------------------------

    def to_pandas(self) -> "pandas.DataFrame":
        """Returns a DataFrame with one column per channel and the times in seconds as index `time_s`.

        ``attrs["units"]`` has the unit of each column. Channels of the same name get their number appended. The columns
        show the memory of the record as long as nothing is written to them. Needs pandas.
        """
        pandas = needs("pandas", "Record.to_pandas")
        names = _unique([channel.name for channel in self._channels])
        frame = pandas.DataFrame(
            {name: channel.values for name, channel in zip(names, self._channels)},
            index=pandas.Index(self.times, name="time_s"), copy=False,
        )
        frame.attrs.update(self._attributes())
        frame.attrs["units"] = {name: channel.unit for name, channel in zip(names, self._channels)}
        return frame

    def to_xarray(self) -> "xarray.Dataset":
        """Returns a Dataset with one variable per channel over the dimension `time` (seconds from the first sample).

        The variables have the attributes `units`, `phase`, `side` and `channel` (the number in the file). They show the
        memory of the record without a copy. Needs xarray.
        """
        xarray_module = needs("xarray", "Record.to_xarray")
        variables = {}
        for name, one in zip(_unique([channel.name for channel in self._channels]), self._channels):
            attributes = {"units": one.unit, "phase": one.phase, "channel": one.number}
            if one.side:
                attributes["side"] = one.side
            variables[name] = xarray_module.Variable(("time",), one.values, attributes)
        time = xarray_module.Variable(("time",), self.times, {"units": "s"})
        dataset: "xarray.Dataset" = xarray_module.Dataset(variables, coords={"time": time}, attrs=self._attributes())
        return dataset

    def _attributes(self) -> "dict[str, Any]":
        return {"file": self.file, "format": self.format, "station": self.station, "device": self.device,
                "start_time": self.start_time, "time_zone": self.time_zone}

    def __repr__(self) -> str:
        channels = len(self._channels)
        return f"<dipx.Record {self.file}: {channels} channel{'' if channels == 1 else 's'} of {len(self)} samples>"

    def _repr_html_(self) -> str:
        rows = "".join(
            f"<tr><td>{one.number}</td><td>{html.escape(one.name)}</td><td>{html.escape(one.phase)}</td>"
            f"<td>{html.escape(one.unit)}</td></tr>" for one in self._channels
        )
        rate = ", ".join(f"{section.sampling_rate_hz:g}" for section in self.sections[:3])
        return (
            f"<p><b>{html.escape(self.file)}</b><br>{html.escape(self.format)}, {len(self)} samples at {rate} Hz"
            f"{', from ' + html.escape(self.clock() or '') if self.clock() else ''}</p>"
            f"<table><thead><tr><th>channel</th><th>name</th><th>phase</th><th>unit</th></tr></thead>"
            f"<tbody>{rows}</tbody></table>"
        )


def _sequence(arrays: Any) -> List[Any]:
    """Returns the arrays of a sequence; a single array of one dimension is one voltage."""
    if isinstance(arrays, np.ndarray):
        return [arrays]
    listed = list(arrays)
    return [listed] if listed and np.isscalar(listed[0]) else listed


def read(
    path: Path,
    *,
    rate: Optional[float] = None,
    charset: Optional[str] = None,
    from_s: Optional[float] = None,
    to_s: Optional[float] = None,
) -> Record:
    """Reads a COMTRADE record, a PQDIF file or a CSV file, each of which may be in a zip or gzip file.

    Args:
        path: the .cfg, .dat or .cff file of a COMTRADE record, a PQDIF file or a CSV file; or a record in a zip file,
            as in "archive.zip:folder/record.cfg". It is taken literally; "-" is not standard input.
        rate: samples per second, in place of what the file and its time stamps say.
        charset: character set of the names in the file, such as "GBK", if the guess is wrong.
        from_s, to_s: use the record only from and up to these times, seconds from its first sample. Samples outside
            become NaN.

    Raises:
        ReadError: the file cannot be read; the exception has `file` and `place`.
        AnalysisError: nothing of the record is between `from_s` and `to_s`.

    The interpreter's lock is released while the file is read, and Ctrl-C works.

    >>> read("no/such.cfg")
    Traceback (most recent call last):
    ...
    dipx.ReadError: no/such.cfg: it does not exist; check the path
    """
    return Record(native_read(path, rate=rate, charset=charset, from_s=from_s, to_s=to_s))


def native_read(
    path: Path,
    choice: Optional[_dipx.Options] = None,
    *,
    rate: Optional[float] = None,
    charset: Optional[str] = None,
    from_s: Optional[float] = None,
    to_s: Optional[float] = None,
) -> _dipx.Record:
    """Reads all channels, or those that an analysis with `choice` needs."""
    number_within("rate", rate, 1, _HIGHEST_RATE)
    number_within("from_s", from_s, 0, 1e9)
    number_within("to_s", to_s, 0, 1e9)
    if from_s is not None and to_s is not None and not from_s < to_s:
        raise OptionError(f"from_s={from_s:g} is not less than to_s={to_s:g}")
    name = os.fsencode(path)
    if b"\0" in name:
        raise OptionError(f"path={path!r} holds a null character; no file has such a name")
    return _dipx.read(b"./-" if name == b"-" else name, rate or 0.0, charset or "", from_s, to_s, choice)
