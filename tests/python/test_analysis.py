import json
import pickle
from datetime import datetime, timedelta, timezone

import numpy as np
import pytest

import dipx

RATE = 6400
EXAMPLES = [("rte_00.cfg", [], {}), ("rte_00.cfg", ["--nominal", "110kV:line", "--through", "Dyn11"],
                                     {"nominal": "110kV:line", "through": "Dyn11"}),
            ("rte_00.cfg", ["--line-to-line", "--dip-threshold", "85", "--hysteresis", "1"],
             {"line_to_line": True, "dip_threshold": 85, "hysteresis": 1}),
            ("rte_00.cfg", ["--channels", "v1,v3", "--reference", "sliding", "--rvc-threshold", "5"],
             {"channels": ["v1", "v3"], "reference": "sliding", "rvc_threshold": 5}),
            ("rte_08_volts.csv", ["--frequency", "50"], {"frequency": 50})]


def three_phases(share, seconds, level=230.0):
    """Voltages of 50 Hz whose RMS is `level` times `share`, a function of time."""
    t = np.arange(int(seconds * RATE)) / RATE
    return [level * 2**0.5 * share(t) * np.sin(2 * np.pi * 50 * t - angle) for angle in np.radians([0, 120, 240])]


@pytest.mark.parametrize("name, arguments, options", EXAMPLES)
def test_findings_equal_those_of_the_command(examples, command, name, arguments, options):
    file = examples / name
    printed = json.loads(command("analyse", "--json", *arguments, file))
    assert len(printed["events"]) > 0
    assert dipx.measure(dipx.read(file), **options).document == printed
    assert dipx.analyse(file, **options).document == printed


def test_findings_of_a_stretch_equal_those_of_the_command(examples, command):
    file = examples / "rte_00.cfg"
    printed = json.loads(command("analyse", "--json", "--from", "0.1", "--to", "1", file))
    assert dipx.analyse(file, from_s=0.1, to_s=1).document == printed


def test_text_and_figure_equal_those_of_the_command(examples, command, tmp_path):
    file = examples / "rte_00.cfg"
    analysis = dipx.measure(dipx.read(file))
    assert str(analysis) + "\n" == command("analyse", file).decode()
    command("analyse", "--svg", tmp_path / "figure.svg", "--event", "2", file)
    assert analysis.to_svg(2) == (tmp_path / "figure.svg").read_text()


def test_arrays_are_measured_like_any_record():
    # 20 cycles at 40 % from a zero crossing on: Urms(1/2) is known in closed form.
    volts = three_phases(lambda t: np.where((t >= 1) & (t < 1.4), 0.4, 1.0), 3)
    analysis = dipx.measure(volts, RATE, frequency=50, nominal=230)
    (dip,) = analysis.events
    assert dip.kind == "dip" and dip.phases == "ABC"
    assert dip.extreme.voltage_v == pytest.approx(92, rel=1e-5)
    assert dip.course.start_s == pytest.approx(1, abs=dip.course.start_s_plus_minus)
    assert dip.course.end_s == pytest.approx(1.4, abs=dip.course.end_s_plus_minus)
    (segment,) = analysis.segments
    for voltage in segment.voltage:
        assert voltage.voltage_v == pytest.approx(92, abs=voltage.voltage_v_plus_minus)
    assert segment.type.letter == "A"


def test_forms_of_arrays_give_the_same_findings():
    volts = three_phases(lambda t: np.where((t >= 1) & (t < 1.4), 0.4, 1.0), 2)
    wanted = dipx.measure(volts, RATE, frequency=50).events
    assert dipx.measure(np.array(volts), RATE, frequency=50).events == wanted
    assert dipx.measure(dict(zip(("Ua", "Ub", "Uc"), volts)), RATE, frequency=50).events == wanted
    (single,) = dipx.measure(volts[0], RATE, frequency=50).dips
    assert single.phases == "A"


def test_line_to_line_arrays_are_voltages_between_phases():
    volts = three_phases(lambda t: np.where((t >= 1) & (t < 1.4), 0.4, 1.0), 2, level=400)
    analysis = dipx.measure(volts, RATE, frequency=50, line_to_line=True)
    assert analysis.document["line_to_line"] is True
    assert [voltage.phase for voltage in analysis.voltages] == ["AB", "BC", "CA"]
    assert "computed_from" not in analysis.voltages[0]


