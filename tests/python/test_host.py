import os
import signal
import threading

import numpy as np
import pytest

import dipx

SAMPLES_PER_CYCLE = 128


def dip_to(share):
    t = np.arange(50 * SAMPLES_PER_CYCLE) / (50 * SAMPLES_PER_CYCLE)
    depth = np.where((t >= 0.4) & (t < 0.6), share, 1.0)
    return [311 * depth * np.sin(2 * np.pi * 50 * t - angle) for angle in np.radians([0, 120, 240])]


def test_the_report_equals_that_of_the_command(command, tmp_path):
    # The command passes samples in single precision, at a level at which it does not scale them.
    csv = tmp_path / "dip.csv"
    volts = [phase.astype(np.float32) for phase in dip_to(0.4)]
    rows = zip(np.arange(len(volts[0])) / (50 * SAMPLES_PER_CYCLE), *volts)
    csv.write_text("t_s,Ua_V,Ub_V,Uc_V\n" + "".join(",".join(repr(float(x)) for x in row) + "\n" for row in rows))
    command("analyse", "-q", "--frequency", "50", "--report", tmp_path / "report.txt", csv)
    with dipx.Host() as host:
        result = host.analyse(*volts, samples_per_cycle=SAMPLES_PER_CYCLE)
    reported = (tmp_path / "report.txt").read_bytes().split(b"\r\n")
    found = result.report_bytes.split(b"\r\n")
    # One line has the milliseconds that the analysis took.
    different = [pair for pair in zip(found, reported) if pair[0] != pair[1]]
    assert len(found) == len(reported) > 10 and len(different) <= 1
    assert result.report.count("\n") == len(found) - 1
    assert result.printed.count("\n") > 1


def test_results_are_the_fields_of_the_record():
    with dipx.Host() as host:
        result = host.analyse(*dip_to(0.4), samples_per_cycle=SAMPLES_PER_CYCLE)
    (dip,) = result.dips
    assert result.dips.dtype == dipx.Host.event_dtype and result.dips.dtype.itemsize == (18 * 256 + 11) * 4
    assert dip["hold_time_dq"] == pytest.approx(0.2, abs=0.02)
    assert dip["ua_min"][0] == pytest.approx(0.4 * 311 / 2**0.5, rel=0.01)


def test_refused_records_get_the_count_of_the_last_accepted_one():
    with dipx.Host() as host:
        assert len(host.analyse(*dip_to(0.4), samples_per_cycle=SAMPLES_PER_CYCLE).dips) == 1
        refused = host.analyse(*dip_to(0.4), samples_per_cycle=7).dips
        assert len(refused) == 1 and not refused["hold_time_dq"].any()


def test_threads_wait_for_one_another():
    shares = [0.2, 0.4, 0.6, 0.8]
    found = {}
    with dipx.Host() as host:

        def ask(share):
            found[share] = host.analyse(*dip_to(share), samples_per_cycle=SAMPLES_PER_CYCLE).dips["ua_min"][0][0]

        threads = [threading.Thread(target=ask, args=(share,)) for share in shares]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    for share in shares:
        assert found[share] == pytest.approx(share * 311 / 2**0.5, rel=0.02)


def test_a_lost_process_is_replaced():
    with dipx.Host() as host:
        host.analyse(*dip_to(0.4), samples_per_cycle=SAMPLES_PER_CYCLE)
        folder = host._folder.name
        os.kill(host._process.pid, signal.SIGKILL)
        with pytest.raises(dipx.HostError):
            host.analyse(*dip_to(0.4), samples_per_cycle=SAMPLES_PER_CYCLE)
        assert not os.path.exists(folder)
        assert len(host.analyse(*dip_to(0.4), samples_per_cycle=SAMPLES_PER_CYCLE).dips) == 1


@pytest.mark.parametrize("arrays", [[np.ones(5), np.ones(5), np.ones(6)], [np.ones((2, 5))] * 3, [np.ones(768001)] * 3])
def test_arrays_are_checked(arrays):
    with dipx.Host() as host, pytest.raises(dipx.OptionError):
        host.analyse(*arrays, samples_per_cycle=SAMPLES_PER_CYCLE)
