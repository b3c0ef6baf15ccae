import gc
import threading

import numpy as np
import pytest

import dipx


def test_channels_are_those_of_the_file(examples):
    record = dipx.read(examples / "rte_00.cfg")
    assert [(one.number, one.name, one.phase, one.unit, one.side) for one in record.channels] == [
        (1, "v1", "A", "V", "primary"), (2, "v2", "B", "V", "primary"), (3, "v3", "C", "V", "primary"),
        (4, "i1", "A", "A", "primary"), (5, "i2", "B", "A", "primary"), (6, "i3", "C", "A", "primary"),
    ]
    # The data file holds whole numbers of 16 bits after 8 bytes in each row; the configuration gives their scale.
    rows = np.fromfile(examples / "rte_00.dat", dtype=np.dtype([("head", "<u4", 2), ("values", "<i2", 6)]))
    np.testing.assert_array_equal(record["v1"].values, rows["values"][:, 0] * 18.31055)
    np.testing.assert_array_equal(record[4].values, rows["values"][:, 3] * 4.314)
    assert record.times[6400] == 1.0 and len(record) == 21000
    assert record.trigger_s == 0.25 and record.line_frequency_hz == 50
    assert record.clock(0.25) == "2000-01-01T00:00:00.250000"


def test_samples_are_float64_in_the_memory_of_the_record(examples):
    record = dipx.read(examples / "rte_00.cfg")
    again = dipx.Record(record._native)
    values = record["v1"].values
    assert values.dtype == np.float64 and not values.flags.owndata and not values.flags.writeable
    assert values.ctypes.data == again["v1"].values.ctypes.data
    with pytest.raises(ValueError):
        values[0] = 1


def test_samples_outlive_the_record(examples):
    values = dipx.read(examples / "rte_00.cfg")["v1"].values
    first = values[:100].copy()
    gc.collect()
    np.testing.assert_array_equal(values[:100], first)


def test_a_stretch_makes_the_rest_missing(examples):
    record = dipx.read(examples / "rte_00.cfg", from_s=1, to_s=2)
    values = record["v1"].values
    assert np.isnan(values[:6400]).all() and np.isnan(values[12800:]).all()
    assert np.isfinite(values[6400:12800]).all() and record.stretch == (1, 2)


def test_errors_name_file_and_place(tmp_path):
    missing = tmp_path / "missing.cfg"
    with pytest.raises(dipx.ReadError) as caught:
        dipx.read(missing)
    assert caught.value.file == str(missing) and str(missing) in str(caught.value)
    broken = tmp_path / "broken.csv"
    broken.write_text("t_s,Ua_V\n0,1\n0.001,oops\n0.002,2\n")
    with pytest.raises(dipx.ReadError) as caught:
        dipx.read(broken)
    assert (caught.value.file, caught.value.place) == (str(broken), "line 3")


def test_a_path_may_hold_any_bytes(tmp_path, examples):
    path = bytes(tmp_path) + b"/\xff\xc3.csv"
    with open(path, "wb") as file:
        file.write((examples / "rte_08_volts.csv").read_bytes())
    record = dipx.read(path, rate=6400)
    assert record.file.endswith("/\ufffd\ufffd.csv")
    assert dipx.measure(record).document["record"]["samples"] == len(record)


def test_a_dash_is_a_file(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    with pytest.raises(dipx.ReadError, match="./-"):
        dipx.read("-")


@pytest.mark.parametrize("options", [{"rate": 0.5}, {"rate": "fast"}, {"from_s": -1}, {"from_s": 2, "to_s": 1}])
def test_options_of_reading_are_checked(examples, options):
    with pytest.raises(dipx.OptionError):
        dipx.read(examples / "rte_00.cfg", **options)


def test_a_path_with_a_null_character_is_refused(tmp_path):
    (tmp_path / "x").write_text("t_s,Ua_V\n")
    with pytest.raises(dipx.OptionError):
        dipx.read(f"{tmp_path}/x\0y")


def test_nothing_in_a_stretch_is_told_in_terms_of_the_package(examples):
    with pytest.raises(dipx.AnalysisError, match="from_s= 100 s"):
        dipx.read(examples / "rte_00.cfg", from_s=100)


def test_threads_read_side_by_side(examples):
    records = []
    threads = [threading.Thread(target=lambda: records.append(dipx.read(examples / "rte_00.cfg"))) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert [len(record) for record in records] == [21000] * 4


def test_pandas_and_xarray_show_the_same_memory(examples):
    pytest.importorskip("pandas")
    pytest.importorskip("xarray")
    record = dipx.read(examples / "rte_00.cfg")
    frame, dataset = record.to_pandas(), record.to_xarray()
    assert list(frame.columns) == ["v1", "v2", "v3", "i1", "i2", "i3"] and frame.index.name == "time_s"
    assert frame.attrs["units"]["i1"] == "A" and dataset["v2"].attrs == {
        "units": "V", "phase": "B", "channel": 2, "side": "primary"}
    for values in (frame["v2"].to_numpy(), dataset["v2"].values):
        assert values.ctypes.data == record["v2"].values.ctypes.data


def test_channels_of_the_same_name_get_their_numbers():
    from dipx._record import _unique

    assert _unique(["U", "U", "", "U (2)"]) == ["U", "U (2)", "channel 3", "U (2) (4)"]


def test_digital_channels_have_their_changes(root):
    record = dipx.read(root / "fuzz" / "records" / "comtrade" / "1991.cff")
    for channel in record.digital_channels:
        state = channel.first_state
        for change in channel.changes:
            assert change.state != state
            state = change.state
