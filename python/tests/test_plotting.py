"""Plots: labels, titles, legends, gaps at missing values; python -m varnock plot."""

import os
import subprocess
import sys

import matplotlib
import numpy as np
import pandas as pd
import pytest

import varnock

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

HOURLY = "/BASIN/GAGE/FLOW//1Hour/OBS/"
STAGE = "/BASIN/GAGE/STAGE//1Hour/OBS/"
UPSTREAM = "/BASIN/UPSTREAM/FLOW//1Hour/OBS/"
IRREGULAR = "/BASIN/GAGE/FLOW//IR-Day/SPOT/"
PAIRED = "/BASIN/RES/ELEV-STORAGE///TABLE/"


@pytest.fixture(autouse=True)
def close_figures():
    yield
    plt.close("all")


@pytest.fixture
def sample_file(dss_path):
    hours = pd.date_range("2021-01-01 01:00", periods=48, freq="H")
    flow = pd.Series(np.linspace(100, 200, 48, dtype=np.float32), index=hours)
    flow.iloc[10:14] = np.nan
    spots = pd.Series(np.array([5.0, np.nan, 7.0, 8.0], np.float32),
                      index=pd.to_datetime(["2021-01-01 03:17", "2021-01-01 09:02",
                                            "2021-01-01 15:45", "2021-01-02 01:00"]))
    table = pd.DataFrame({"LOW": [0.0, 10.0, 40.0], "HIGH": [0.0, 20.0, 70.0]},
                         index=[100.0, 110.0, 120.0])
    with varnock.open(dss_path, "a") as db:
        db.write(HOURLY, flow, units="CFS", type="INST-VAL")
        db.write(UPSTREAM, flow * 0.5, units="CFS", type="INST-VAL")
        db.write(STAGE, flow / 10, units="FT", type="INST-VAL")
        db.write(IRREGULAR, spots, units="CFS", type="INST-VAL")
        db.write(PAIRED, table, units=("FT", "AC-FT"), type=("UNT", "UNT"))
    return dss_path


def line_data(ax):
    return [np.asarray(line.get_ydata(), dtype=np.float64) for line in ax.get_lines()]


@pytest.mark.parametrize("pathname, units, missing, marker", [
    (HOURLY, "CFS", 4, "None"),
    (IRREGULAR, "CFS", 1, "."),
])
def test_a_series_plots_with_its_labels_and_gaps(sample_file, pathname, units, missing, marker):
    with varnock.open(sample_file) as db:
        series = db.read(pathname)
    record = (varnock.RegularTimeSeries if "1Hour" in pathname else
              varnock.IrregTimeSeries).from_pandas(series, pathname=pathname, units=units)
    for ax in (record.plot(), varnock.plot(series)):
        assert ax.get_ylabel() == f"FLOW ({units})"
        assert ax.get_xlabel() == "time"
        for part in ("BASIN", "GAGE", "FLOW", pathname.split("/")[5], pathname.split("/")[6]):
            assert part.upper() in ax.get_title().upper()
        (values,) = line_data(ax)
        assert np.isnan(values).sum() == missing  # NaN breaks the line: a gap
        assert ax.get_lines()[0].get_marker() == marker
        # The time axis is in the series' own clock: first point at its first time.
        first = matplotlib.dates.num2date(ax.get_lines()[0].get_xdata(orig=False)[0])
        assert first.replace(tzinfo=None) == series.index[0].to_pydatetime()


def test_several_series_share_axes_by_units(sample_file):
    with varnock.open(sample_file) as db:
        flows = [db.read(HOURLY), db.read(UPSTREAM)]
        stage = db.read(STAGE)
    ax = varnock.plot(flows)
    assert ax.get_title() == "BASIN / FLOW / 1Hour / OBS"
    assert [t.get_text() for t in ax.get_legend().get_texts()] == ["GAGE", "UPSTREAM"]
    axes = varnock.plot(flows + [stage])
    assert len(axes) == 2
    assert [a.get_ylabel() for a in axes] == ["FLOW (CFS)", "STAGE (FT)"]
    assert len(axes[0].get_lines()) == 2
    fig, given = plt.subplots()
    assert varnock.plot(flows, ax=given) is given


def test_paired_data_curves_against_the_first_axis(sample_file):
    with varnock.open(sample_file) as db:
        frame = db.read(PAIRED)
    for ax in (varnock.plot(frame), varnock.PairedData.from_pandas(frame, PAIRED).plot()):
        assert ax.get_xlabel() == "ELEV (FT, UNT)"
        assert ax.get_ylabel() == "STORAGE (AC-FT, UNT)"
        assert [t.get_text() for t in ax.get_legend().get_texts()] == ["LOW", "HIGH"]
        np.testing.assert_array_equal(ax.get_lines()[1].get_xdata(), [100.0, 110.0, 120.0])
        np.testing.assert_array_equal(ax.get_lines()[1].get_ydata(), [0.0, 20.0, 70.0])


def test_plot_rejects_what_it_cannot_draw():
    with pytest.raises(TypeError, match="cannot plot a int"):
        varnock.plot(3)
    with pytest.raises(ValueError, match="nothing to plot"):
        varnock.plot([])


def run_module(*args, env=None):
    return subprocess.run([sys.executable, "-m", "varnock", *map(str, args)],
                          capture_output=True, text=True, env=env, timeout=60)


def test_command_line_plot_writes_a_png(sample_file, tmp_path):
    image = tmp_path / "out.png"
    done = run_module("plot", sample_file, HOURLY, "/BASIN/*/FLOW/*/1Hour/*/", PAIRED,
                      "--output", image, "--start", "2021-01-01 06:00", "--end", "2021-01-02")
    assert done.returncode == 0, done.stderr
    assert image.read_bytes()[:8] == b"\x89PNG\r\n\x1a\n"
    assert "4 records plotted" in done.stdout  # the pattern matched two series


@pytest.mark.parametrize("args, code, message", [
    (["plot", "{file}", "/NO/SUCH/FLOW//1Hour//", "-o", "{out}"], 4, "no record"),
    (["plot", "{file}", "/NO/*/FLOW//1Hour//", "-o", "{out}"], 4, "no time series"),
    (["plot", "{missing}", HOURLY, "-o", "{out}"], 3, "cannot open"),
    (["plot", "{file}", HOURLY], 2, "--output"),
    (["plot", "{file}", HOURLY, "-o", "{out}", "--start", "nonsense"], 1, "nonsense"),
    (["frobnicate"], 2, "unknown command"),
])
def test_command_line_errors_are_one_clear_line(sample_file, tmp_path, capsys, args, code,
                                                message):
    from varnock.__main__ import main

    names = {"file": sample_file, "out": tmp_path / "x.png", "missing": tmp_path / "none.dss"}
    assert main([arg.format(**names) for arg in args]) == code
    stderr = capsys.readouterr().err
    assert message in stderr
    assert len(stderr.strip().splitlines()) == 1
    assert not (tmp_path / "x.png").exists()


def test_missing_matplotlib_says_what_to_install(sample_file, tmp_path):
    hidden = tmp_path / "hide" / "matplotlib"
    hidden.mkdir(parents=True)
    (hidden / "__init__.py").write_text("raise ImportError('hidden for the test')\n")
    env = dict(os.environ, PYTHONPATH=f"{hidden.parent}{os.pathsep}"
               f"{os.environ.get('PYTHONPATH', '')}")
    done = run_module("plot", sample_file, HOURLY, "-o", tmp_path / "x.png", env=env)
    assert done.returncode == 1
    assert "apt install python3-matplotlib" in done.stderr