@pytest.mark.parametrize("arrays, options", [
    ([np.ones(10), np.ones(11)], {"rate": RATE}), ([np.ones((2, 5))] * 3, {"rate": RATE}), ([np.ones(9)] * 4, {"rate": RATE}),
    ([], {"rate": RATE}), ([np.ones(0)], {"rate": RATE}), ([np.ones(100)], {}), ([np.ones(100)], {"rate": 0}),
    ([np.ones(100)], {"rate": RATE, "nominal": "many"}), ([np.ones(100)], {"rate": RATE, "nominal": "20kV:phases"}),
    ([np.ones(100)], {"rate": RATE, "nominal": -230}), ([np.ones(100)], {"rate": RATE, "frequency": 5}),
    ([np.ones(100)], {"rate": RATE, "dip_threshold": 95, "swell_threshold": 100, "hysteresis": 6}),
    ([np.ones(100)], {"rate": RATE, "reference": "declared"}), ([np.ones(100)], {"rate": RATE, "reference": "mine"}),
    ([np.ones(100)], {"rate": RATE, "through": "Dx1"}), ([np.ones(100)], {"rate": RATE, "set": 0}),
    ([np.ones(100)], {"rate": RATE, "channels": "1", "set": 1}), ([np.ones(100)], {"rate": RATE, "curves": "no/such"}),
])
def test_options_are_checked(arrays, options):
    with pytest.raises(dipx.OptionError):
        dipx.measure(arrays, **options)


def test_unknown_options_are_named_with_the_function(examples):
    with pytest.raises(TypeError, match=r"analyse\(\).*'freq'"):
        dipx.analyse(examples / "rte_00.cfg", freq=50)
    with pytest.raises(TypeError, match=r"analyse_many\(\).*'freq'"):
        dipx.analyse_many([examples / "rte_00.cfg"], freq=50)


def test_a_record_that_is_too_short_is_refused():
    with pytest.raises(dipx.AnalysisError, match="arrays: it holds"):
        dipx.measure(three_phases(lambda t: 1 + 0 * t, 0.01), RATE, frequency=50)


def test_messages_name_keywords_instead_of_options(examples):
    with pytest.raises(dipx.Error) as caught:
        dipx.measure(dipx.read(examples / "rte_00.cfg"), part=7)
    assert "--" not in str(caught.value)


def test_own_curves_judge_dips(examples, tmp_path):
    curve = tmp_path / "press.csv"
    curve.write_text("# name: Press 3\nduration_ms,voltage\n100,0\n1000,20\n")
    dip = dipx.measure(dipx.read(examples / "rte_00.cfg"), curves=curve).dips[0]
    verdict = dip.verdicts[0]
    assert (verdict.curve, verdict.verdict) == ("press_3", "rides_through")
    curve.write_text("# name: Press 3\nduration_ms,voltage\n100,zero\n")
    with pytest.raises(dipx.OptionError, match="line 3"):
        dipx.measure(dipx.read(examples / "rte_00.cfg"), curves=curve)


def test_copies_have_all_findings_and_read_their_file_again(examples):
    analysis = dipx.analyse(examples / "rte_00.cfg")
    copy = pickle.loads(pickle.dumps(analysis))
    assert copy.document == analysis.document and str(copy) == str(analysis)
    assert copy.to_svg() == analysis.to_svg()
    made = pickle.loads(pickle.dumps(dipx.measure(three_phases(lambda t: 1 + 0 * t, 1), RATE, frequency=50)))
    with pytest.raises(dipx.AnalysisError, match="no samples"):
        made.curves()


def test_curves_are_volts_at_the_times_of_the_record(examples):
    record = dipx.read(examples / "rte_00.cfg")
    times, volts, rms = dipx.measure(record).curves()
    np.testing.assert_array_equal(times, record.times)
    np.testing.assert_allclose(volts[1], record["v2"].values, rtol=1e-6)
    cycle = np.sqrt(np.mean(record["v2"].values[1000:1128] ** 2))
    assert rms[1, 1127] == pytest.approx(cycle, rel=1e-6)


def test_many_files_give_their_analyses_in_order(examples, tmp_path):
    paths = [examples / "rte_00.cfg", tmp_path / "missing", examples / "rte_08_volts.csv"]
    for processes in (1, 2):
        first, error, last = dipx.analyse_many(paths, processes, errors="return", frequency=50)
        assert first.document == dipx.analyse(paths[0], frequency=50).document
        assert isinstance(error, dipx.ReadError) and error.file == str(paths[1])
        assert last.about_record.file == str(paths[2])
        with pytest.raises(dipx.ReadError):
            dipx.analyse_many(paths, processes, frequency=50)


# --- tables -----------------------------------------------------------------------------------------------------------


