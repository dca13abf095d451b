"""Tests of the extension varnock._varnock itself: enumerations, errors, get/let members,
CreateObject, conversions, bad input, pickling, the engine handle and threads."""

import datetime
import enum
import os
import pickle
import subprocess
import sys
import threading

import numpy as np
import pytest

import varnock
from varnock._varnock import _engine

OBJECT_ERROR_BASE = 0x80040000 - (1 << 32)  # as a signed 32-bit number


def test_enumerations_are_int_enums_with_members_at_module_level():
    for name, member, value in [
        ("DSSPlans", "plnPreserveMissing", 4),
        ("DSSErrors", "dssBadPathname", 8197),
        ("AggregationTypes", "atUseAverage", 2),
        ("PadMethods", "intPadEDMSmixed", 2),
        ("MergeOptions", "moReplaceData", 1),
        ("IrrAggregationTypes", "atUseAcum", 2),
        ("PDAxes", "axSecondAxis", 2),
        ("StepMethods", "intrpContinuous", 2),
        ("DataTypeEnum", "adVarWChar", 202),
    ]:
        cls = getattr(varnock, name)
        assert issubclass(cls, enum.IntEnum)
        assert getattr(cls, member) == value
        assert getattr(varnock, member) is getattr(cls, member)
    ts = varnock.RegularTimeSeries()
    ts.Plan = varnock.plnDontReplaceExisting
    assert ts.Plan is varnock.DSSPlans.plnDontReplaceExisting
    ts.Padding = 1  # plain ints pass where an enumeration is expected
    assert ts.Padding is varnock.intPadEDMSpolled


def test_create_object_makes_every_creatable_class():
    for name, cls in [
        ("Varnock23.DSSDatabase", varnock.DSSDatabase),
        ("Varnock23.Pathname", varnock.Pathname),
        ("varnock23.regulartimeseries", varnock.RegularTimeSeries),
        ("Varnock23.IrregTimeSeries", varnock.IrregTimeSeries),
        ("Varnock23.PairedData", varnock.PairedData),
        ("Varnock23.GriddedData", varnock.GriddedData),
    ]:
        assert type(varnock.CreateObject(name)) is cls
    with pytest.raises(varnock.AutomationError) as raised:
        varnock.CreateObject("Scripting.Dictionary")
    assert raised.value.number == 429


def test_automation_error_attributes_text_and_pickling():
    ts = varnock.RegularTimeSeries()
    with pytest.raises(varnock.AutomationError) as raised:
        ts.Starting
    error = raised.value
    assert error.number == OBJECT_ERROR_BASE + 8196
    assert error.hresult == 0x80042004
    assert error.source == "RegularTimeSeries"
    assert error.description == "Starting property not set"
    assert error.helpcontext == 517
    assert str(error).startswith("0x80042004 RegularTimeSeries: Starting property not set")
    copy = pickle.loads(pickle.dumps(error))
    assert (copy.number, copy.source, copy.description, copy.helpfile, copy.helpcontext) == (
        error.number, error.source, error.description, error.helpfile, error.helpcontext)
    with pytest.raises(varnock.AutomationError) as raised:
        ts.Value(5)
    assert raised.value.number == 9 and str(raised.value) == "9 Varnock23: Subscript out of range"


def test_get_and_let_of_plain_and_indexed_properties():
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/basin/gauge/flow//1hour/obs/"
    assert ts.Pathname is ts.Pathname  # the same object each time
    assert ts.Interval == 60 and ts.Pathname.Cpart == "FLOW"
    ts.Starting = datetime.datetime(2021, 3, 7, 9, 30)
    ts.ValueCount = 3
    ts.SetValue(1, 2.5)
    ts.TsUnits = "cfs"
    assert (ts.Value(1), ts.TsUnits, ts.ValueCount) == (2.5, "CFS", 3)
    assert ts.DateTime(2) == datetime.datetime(2021, 3, 7, 11, 30)
    assert ts.Ending == datetime.datetime(2021, 3, 7, 11, 30)
    with pytest.raises(varnock.AutomationError):
        ts.SetDateTime(0, datetime.datetime(2021, 1, 1))
    pd = varnock.PairedData()
    pd.SetNcurveNord(2, 3)
    pd.SetYValue(1, 2, 7.0)
    pd.SetUnits(varnock.axFirstAxis, "ft")
    pd.SetLABEL(0, "low")
    assert (pd.YValue(1, 2), pd.Units(varnock.axFirstAxis), pd.LABEL(0)) == (7.0, "ft", "low")
    its = varnock.IrregTimeSeries()
    its.Aggregation = varnock.atUseAcum
    with pytest.raises(AttributeError):
        its.Aggregation


def test_script_query_interface_returns_the_same_object():
    ts = varnock.RegularTimeSeries()
    assert ts.ScriptQueryInterface(" idssrecord ") is ts
    assert isinstance(ts, (varnock.IDSSRecord, varnock.IRTSTransform, varnock.IHTSLStream))
    assert ts.ScriptQueryInterface("Pathname") is None
    assert varnock.IrregTimeSeries().ScriptQueryInterface("IRTSTransform") is None


