"""Record interface from Python: python3 record_host.py FILE.csv SAMPLES_PER_CYCLE RATIO prints the dips of a record."""
import sys
from ctypes import CDLL, Structure, byref, c_float, c_int

class Dip(Structure):  # dipx_event_record: members of four bytes, of which this program reads three
    _fields_ = [("skipped", c_int * 769), ("seconds", c_float), ("skipped_2", c_int * 776), ("segments", c_int),
                ("skipped_3", c_int * 768), ("lowest", c_float * 256), ("skipped_4", c_int * 2048)]
class Record(Structure):  # dipx_data_struct
    _fields_ = [("volts", c_float * 768000 * 3), ("samples_per_cycle", c_int), ("length", c_int),
                ("count", c_int), ("dips", Dip * 32)]

ratio = float(sys.argv[3])
with open(sys.argv[1]) as table:
    rows = [line.split(",") for line in table][1:]  # without the heading
record = Record(samples_per_cycle=int(sys.argv[2]), length=len(rows))
for phase in range(3):
    record.volts[phase][:len(rows)] = [float(row[1 + phase]) / ratio for row in rows]
CDLL("libdipx.so.1").dipx_fun(byref(record))  # prints its lines and writes dipx_result.txt
for dip in record.dips[:record.count]:
    lowest = ", ".join(f"{volts * ratio / 1000:.2f} kV" for volts in dip.lowest[:dip.segments])
    print(f"{1000 * dip.seconds:.1f} ms, lowest voltage of each segment: {lowest}", file=sys.stderr)