def write_zoned_csv(path, zone):
    volts = three_phases(lambda t: np.where((t >= 0.5) & (t < 0.7), 0.4, 1.0), 1)
    start = datetime(2024, 5, 17, 13, 45)
    lines = ["time,Ua_V,Ub_V,Uc_V"]
    for i, row in enumerate(np.transpose(volts)):
        stamp = start + timedelta(microseconds=round(i * 1e6 / RATE))
        lines.append(f"{stamp.isoformat(timespec='microseconds')}{zone}," + ",".join(f"{value:.4f}" for value in row))
    path.write_text("\n".join(lines) + "\n")


def test_tables_have_one_row_per_segment_and_other_event(examples):
    pandas = pytest.importorskip("pandas")
    analyses = [dipx.analyse(examples / name, frequency=50) for name in ("rte_00.cfg", "rte_08_volts.csv")]
    frame = dipx.to_dataframe(analyses)
    rows = sum(len((event.get("course") or {"segments": [None]})["segments"] or [None])
               for analysis in analyses for event in analysis.events)
    assert len(frame) == rows
    dip = analyses[0].events[0]
    first = frame.iloc[0]
    assert first["start_s"] == dip.start.time_s and first["start_clock"] == dip.start.clock
    assert first["voltage_b_v"] == dip.course.segments[0].voltage[1].voltage_v
    assert first["voltage_b_v_plus_minus"] == dip.course.segments[0].voltage[1].voltage_v_plus_minus
    assert first["phase_jump_a_degrees"] == dip.course.segments[0].phase_jump[0].degrees
    assert pandas.isna(first["start_utc"])  # the file gives no zone
    assert frame["start_utc"].dtype == pandas.DatetimeTZDtype("ns", "UTC")


def test_tables_without_events_have_the_same_columns():
    pandas = pytest.importorskip("pandas")
    steady = dipx.measure(three_phases(lambda t: 1 + 0 * t, 1), RATE, frequency=50)
    dip = dipx.measure(three_phases(lambda t: np.where((t >= 0.5) & (t < 0.7), 0.4, 1.0), 1), RATE, frequency=50)
    empty, full = dipx.to_dataframe(steady), dipx.to_dataframe(dip)
    assert len(empty) == 0 and len(full) == 1
    assert dict(empty.dtypes) == dict(full.dtypes)
    assert len(pandas.concat([empty, full])) == 1


def test_times_are_given_in_utc_where_the_file_gives_the_zone(tmp_path):
    pytest.importorskip("pandas")
    write_zoned_csv(tmp_path / "zoned.csv", "+05:30")
    frame = dipx.to_dataframe(dipx.analyse(tmp_path / "zoned.csv"))
    (row,) = (row for _, row in frame.iterrows())
    assert row["start_clock"].endswith("+05:30")
    recorded = datetime.fromisoformat(row["start_clock"])
    assert row["start_utc"].to_pydatetime() == recorded.astimezone(timezone.utc)
    assert row["start_utc"].hour == 8  # 13:45 at five and a half hours east of Greenwich


# --- notebooks and figures --------------------------------------------------------------------------------------------


def test_notebooks_show_a_table_and_the_figure(examples):
    analysis = dipx.measure(dipx.read(examples / "rte_00.cfg"))
    shown = analysis._repr_html_()
    assert shown.count("<table>") == 2 and "<svg" in shown and "<?xml" not in shown
    assert "20.46 ± 0.24" in shown and "81.72 ± 0.68" in shown  # as the text of the command rounds them
    assert "<script>" not in dipx.measure(
        dipx.Record.from_arrays(three_phases(lambda t: 1 + 0 * t, 1), RATE, name="<script>"), frequency=50)._repr_html_()
    assert "v1" in analysis.record._repr_html_()


def test_plots_show_waveform_and_rms(examples):
    pytest.importorskip("matplotlib")
    analysis = dipx.measure(dipx.read(examples / "rte_00.cfg"))
    figure = analysis.plot(1)
    waveform, rms = figure.axes
    assert [len(axes.lines) for axes in (waveform, rms)] == [3, 5]  # three voltages; two thresholds as well
    begin, end = rms.get_xlim()
    assert begin < analysis.events[0].start.time_s and analysis.events[0].end.time_s < end < 1
    np.testing.assert_allclose(max(waveform.lines[1].get_ydata()), 1e-3 * max(
        analysis.record["v2"].values[int(begin * RATE):int(end * RATE)]), rtol=1e-6)
    with pytest.raises(dipx.AnalysisError):
        analysis.plot(3)