@pytest.mark.parametrize("value", [
    datetime.datetime(2021, 3, 7, 9, 30, 15),
    datetime.datetime(1899, 12, 29, 6, 0),
    datetime.datetime(1700, 1, 1, 23, 59, 59),
    datetime.datetime(9999, 12, 31, 12, 0),
])
def test_dates_round_trip_through_the_automation_date(value):
    its = varnock.IrregTimeSeries()
    its.ValueCount = 1
    its.SetDateTime(0, value)
    assert its.DateTime(0) == value
    seconds = int((value - datetime.datetime(1970, 1, 1)).total_seconds())
    assert its._times_array()[0] == seconds
    its._set_times_values(np.array([seconds]), np.array([1.0]))
    assert its.DateTime(0) == value


def test_variants_map_to_python_values():
    d = varnock.Dictionary()
    items = [None, varnock.Null, 7, 2.5, "text", True, datetime.datetime(2020, 1, 2, 3, 4, 5),
             [1, "a", None], varnock.Pathname()]
    for i, item in enumerate(items):
        d.Add(str(i), item)
    back = d.Items()
    assert back[:8] == items[:8] and back[1] is varnock.Null
    assert back[8] is items[8]
    assert pickle.loads(pickle.dumps(d)).Items()[:8] == items[:8]
    d.SetItem("big", 2 ** 40)  # beyond a Long: carried as a Double
    assert d.Item("big") == float(2 ** 40)


@pytest.mark.parametrize("epart, snap", [("1MIN", False), ("15MIN", False), ("1HOUR", False),
                                         ("1DAY", False), ("1WEEK", False), ("1MON", False),
                                         ("1YEAR", False), ("1HOUR", True), ("1DAY", True)])
def test_times_array_agrees_with_date_time(epart, snap):
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = f"/A/B/C//{epart}/F/"
    ts.Starting = datetime.datetime(1899, 11, 30, 7, 13, 20)
    ts.IntervalSnap = snap
    ts.ValueCount = 400
    epoch = datetime.datetime(1970, 1, 1)
    expected = [int((ts.DateTime(i) - epoch).total_seconds()) for i in range(400)]
    np.testing.assert_array_equal(ts._times_array(), expected)


def test_bulk_accessors_round_trip():
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/A/B/C//15MIN/F/"
    ts.Starting = datetime.datetime(2021, 1, 1, 0, 15)
    values = np.array([1.5, -901.0, 3.25], dtype=np.float32)
    ts._set_values_array(values)
    assert ts.ValueCount == 3
    np.testing.assert_array_equal(ts._values_array(), values)
    np.testing.assert_array_equal(np.diff(ts._times_array()), [900, 900])
    pd = varnock.PairedData()
    pd._set_arrays([1, 2, 3], [[4, 5, 6], [7, 8, 9]], ["a", "b"])
    np.testing.assert_array_equal(pd._curves_array()[1], [7, 8, 9])
    assert pd._labels() == ["a", "b"]


@pytest.mark.parametrize("action, error", [
    (lambda: varnock.RegularTimeSeries().SetValue("x", 1.0), TypeError),
    (lambda: setattr(varnock.RegularTimeSeries(), "ValueCount", -5), varnock.AutomationError),
    (lambda: setattr(varnock.RegularTimeSeries(), "ValueCount", 2 ** 40), TypeError),
    (lambda: varnock.PairedData().SetNcurveNord(1, 40000), TypeError),
    (lambda: varnock.PairedData().SetNcurveNord(-1, -1), varnock.AutomationError),
    (lambda: varnock.PairedData()._set_arrays([1, 2], [[1, 2, 3]]), ValueError),
    (lambda: varnock.IrregTimeSeries()._set_times_values([1, 2], [1.0]), ValueError),
    (lambda: varnock.RegularTimeSeries().Retrieve(None), varnock.AutomationError),
    (lambda: varnock.RegularTimeSeries().Store(varnock.DSSDatabase()), varnock.AutomationError),
    (lambda: varnock.DSSDatabase().AsCollection(), varnock.AutomationError),
    (lambda: varnock.DSSDatabase().Inquire("NAME"), varnock.AutomationError),
    (lambda: setattr(varnock.Pathname(), "Name", "no slashes"), varnock.AutomationError),
    (lambda: setattr(varnock.RegularTimeSeries(), "Starting", "not a date"), ValueError),
    (lambda: setattr(varnock.RegularTimeSeries(), "Starting", object()), TypeError),
    (lambda: varnock.Dictionary().Add("k", object()), TypeError),
    (lambda: _engine.File("/nonexistent/x.dss"), varnock.AutomationError),
])
def test_bad_input_raises_and_never_crashes(action, error):
    with pytest.raises(error):
        action()


