"""varnock.open, DSSDatabase.read/write/catalog/read_many, errors and pickling."""

import concurrent.futures
import io
import pickle

import numpy as np
import pandas as pd
import pytest

import varnock


def hourly_series(count=48, start="2021-01-01 01:00", dtype="float32", name=None):
    index = pd.date_range(start, periods=count, freq="H")
    values = (100 + 10 * np.sin(np.arange(count) / 5)).astype(dtype)
    series = pd.Series(values, index=index, name=name)
    series.iloc[[3, 7]] = np.nan
    return series


def written(dss_path, pathname, series, **options):
    with varnock.open(dss_path, "a") as db:
        db.write(pathname, series, **options)
    with varnock.open(dss_path) as db:
        return db.read(pathname)


@pytest.mark.parametrize("pathname, series, dtype, interval", [
    ("/A/GAGE/FLOW//1HOUR/OBS/", hourly_series(), np.float32, "1HOUR"),
    ("/A/GAGE/FLOW//1Hour/DOUBLE/", hourly_series(dtype="float64"), np.float64, "1Hour"),
    # a time offset: daily values at 08:00, across a year boundary (two blocks)
    ("/A/GAGE/TEMP//1Day/OFFSET/",
     pd.Series(np.arange(400.0, dtype=np.float32),
               index=pd.date_range("2020-06-01 08:00", periods=400, freq="D")),
     np.float32, "1Day"),
    ("/A/GAGE/Q15//15MIN/F/", hourly_series(count=300).set_axis(
        pd.date_range("2021-03-31 12:00", periods=300, freq="15min")), np.float32, "15MIN"),
    ("/A/GAGE/VOL//1MON/F/", pd.Series(np.arange(1.0, 25.0, dtype=np.float32),
                                        index=pd.date_range("2019-02-01", periods=24,
                                                            freq="MS")), np.float32, "1MON"),
    ("/A/GAGE/STAGE//IR-Month/F/",
     pd.Series([1.5, np.nan, 3.25, 4.0], dtype=np.float32,
               index=pd.to_datetime(["2021-01-03 00:45", "2021-01-20 13:13",
                                     "2021-02-01 00:00", "2021-03-15 23:59"])),
     np.float32, "IR-Month"),
    ("/A/GAGE/STAGE//~1Day/PSEUDO/",
     pd.Series([1.0, np.nan, 3.0], dtype=np.float32, index=pd.to_datetime(
         ["2021-01-01 00:00", "2021-01-02 00:00", "2021-01-04 00:00"])),
     np.float32, "~1Day"),
    ("/A/GAGE/STAGE//IR-YEAR/DOUBLE/",
     pd.Series([1.0, 2.0, 3.0], index=pd.to_datetime(
         ["2021-01-01 00:00", "2021-01-02 00:00", "2021-12-04 00:00"])),
     np.float64, "IR-YEAR"),
])
def test_round_trip_through_pandas(dss_path, pathname, series, dtype, interval):
    back = written(dss_path, pathname, series, units="cfs", type="INST-VAL")
    assert back.dtype == dtype
    pd.testing.assert_index_equal(back.index, series.index, check_names=False)
    np.testing.assert_array_equal(back.to_numpy(), series.to_numpy().astype(dtype))
    assert back.name == pathname
    assert back.attrs["units"] == "cfs" and back.attrs["type"] == "INST-VAL"
    assert back.attrs["interval"] == interval


def test_nan_reaches_the_file_as_minus_901_exactly(dss_path):
    written(dss_path, "/A/B/FLOW//1HOUR/F/", hourly_series(count=10), units="CFS")
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/A/B/FLOW//1HOUR/F/"
    ts.Starting = pd.Timestamp("2021-01-01 01:00").to_pydatetime()
    ts.ValueCount = 10
    with varnock.open(dss_path) as db:
        ts.Retrieve(db)
    assert ts.Value(3) == -901.0 and ts.Value(7) == -901.0
    assert np.isnan(ts.values[[3, 7]]).all()


