"""Record interface from Python: python3 record_host.py FILE.csv SAMPLES_PER_CYCLE RATIO prints the dips of a record."""
import csv, ctypes, sys
from ctypes import c_float, c_int

MANY, SAMPLES = 256, 768000  # DIPX_SEGMENT_CAPACITY and DIPX_SAMPLE_CAPACITY
INTS, FLOATS = c_int * MANY, c_float * MANY
class Dip(ctypes.Structure):  # dipx_event_record; neighbours of one type are one array here
    _fields_ = [("cause_phasetype", INTS * 2), ("category", INTS), ("seconds_rms", c_float), ("seconds", c_float),
                ("degrees_on_wave", c_float * 3), ("change", c_float * 3), ("boundaries", c_int), ("crossing", INTS),
                ("boundary", INTS), ("rms_count", c_int), ("rms_boundary", INTS), ("segments", c_int),
                ("volts", FLOATS * 3), ("lowest", FLOATS), ("lowest_at", INTS), ("jumps", FLOATS * 6),
                ("unbalance", FLOATS)]
class Record(ctypes.Structure):  # dipx_data_struct
    _fields_ = [("volts", c_float * SAMPLES * 3), ("rate", c_int), ("length", c_int), ("count", c_int),
                ("dips", Dip * 32)]

rows = [row for row in csv.reader(open(sys.argv[1])) if row[0][0].isdigit()][:SAMPLES]
record = Record(rate=int(sys.argv[2]), length=len(rows))
for phase in range(3):
    record.volts[phase][:len(rows)] = [float(row[1 + phase]) / float(sys.argv[3]) for row in rows]
ctypes.CDLL("libdipx.so.1").dipx_fun(ctypes.byref(record))  # prints its lines and writes dipx_result.txt
for dip in record.dips[:record.count]:
    lowest = [f"{int(sys.argv[3]) * volts / 1000:.2f} kV" for volts in dip.lowest[:dip.segments]]
    print(f"{1000 * dip.seconds:.1f} ms, lowest voltage of each segment: {', '.join(lowest)}", file=sys.stderr)
