"""NumPy and pandas members of the automation record classes (no file involved)."""

import datetime as dt
import pickle

import numpy as np
import pandas as pd
import pytest

import varnock


def hourly(count=5, start="2021-01-01T01:00"):
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/BASIN/GAGE/FLOW//1HOUR/OBS/"
    ts.Starting = dt.datetime.fromisoformat(start)
    ts.values = np.arange(count, dtype=np.float64)
    return ts


def test_regular_values_and_times_as_arrays():
    ts = hourly(4)
    ts.SetValue(2, -901.0)
    assert ts.values.dtype == np.float32
    np.testing.assert_array_equal(ts.values, [0, 1, np.nan, 3])
    assert ts.times.dtype == np.dtype("datetime64[s]")
    assert list(ts.times.astype(str)) == ["2021-01-01T01:00:00", "2021-01-01T02:00:00",
                                          "2021-01-01T03:00:00", "2021-01-01T04:00:00"]
    assert len(ts) == 4 and len(list(ts)) == 4


@pytest.mark.parametrize("missing", [np.nan, None])
def test_nan_and_none_are_stored_as_the_missing_marker(missing):
    ts = hourly(3)
    ts.values = pd.Series([1.0, missing, 3.0], dtype="float64")
    assert ts.Value(1) == -901.0
    assert ts.ValueCount == 3
    np.testing.assert_array_equal(ts.values, [1, np.nan, 3])


def test_regular_times_set_start_and_interval_and_refuse_irregular_dates():
    ts = varnock.RegularTimeSeries()
    ts.times = np.array(["2020-02-01T00:00", "2020-03-01T00:00", "2020-04-01T00:00"],
                        dtype="datetime64[m]")
    assert ts.Interval == 43200
    assert ts.ValueCount == 3 and np.isnan(ts.values).all()
    fixed = hourly(3)
    with pytest.raises(ValueError, match="not regular"):
        fixed.times = np.array(["2021-01-01T00:00", "2021-01-01T01:00", "2021-01-01T03:00"],
                               dtype="datetime64[s]")
    with pytest.raises(ValueError, match="3 values"):
        fixed.times = np.array(["2021-01-01T00:00"], dtype="datetime64[s]")
    assert fixed.times[0] == np.datetime64("2021-01-01T01:00")  # unchanged after the refusals


def test_irregular_values_and_times():
    its = varnock.IrregTimeSeries()
    its.times = pd.to_datetime(["2021-06-01 00:45", "2021-06-01 03:13", "2021-06-02 12:00"])
    assert np.isnan(its.values).all()
    its.values = [12.0, np.nan, 14.5]
    assert its.Value(1) == -901.0
    np.testing.assert_array_equal(its.times, np.array(
        ["2021-06-01T00:45", "2021-06-01T03:13", "2021-06-02T12:00"], dtype="datetime64[s]"))
    with pytest.raises(ValueError, match="3 dates"):
        its.values = [1.0, 2.0]


@pytest.mark.parametrize("cls, index", [
    (varnock.RegularTimeSeries, pd.date_range("2021-01-01 01:00", periods=48, freq="H")),
    (varnock.RegularTimeSeries, pd.date_range("2021-01-01 08:00", periods=10, freq="D")),
    (varnock.RegularTimeSeries, pd.date_range("2020-01-01", periods=6, freq="MS")),
    (varnock.IrregTimeSeries, pd.to_datetime(["2021-01-01 00:45", "2021-01-03 10:00"])),
])
def test_pandas_round_trip_through_the_classes(cls, index):
    series = pd.Series(np.linspace(1, 2, len(index)), index=index, name="/A/B/FLOW///F/")
    series.iloc[1] = np.nan
    series.attrs.update(units="cfs", type="INST-VAL")
    if cls is varnock.RegularTimeSeries:
        record = cls.from_pandas(series)
        assert record.Interval > 0
    else:
        record = cls.from_pandas(series, pathname="/A/B/FLOW//IR-MONTH/F/")
    back = record.to_pandas()
    pd.testing.assert_index_equal(back.index, series.index, exact=False, check_names=False)
    np.testing.assert_allclose(back.to_numpy(), series.to_numpy(), rtol=1e-6)
    assert back.attrs["units"] == "CFS" and back.attrs["type"] == "INST-VAL"
    assert back.name == record.Pathname.Name.strip()