def test_blank_e_part_chooses_regular_or_irregular_from_the_data(dss_path):
    irregular = pd.Series([1.0, 2.0, 3.0], index=pd.to_datetime(
        ["2021-01-01 00:10", "2021-01-01 07:00", "2021-01-05 00:00"]))
    with varnock.open(dss_path, "a") as db:
        db.write("/A/B/HOURLY///F/", hourly_series(count=30))
        db.write("/A/B/IRREG///F/", irregular)
        catalog = db.catalog(condensed=True).set_index("C")
        assert catalog.loc["HOURLY", "E"] == "1Hour"
        assert catalog.loc["HOURLY", "type_code"] == 100
        assert catalog.loc["IRREG", "E"].startswith("IR-")
        assert catalog.loc["IRREG", "type_code"] == 115
        # read back under the stored spelling and under the automation spelling
        np.testing.assert_array_equal(db.read("/a/b/hourly//1HOUR/f/").to_numpy(),
                                      db.read("/A/B/HOURLY//1Hour/F/").to_numpy())


def test_read_window_and_block_d_part(dss_path):
    series = hourly_series(count=24 * 40, start="2021-01-20 01:00")
    with varnock.open(dss_path, "a") as db:
        db.write("/A/B/FLOW//1Hour/F/", series)
        window = db.read("/A/B/FLOW//1Hour/F/", start="2021-02-01 00:00",
                         end=pd.Timestamp("2021-02-01 05:00"))
        assert list(window.index.hour) == [0, 1, 2, 3, 4, 5]
        block = db.read("/A/B/FLOW/01Feb2021/1Hour/F/")
        assert block.index[0] == pd.Timestamp("2021-02-01 01:00")
        assert block.index[-1] == pd.Timestamp("2021-03-01 00:00")
        whole = db.read("/A/B/FLOW//1Hour/F/").dropna()
        assert whole.index[0] == series.index[0] and whole.index[-1] == series.index[-1]


def test_paired_data_round_trip(dss_path):
    frame = pd.DataFrame({"SUMMER": [1000.0, 1000.5, np.nan], "WINTER": [900.0, 900.5, 901.0]},
                         index=[200.0, 202.5, 205.0])
    with varnock.open(dss_path, "a") as db:
        db.write("/R/RES/ELEV-AREA///F/", frame, units=("FT", "ACRES"), type="LINEAR")
        back = db.read("/R/RES/ELEV-AREA///F/")
    assert list(back.columns) == ["SUMMER", "WINTER"] and back.dtypes.iloc[0] == np.float64
    np.testing.assert_array_equal(back.to_numpy(), frame.to_numpy())
    np.testing.assert_array_equal(back.index.to_numpy(), frame.index.to_numpy())
    assert back.attrs["units"] == ("FT", "ACRES") and back.attrs["type"] == ("LINEAR", "LINEAR")


def test_read_many_and_catalog_patterns(dss_path):
    with varnock.open(dss_path, "a") as db:
        for location in ("UP", "DOWN"):
            db.write(f"/A/{location}/FLOW//1Hour/F/", hourly_series(count=24 * 40))
        db.write("/A/UP/STAGE//1Hour/F/", hourly_series(count=10))
        assert len(db.catalog()) == 5  # two blocks of each long series, one of the short
        assert set(db.catalog("/A//FLOW////")["B"]) == {"UP", "DOWN"}
        assert len(db.catalog("*/STAGE/*")) == 1
        wide = db.read_many("/*/*/FLOW/*/*/*/")
    assert sorted(wide.columns) == ["/A/DOWN/FLOW//1Hour/F/", "/A/UP/FLOW//1Hour/F/"]
    assert len(wide) == 24 * 40


def test_dates_outside_pandas_years_name_the_record(dss_path):
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/OLD/GAGE/FLOW//1YEAR/F/"
    ts.Starting = np.datetime64("1500-12-31T00:00")
    ts.values = np.arange(3.0)
    with varnock.open(dss_path, "a") as db:
        ts.Store(db)
        with pytest.raises(pd.errors.OutOfBoundsDatetime, match="/OLD/GAGE/FLOW//1YEAR/F/"):
            db.read("/OLD/GAGE/FLOW//1YEAR/F/")
        times, values = db.read_numpy("/OLD/GAGE/FLOW//1YEAR/F/")
    assert times.dtype == np.dtype("datetime64[s]") and times[0].astype(str).startswith("15")
    np.testing.assert_array_equal(values[~np.isnan(values)], [0, 1, 2])
    with pytest.raises(pd.errors.OutOfBoundsDatetime, match="/OLD/GAGE/FLOW//1YEAR/F/"):
        ts.to_pandas()


