"""The reference files written by HEC's library, read through Python, equal their dumps."""

import numpy as np
import pytest

import varnock

MARKERS = (-901.0, -902.0)


def as_read(values: np.ndarray) -> np.ndarray:
    """Dump values as the layer gives them: every missing or undefined value NaN."""
    result = values.copy()
    result[np.isin(result, MARKERS) | (result < -3.4e38)] = np.nan
    return result


@pytest.mark.parametrize("name", ["fixture7.dss", "sample7.dss", "MoRiverObs7.dss", "fixture6.dss",
                                  "sample6.dss"])
def test_catalog_lists_every_record_of_the_dump(fixtures_dir, dump_of, name):
    dump = dump_of(name)
    with varnock.open(fixtures_dir / name) as db:
        catalog = db.catalog()
    assert list(catalog["pathname"]) == sorted(dump)
    assert dict(zip(catalog["pathname"], catalog["type_code"])) == \
        {pathname: record["rectype"] for pathname, record in dump.items()}
    parts = catalog.iloc[0][["A", "B", "C", "D", "E", "F"]]
    assert "/" + "/".join(parts) + "/" == catalog.iloc[0]["pathname"]


@pytest.mark.parametrize("name", ["fixture7.dss", "sample7.dss", "MoRiverObs7.dss", "fixture6.dss",
                                  "sample6.dss"])
def test_every_series_block_reads_as_its_dump(fixtures_dir, dump_of, name):
    checked = 0
    with varnock.open(fixtures_dir / name) as db:
        for pathname, record in dump_of(name).items():
            if not 100 <= record["rectype"] < 120:
                continue
            series = db.read(pathname)
            assert series.attrs["units"] == record["units"].strip(), pathname
            assert series.attrs["type"] == record["type"].strip(), pathname
            assert series.dtype == record["values"].dtype, pathname
            np.testing.assert_array_equal(series.index.to_numpy().astype("datetime64[s]"),
                                          record["times"], err_msg=pathname)
            np.testing.assert_array_equal(series.to_numpy(), as_read(record["values"]),
                                          err_msg=pathname)
            checked += 1
    assert checked > 0


def test_paired_data_reads_as_its_dump(fixtures_dir, dump_of):
    for name in ("fixture7.dss", "sample7.dss", "fixture6.dss", "sample6.dss"):
        with varnock.open(fixtures_dir / name) as db:
            for pathname, record in dump_of(name).items():
                if not 200 <= record["rectype"] < 210:
                    continue
                frame = db.read(pathname)
                np.testing.assert_array_equal(frame.index.to_numpy(), record["ordinates"])
                np.testing.assert_array_equal(frame.to_numpy().T, as_read(record["curves"]))
                assert frame.dtypes.iloc[0] == record["curves"].dtype
                if record["has_labels"]:
                    assert list(frame.columns) == record["labels"]
                assert frame.attrs["units"] == (record["units_independent"],
                                                record["units_dependent"])


def test_raw_values_through_numpy_keep_the_markers(fixtures_dir, dump_of):
    """read_numpy maps markers to NaN; the automation class holds -901 exactly."""
    record = dump_of("fixture7.dss")["/FIXTURES/HOURLY/FLOW/01Jan2021/1Hour/F77-ZSRTS/"]
    present = record["values"] > -3.4e38  # written slots, missing markers included
    first = record["times"][present][0]
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/FIXTURES/HOURLY/FLOW//1HOUR/F77-ZSRTS/"
    ts.Starting = first
    ts.ValueCount = 24
    with varnock.open(fixtures_dir / "fixture7.dss") as db:
        ts.Retrieve(db)
        times, values = db.read_numpy("/FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/",
                                      start=first, end=ts.times[-1])
    stored = record["values"][present][:24]
    assert ts.Value(13) == -901.0 and stored[13] == -901.0
    np.testing.assert_array_equal(ts._values_array(), stored)
    np.testing.assert_array_equal(values, as_read(stored))
    np.testing.assert_array_equal(times, ts.times)


