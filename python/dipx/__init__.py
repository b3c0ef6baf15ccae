"""Voltage dips, swells, interruptions and rapid voltage changes in waveform records.

    import dipx

    record = dipx.read("examples/rte_00.cfg")
    analysis = dipx.measure(record)
    for event in analysis.events:
        print(event.kind, event.start.time_s, event.duration_s, event.extreme.percent)

The names of all findings are those of the JSON document of the command (docs/analysis-json.md). Nothing is printed, and
the current folder never changes. Errors are exceptions derived from `dipx.Error`. pandas, xarray and Matplotlib are
needed only by the functions that return their objects.
"""

import atexit as _atexit

from . import _dipx
from ._analysis import Analysis, analyse, measure
from ._errors import AnalysisError, Error, HostError, MissingPackage, OptionError, ReadError
from ._findings import Course, Event, Findings, Segment
from ._host import Host, HostResult
from ._many import analyse_many
from ._record import Channel, DigitalChange, DigitalChannel, Record, Section, read
from ._tables import to_dataframe

__version__ = _dipx.version
__all__ = [
    "Analysis", "AnalysisError", "Channel", "Course", "DigitalChange", "DigitalChannel", "Error", "Event", "Findings",
    "Host", "HostError", "HostResult", "MissingPackage", "OptionError", "ReadError", "Record", "Section", "Segment",
    "analyse", "analyse_many", "measure", "read", "to_dataframe",
]

for _name in __all__:  # tracebacks and pickles name the classes as users do
    globals()[_name].__module__ = __name__
_atexit.register(_dipx.wait_for_abandoned)