def test_context_manager_closes_on_exception(dss_path):
    with pytest.raises(RuntimeError):
        with varnock.open(dss_path, "a") as db:
            assert db.IsConnected and not db.closed
            raise RuntimeError("boom")
    assert db.closed and not db.IsConnected
    with pytest.raises(varnock.AutomationError) as caught:
        db.read("/A/B/C//1Hour/F/")
    assert caught.value.number == 0x80042001 - (1 << 32)
    db.close()  # a second close is harmless


def test_open_modes(dss_path):
    with pytest.raises(varnock.AutomationError, match="Unable to connect"):
        varnock.open(dss_path)  # "r" needs the file
    with varnock.open(dss_path, "a") as db:
        assert db.mode == "a"
    assert dss_path.exists()
    with varnock.open(str(dss_path)) as db:
        assert db.mode == "r" and "mode 'r'" in repr(db)
        with pytest.raises(io.UnsupportedOperation, match="read-only"):
            db.write("/A/B/C//1Hour/F/", hourly_series())


@pytest.mark.parametrize("call, error, text", [
    (lambda db: db.read("A/B/C/D/E/F"), ValueError, "not a DSS pathname"),
    (lambda db: db.read("/A/B/C/D/E/"), ValueError, "six parts"),
    (lambda db: db.read(42), TypeError, "pathname must be text"),
    (lambda db: db.read("/A/B/C//1Hour/F/", start="not a date"), ValueError, "not a date"),
    (lambda db: db.read("/A/B/C//1Hour/F/", start=3.5), TypeError, "start must be a date"),
    (lambda db: db.read("/A/B/C//1Hour/F/", start="2021-02-01", end="2021-01-01"),
     ValueError, "before start"),
    (lambda db: db.write("/A/B/C//1Hour/F/", [1.0, 2.0]), TypeError, "pandas Series"),
    (lambda db: db.write("/A/B/C//7Hour/F/", hourly_series()), ValueError, "names no DSS"),
    (lambda db: db.write("/A/B/C//1Hour/F/", hourly_series().iloc[:0]), ValueError, "empty"),
    (lambda db: db.write("/A/B/C//1Hour/F/", hourly_series(), units=5), TypeError, "units"),
    (lambda db: db.write("/A/B/C//1Day/F/", hourly_series()), ValueError, "1Day"),
    (lambda db: db.catalog(pattern=3), TypeError, "pattern"),
    (lambda db: db.read("/A/B/C//1Hour/NONE/"), varnock.AutomationError, "no record"),
    (lambda db: db.read("/A/B/C///NONE/"), ValueError, "no record /A/B/C///NONE/"),
])
def test_bad_input_raises_clear_errors(dss_path, call, error, text):
    with varnock.open(dss_path, "a") as db:
        with pytest.raises(error, match=text):
            call(db)


@pytest.mark.parametrize("mode", ["w", "rw", None])
def test_open_rejects_unknown_modes_and_paths(dss_path, mode):
    with pytest.raises(ValueError, match="mode"):
        varnock.open(dss_path, mode)
    with pytest.raises(TypeError, match="path"):
        varnock.open(3.5)


def test_nothing_is_printed_on_success(dss_path, capfd):
    written(dss_path, "/A/B/FLOW//1Hour/F/", hourly_series())
    with varnock.open(dss_path) as db:
        db.catalog(condensed=True)
    assert capfd.readouterr() == ("", "")


def _mean_flow(db_and_pathname):
    db, pathname = db_and_pathname
    return float(db.read(pathname).mean())


def test_databases_pickle_by_name_and_mode_for_process_pools(dss_path):
    written(dss_path, "/A/B/FLOW//1Hour/F/", hourly_series())
    with varnock.open(dss_path) as db:
        copy = pickle.loads(pickle.dumps(db))
        assert copy.mode == "r" and copy.IsConnected and copy.Name == db.Name
        copy.close()
        expected = _mean_flow((db, "/A/B/FLOW//1Hour/F/"))
        with concurrent.futures.ProcessPoolExecutor(2) as pool:
            means = list(pool.map(_mean_flow, [(db, "/A/B/FLOW//1Hour/F/")] * 2))
    assert means == [expected, expected]
    closed = pickle.loads(pickle.dumps(db))
    assert closed.closed and closed.mode == "r"