def test_database_round_trip_pickling_and_closed_use(tmp_path):
    name = str(tmp_path / "binding.dss")
    db = varnock.DSSDatabase()
    db.Name = name
    db.Connect(True)
    ts = varnock.RegularTimeSeries()
    ts.Pathname.Name = "/A/B/FLOW//1HOUR/PY/"
    ts.Starting = datetime.datetime(2021, 1, 1, 1)
    ts._set_values_array(np.arange(48, dtype=np.float32))
    ts.Store(db)
    copy = pickle.loads(pickle.dumps(db))
    assert copy.IsConnected and copy.Name == name
    back = pickle.loads(pickle.dumps(ts))
    back.ValueCount = 0
    back.ValueCount = 48
    back.Retrieve(copy)
    np.testing.assert_array_equal(back._values_array(), np.arange(48))
    copy.Disconnect()
    with pytest.raises(varnock.AutomationError) as raised:
        back.Retrieve(copy)
    assert raised.value.hresult == 0x80042001


def test_engine_file_sees_what_the_database_writes(tmp_path):
    name = str(tmp_path / "two_handles.dss")
    db = varnock.DSSDatabase()
    db.Name = name
    db.Connect(True)
    with _engine.File(name, writable=True) as handle:
        assert handle.catalog() == []
        ts = varnock.RegularTimeSeries()
        ts.Pathname.Name = "/A/B/FLOW//1HOUR/PY/"
        ts.Starting = datetime.datetime(2021, 1, 1, 1)
        ts._set_values_array(np.array([1, 2, -901], dtype=np.float32))
        ts.Store(db)
        first = int((datetime.datetime(2021, 1, 1, 1) - datetime.datetime(1970, 1, 1)).total_seconds())
        read = handle.read_regular("/a/b/flow//1Hour/py/", first, first + 7200)
        np.testing.assert_array_equal(read["times"], [first, first + 3600, first + 7200])
        assert list(read["values"][:2]) == [1, 2] and read["values"][2] < -900
        # Without a window the missing slots at both ends are trimmed.
        np.testing.assert_array_equal(handle.read_regular("/A/B/FLOW//1HOUR/PY/")["values"], [1, 2])
        handle.write_regular("/A/B/STAGE//15Minute/PY/", read["times"][0],
                             np.array([0.1, 0.2]), "FT", "INST-VAL")
        assert handle.read_regular("/A/B/STAGE//15MIN/PY/")["values"].dtype == np.float64
        handle.write_irregular("/A/B/GATE//~1day/PY/", [first, first + 86400], [1.0, 2.0])
        read = handle.read_irregular("/A/B/GATE//~1Day/PY/")
        np.testing.assert_array_equal(read["times"], [first, first + 86400])
        types = {entry[0]: entry[2] for entry in handle.catalog()}
        assert types["/A/B/STAGE/01Jan2021/15Minute/PY/"] == "RTD"
        assert types["/A/B/GATE/01Jan2021/~1Day/PY/"] == "ITS"
    # The automation catalog shows names as HECLIB 6 does: upper case, vocabulary intervals.
    assert sorted(str(p) for p in db.AsCollection()) == ["/A/B/FLOW/01JAN2021/1HOUR/PY/",
                                                         "/A/B/GATE/01JAN2021/~1DAY/PY/",
                                                         "/A/B/STAGE/01JAN2021/15MIN/PY/"]
    with pytest.raises(varnock.AutomationError):
        handle.catalog()


def test_threads_share_the_engine_safely(tmp_path):
    errors = []

    def work(index):
        try:
            db = varnock.DSSDatabase()
            db.Name = str(tmp_path / f"thread{index % 2}.dss")
            db.Connect(True)
            ts = varnock.RegularTimeSeries()
            ts.Pathname.Name = f"/T/S{index}/FLOW//1HOUR/PY/"
            ts.Starting = datetime.datetime(2021, 1, 1, 1)
            for _ in range(5):
                ts._set_values_array(np.full(500, index, dtype=np.float32))
                ts.Store(db)
                ts.Retrieve(db)
                assert (ts._values_array() == index).all()
            db.Disconnect()
        except Exception as error:  # collected for the main thread
            errors.append(error)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert errors == []


def test_nothing_is_printed_on_success(tmp_path):
    script = f"""
import datetime, numpy, varnock
db = varnock.DSSDatabase(); db.Name = {str(tmp_path / 'quiet.dss')!r}; db.Connect(True)
ts = varnock.RegularTimeSeries(); ts.Pathname.Name = "/A/B/C//1DAY/F/"
ts.Starting = datetime.datetime(2020, 1, 1); ts._set_values_array(numpy.ones(10, "f4"))
ts.Store(db); ts.Retrieve(db); db.MakeNewCatalog(); db.AsRecordset(); db.Inquire("NAME")
db.Disconnect()
"""
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True,
                          env=dict(os.environ), timeout=120)
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
