"""Many files: read_many_files (serial and through Dask), ensembles as xarray, the example."""

import pathlib
import runpy
import sys

import numpy as np
import pandas as pd
import pytest

import varnock
from varnock import many

REPO = pathlib.Path(__file__).resolve().parents[2]
FLOW = "/RIVER/{gauge}/FLOW//1Hour/C:{member:06d}|T:20240501-1200/"


def write_members(folder: pathlib.Path, members, gauges=("UPPER", "LOWER"), hours=24):
    """One file per member; member m's values are m * 100 + hour (+ 0.5 at LOWER)."""
    files = []
    index = pd.date_range("2024-05-01 13:00", periods=hours, freq="H")
    for member in members:
        path = folder / f"m{member}.dss"
        with varnock.open(path, "a") as db:
            for offset, gauge in enumerate(gauges):
                values = (member * 100 + np.arange(hours) + offset * 0.5).astype(np.float32)
                if member == members[0]:
                    values[3] = np.nan
                db.write(FLOW.format(gauge=gauge, member=member), pd.Series(values, index),
                         units="CFS", type="INST-VAL")
        files.append(path)
    return files


@pytest.fixture
def member_files(tmp_path):
    return write_members(tmp_path, [3, 1, 2])


@pytest.mark.parametrize("which, columns_per_file", [
    (FLOW.format(gauge="UPPER", member=1).replace("C:000001", "C:*"), 1),
    ("/RIVER/*/FLOW/*/1Hour/*/", 2),
])
def test_read_many_files_equals_single_reads(member_files, which, columns_per_file):
    frame = varnock.read_many_files(member_files, which)
    assert frame.columns.names == ["file", "pathname"]
    assert frame.shape == (24, 3 * columns_per_file)
    assert [str(f) for f in frame.columns.get_level_values("file").unique()] == \
        [str(f) for f in member_files]  # file order kept
    for file, pathname in frame.columns:
        with varnock.open(file) as db:
            single = db.read(pathname)
        pd.testing.assert_series_equal(frame[(file, pathname)].dropna(), single.dropna(),
                                       check_names=False)
        assert frame.attrs["series"][(file, pathname)]["units"] == "CFS"


def test_read_many_files_with_a_literal_pathname_and_a_window(member_files):
    pathname = FLOW.format(gauge="LOWER", member=3)
    frame = varnock.read_many_files(member_files[0], pathname, start="2024-05-01 15:00",
                                    end="2024-05-01 18:00")
    assert list(frame.columns) == [(str(member_files[0]), pathname)]
    assert frame.index[0] == pd.Timestamp("2024-05-01 15:00")
    np.testing.assert_array_equal(frame.iloc[:, 0], [302.5, np.nan, 304.5, 305.5])


@pytest.mark.parametrize("files, pathname, error, message", [
    (["{0}", "{0}"], "/RIVER/*/FLOW/*/1Hour/*/", ValueError, "listed twice"),
    (["{0}"], "/RIVER/NOWHERE/FLOW//1Hour/X/", varnock.AutomationError, "no record"),
    (["{missing}"], "/RIVER/*/FLOW/*/1Hour/*/", varnock.AutomationError, ""),
    (["{0}"], 5, TypeError, "must be text"),
])
def test_read_many_files_errors(member_files, tmp_path, files, pathname, error, message):
    names = [f.format(member_files[0], missing=tmp_path / "none.dss") for f in files]
    with pytest.raises(error, match=message):
        varnock.read_many_files(names, pathname)


def test_ensemble_tags_and_members():
    assert many.ensemble_tags("C:000123|T:20240501-1200|V:20240501-1305") == \
        {"C": "000123", "T": "20240501-1200", "V": "20240501-1305"}
    assert many.ensemble_member("c:000042|T:1") == 42
    for bad in ("RUN1", "C:|T:1", "C:12a"):
        with pytest.raises(ValueError, match="no ensemble member tag"):
            many.ensemble_member(bad)


def test_read_ensemble_as_member_by_time(member_files):
    pytest.importorskip("xarray")
    ensemble = varnock.read_ensemble(member_files, "/RIVER/LOWER/FLOW/*/1Hour/C:*/")
    assert ensemble.dims == ("member", "time")
    assert list(ensemble["member"].values) == [1, 2, 3]  # sorted by member number
    assert ensemble.sizes["time"] == 24
    assert ensemble.name == "FLOW" and ensemble.attrs["units"] == "CFS"
    assert ensemble["file"].values[0] == str(member_files[1])
    assert ensemble.sel(member=2).values[0] == pytest.approx(200.5)
    assert np.isnan(ensemble.sel(member=3).values[3])
    mean = ensemble.mean("member")
    assert mean.values[0] == pytest.approx(200.5)
    assert ensemble.quantile(0.5, dim="member").values[1] == pytest.approx(201.5)