def test_condensed_catalog_and_read_many_of_the_fixture(fixtures_dir):
    with varnock.open(fixtures_dir / "fixture7.dss") as db:
        condensed = db.catalog(condensed=True)
        hourly = condensed[condensed["C"] == "FLOW"].set_index("B").loc["HOURLY"]
        assert hourly["D"] == "01Jan2021 - 01APR2021" and hourly["records"] == 4
        whole = db.read(hourly["pathname"]).dropna()
        assert len(whole) == 2000 - 30 - sum(1 for i in range(2000) if i % 97 == 13
                                             and not 500 <= i < 530)
        wide = db.read_many("/FIXTURES/HOURLY/*/*/*/*/")
        assert list(wide.columns) == ["/FIXTURES/HOURLY/ELEV//6Hour/C-DOUBLE/",
                                      "/FIXTURES/HOURLY/FLOW//1Hour/F77-ZSRTS/"]
        assert wide.dtypes.tolist() == [np.float64, np.float32]


def test_text_records_are_refused_by_name(fixtures_dir):
    with varnock.open(fixtures_dir / "fixture7.dss") as db:
        with pytest.raises(TypeError, match="/FIXTURES/NOTES/README///C-ZTEXTSTORE/ is a TXT"):
            db.read("/FIXTURES/NOTES/README///C-ZTEXTSTORE/")


@pytest.mark.parametrize("pathname, minutes", [
    ("/FIXTURES/QUARTER/PRECIP//15Minute/C-ZTSSTORE/", 15),
    ("/FIXTURES/MONTHLY/VOLUME//1Month/C-ZTSSTORE/", 43200),
    ("/FIXTURES/DAILY/TEMP//1Day/F77-OFFSET/", 1440),
])
def test_file_spellings_become_automation_series(fixtures_dir, pathname, minutes):
    """A series read under the file's E spelling turns into a RegularTimeSeries and back."""
    with varnock.open(fixtures_dir / "fixture7.dss") as db:
        series = db.read(pathname)
    ts = varnock.RegularTimeSeries.from_pandas(series)
    assert ts.Interval == minutes and ts.TsUnits == series.attrs["units"].upper()
    back = ts.to_pandas()
    np.testing.assert_array_equal(back.index.to_numpy(), series.index.to_numpy())
    np.testing.assert_array_equal(back.to_numpy(), series.to_numpy())


def test_dss6_files_are_written_and_read_like_dss7(tmp_path):
    """A new DSS-6 file takes regular, irregular and paired data; each reads back as written,
    and an existing file keeps its version whatever ``version`` says."""
    import pandas as pd

    hourly = pd.Series(np.arange(48, dtype=np.float32),
                       index=pd.date_range("2021-03-01 01:00", periods=48, freq="h"))
    hourly.iloc[5] = np.nan
    irregular = pd.Series([1.5, 2.5, 4.0],
                          index=pd.to_datetime(["2021-03-01 00:07", "2021-03-02 13:30",
                                                "2021-03-09 23:59"]))
    rating = pd.DataFrame({"storage": [0.0, 10.0, 45.0]}, index=[100.0, 101.0, 102.0])
    path = tmp_path / "six.dss"
    with varnock.open(path, "a", version=6) as db:
        assert str(db.Inquire("FVER")).startswith("6")
        db.write("/basin/gage/flow//1Hour/obs/", hourly, units="cfs")
        db.write("/basin/gage/stage//IR-Month/obs/", irregular, units="ft")
        db.write("/basin/res/elev-stor///rating/", rating, units=("ft", "ac-ft"))
    with varnock.open(path, version=7) as db:
        assert str(db.Inquire("FVER")).startswith("6")
        catalog = db.catalog()
        assert all(p == p.upper() for p in catalog["pathname"])
        # DSS-6 keeps whole blocks: the month's slots never written read as missing.
        flow = db.read("/BASIN/GAGE/FLOW//1HOUR/OBS/")
        assert len(flow) == 31 * 24 and flow.iloc[48:].isna().all()
        np.testing.assert_array_equal(flow.iloc[:48].to_numpy(), hourly.to_numpy())
        np.testing.assert_array_equal(flow.index[:48], hourly.index)
        stage = db.read("/BASIN/GAGE/STAGE//IR-MONTH/OBS/")
        np.testing.assert_array_equal(stage.to_numpy(), irregular.to_numpy(np.float32))
        np.testing.assert_array_equal(stage.index, irregular.index)
        table = db.read("/BASIN/RES/ELEV-STOR///RATING/")
        np.testing.assert_array_equal(table.to_numpy().ravel(), rating.to_numpy().ravel())
    with varnock.open(tmp_path / "seven.dss", "a") as db:
        assert str(db.Inquire("FVER")).startswith("7")