def test_regular_from_pandas_fills_missing_steps():
    index = pd.to_datetime(["2021-01-01 01:00", "2021-01-01 02:00", "2021-01-01 05:00"])
    series = pd.Series([1.0, 2.0, 5.0], index=index)
    ts = varnock.RegularTimeSeries.from_pandas(series, pathname="/A/B/C//1HOUR/F/")
    np.testing.assert_array_equal(ts.values, [1, 2, np.nan, np.nan, 5])


def test_paired_data_arrays_and_frame():
    frame = pd.DataFrame({"SUMMER": [1000.0, 1000.5], "WINTER": [900.0, np.nan]},
                         index=pd.Index([200.0, 210.0], name="ELEV"))
    pd_record = varnock.PairedData.from_pandas(frame, pathname="/R/RES/ELEV-AREA///F/",
                                               units=("FT", "ACRES"))
    assert (pd_record.Nord, pd_record.Ncurve) == (2, 2)
    assert pd_record.labels == ["SUMMER", "WINTER"]
    assert pd_record.curves.shape == (2, 2) and np.isnan(pd_record.curves[1, 1])
    assert pd_record.YValue(1, 1) == -901.0
    back = pd_record.to_pandas()
    assert list(back.columns) == ["SUMMER", "WINTER"]
    np.testing.assert_array_equal(back.index.to_numpy(), [200, 210])
    assert back.attrs["units"] == ("FT", "ACRES")
    assert "2 curves x 2 ordinates" in repr(pd_record)


def test_repr_shows_pathname_count_and_range():
    text = repr(hourly(24))
    assert "/BASIN/GAGE/FLOW//1HOUR/OBS/" in text
    assert "24 values" in text and "2021-01-01 01:00:00 .. 2021-01-02 00:00:00" in text
    assert "RegularTimeSeries" in repr(varnock.RegularTimeSeries())  # unset start: no error


def test_series_pickle_by_value():
    ts = hourly(6)
    ts.TsUnits = "cfs"
    copy = pickle.loads(pickle.dumps(ts))
    np.testing.assert_array_equal(copy.values, ts.values)
    np.testing.assert_array_equal(copy.times, ts.times)
    assert copy.TsUnits == "CFS" and copy.Pathname.Name == ts.Pathname.Name


@pytest.mark.parametrize("action, error", [
    (lambda ts: setattr(ts, "values", ["a", "b"]), TypeError),
    (lambda ts: setattr(ts, "values", np.zeros((2, 2))), ValueError),
    (lambda ts: setattr(ts, "times", [1, 2, 3, 4, 5]), TypeError),
    (lambda ts: ts.from_pandas([1.0, 2.0]), TypeError),
    (lambda ts: ts.from_pandas(pd.Series([1.0], index=[0])), TypeError),
    (lambda ts: ts.from_pandas(pd.Series([1.0, 2.0], index=pd.to_datetime(
        ["2021-01-02", "2021-01-01"]))), ValueError),
])
def test_bad_input_raises_clear_errors(action, error):
    with pytest.raises(error):
        action(hourly(5))


@pytest.mark.parametrize("owner, names", [
    (varnock, ["open"]),
    (varnock.DSSDatabase, ["close", "closed", "mode", "catalog", "read", "read_numpy",
                           "read_many", "write"]),
    (varnock.RegularTimeSeries, ["values", "times", "flags", "to_pandas", "from_pandas"]),
    (varnock.IrregTimeSeries, ["values", "times", "flags", "to_pandas", "from_pandas"]),
    (varnock.PairedData, ["ordinates", "curves", "labels", "to_pandas", "from_pandas"]),
])
def test_the_pythonic_members_are_documented(owner, names):
    for name in names:
        assert (getattr(owner, name).__doc__ or "").strip(), name