def test_read_ensemble_rejects_repeated_or_untagged_members(member_files, tmp_path):
    pytest.importorskip("xarray")
    with pytest.raises(ValueError, match="member 3 occurs twice"):
        varnock.read_ensemble(member_files, "/RIVER/*/FLOW/*/1Hour/C:*/")
    with varnock.open(member_files[0], "a") as db:
        db.write("/RIVER/UPPER/FLOW//1Hour/PLAIN/",
                 pd.Series([1.0], pd.DatetimeIndex(["2024-05-01 13:00"])), units="CFS")
    with pytest.raises(ValueError, match="no ensemble member tag"):
        varnock.read_ensemble(member_files[0], "/RIVER/UPPER/FLOW/*/1Hour/*/")
    with pytest.raises(ValueError, match="no series matches"):
        varnock.read_ensemble(member_files, "/NONE/*/*/*/*/*/")


def test_chunks_cover_every_file_in_order():
    items = list(range(10))
    for count in (1, 3, 4, 10, 25):
        runs = many._chunks(items, count)
        assert [i for run in runs for i in run] == items
        assert max(map(len, runs)) - min(map(len, runs)) <= 1


@pytest.fixture(scope="module")
def dask_client():
    distributed = pytest.importorskip("distributed")
    cluster = distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                       dashboard_address=None)
    client = distributed.Client(cluster)
    yield client
    client.close()
    cluster.close()


@pytest.mark.filterwarnings("ignore:make_current is deprecated:DeprecationWarning")
def test_dask_reads_and_the_example_match_serial_reads(tmp_path, dask_client, monkeypatch,
                                                      capsys):
    """One cluster for both: its start-up is what costs (seconds)."""
    files = write_members(tmp_path, list(range(1, 8)))
    pattern = "/RIVER/*/FLOW/*/1Hour/*/"
    serial = varnock.read_many_files(files, pattern)
    for per_task in (None, 3):
        parallel = varnock.read_many_files(files, pattern, client=dask_client,
                                           files_per_task=per_task)
        pd.testing.assert_frame_equal(parallel, serial)
        assert parallel.attrs == serial.attrs
    ensemble = varnock.read_ensemble(files, "/RIVER/UPPER/FLOW/*/*/*/", client=dask_client)
    assert list(ensemble["member"].values) == list(range(1, 8))

    # The example as a script (its functions travel to the workers by value, as from a
    # script's __main__), on the cluster already running.
    image = tmp_path / "envelope.png"
    example = REPO / "examples" / "ensemble_dask.py"
    monkeypatch.setattr(sys, "argv", [str(example), "--members", "6", "--folder",
                                      str(tmp_path / "ensemble"), "--output", str(image),
                                      "--scheduler", dask_client.scheduler.address])
    with pytest.raises(SystemExit) as exit_status:
        runpy.run_path(str(example), run_name="__main__")
    assert exit_status.value.code == 0
    assert "{'member': 6, 'time': 240}" in capsys.readouterr().out
    assert image.read_bytes()[:4] == b"\x89PNG"
    assert len(list((tmp_path / "ensemble").glob("*.dss"))) == 6


def test_files_with_different_times_join_on_their_union(tmp_path):
    (tmp_path / "a").mkdir()
    early = write_members(tmp_path / "a", [1], hours=5)
    with varnock.open(tmp_path / "late.dss", "a") as db:
        db.write(FLOW.format(gauge="UPPER", member=2),
                 pd.Series(np.float32([7, 8]), pd.date_range("2024-05-01 16:00", periods=2,
                                                             freq="H")), units="CFS")
    frame = varnock.read_many_files([early[0], tmp_path / "late.dss"],
                                    "/RIVER/UPPER/FLOW/*/1Hour/*/")
    assert len(frame) == 5 and frame.shape[1] == 2
    late = frame[(str(tmp_path / "late.dss"), FLOW.format(gauge="UPPER", member=2))]
    np.testing.assert_array_equal(late.to_numpy(), [np.nan, np.nan, np.nan, 7, 8])


def test_read_ensemble_without_xarray_says_what_to_install(member_files, monkeypatch):
    monkeypatch.setitem(sys.modules, "xarray", None)  # import xarray now raises ImportError
    with pytest.raises(ImportError, match="apt install python3-xarray"):
        varnock.read_ensemble(member_files, "/RIVER/LOWER/FLOW/*/1Hour/C:*/")
