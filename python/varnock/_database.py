"""``varnock.open`` and the one-line reading, writing and cataloguing members of DSSDatabase.

A ``DSSDatabase`` stays the automation connection it always is; these members add a second,
engine-level handle on the same file (``varnock._varnock._engine.File``) for what the
automation vocabulary cannot carry: every E part spelling a file holds (``15Minute``, ``~1Day``),
double-precision records, record types and whole arrays without a loop per value.
"""

from __future__ import annotations

import io
import os
import weakref
from typing import Optional

import numpy as np

from . import _convert, _pandas

_MODES = {"r": "read-only", "a": "read-write, created when missing"}
# HEC julian day of 1970-01-01 (day 1 is 1900-01-01).
_JULIAN_1970 = 25568


class _State:
    """What the layer keeps per database: the open mode and the engine handle."""

    def __init__(self, mode: Optional[str]):
        self.mode = mode
        self.file = None
        self.path = None

    def close(self) -> None:
        if self.file is not None:
            self.file.close()
        self.file = None
        self.path = None


_states: dict = {}


def _state(db, mode: Optional[str] = None) -> _State:
    key = id(db)
    state = _states.get(key)
    if state is None:
        state = _states[key] = _State(mode)
        weakref.finalize(db, _forget, key)
    elif mode is not None:
        state.mode = mode
    return state


def _forget(key: int) -> None:
    state = _states.pop(key, None)
    if state is not None:
        state.close()


def open(path, mode: str = "r", version: int = 7):  # noqa: A001 (like io.open)
    """Open the DSS file ``path`` and return a connected ``DSSDatabase``.

    ``mode`` is ``"r"`` (read-only; the file must exist) or ``"a"`` (read and write, the file
    is created when missing). DSS-6 and DSS-7 files both open; ``version`` (6 or 7) is the
    version of a file created here; an existing file keeps its own. Use it as a context manager to close the file on leaving the
    block, also when an exception leaves it::

        with varnock.open("flows.dss") as db:
            flow = db.read("/BASIN/GAGE/FLOW//1Hour/OBS/")
    """
    from ._varnock import DSSDatabase

    if not isinstance(mode, str) or mode not in _MODES:
        raise ValueError(f"mode must be 'r' (read-only) or 'a' (read-write), not {mode!r}")
    if isinstance(path, bytes):
        path = os.fsdecode(path)
    try:
        path = os.fspath(path)
    except TypeError:
        raise TypeError(f"path must be a file name (str or os.PathLike), "
                        f"not {type(path).__name__}") from None
    if version not in (6, 7):
        raise ValueError(f"version must be 6 or 7, not {version!r}")
    db = DSSDatabase()
    if version == 6 and mode == "a" and not os.path.exists(path):
        db.Setting("DSSV", 6)  # the next new file is DSS-6; the option resets once it is made
    db.Name = path
    db.Connect(mode == "a")
    _state(db, mode)
    return db


def _engine_file(db, write: bool = False):
    """The engine handle on the connected file, opened on first use."""
    if not db.IsConnected:
        db.AsCollection()  # raises the library's own "No DSS file connected"
    state = _state(db)
    if write and state.mode == "r":
        raise io.UnsupportedOperation(f"{db.Name} is open read-only (mode 'r'); "
                                      f"open it with mode 'a' to write")
    if state.file is None or state.path != db.Name:
        from ._varnock import _engine

        state.close()
        path = os.path.abspath(db.Name)
        writable = state.mode == "a" if state.mode else os.access(path, os.W_OK)
        state.file = _engine.File(path, writable=writable)
        state.path = db.Name
    return state.file


# --- members of DSSDatabase --------------------------------------------------------------------

def _enter(self):
    return self


def _exit(self, exc_type, exc, traceback) -> bool:
    self.close()
    return False


def _close(self) -> None:
    """Close the file (the automation ``Disconnect``); closing twice is harmless."""
    state = _states.get(id(self))
    if state is not None:
        state.close()
    self.Disconnect()


def _closed(self) -> bool:
    """True when no file is connected."""
    return not self.IsConnected


def _mode(self) -> Optional[str]:
    """The mode given to ``varnock.open`` ("r" or "a"); None for a database made otherwise."""
    state = _states.get(id(self))
    return state.mode if state is not None else None


def _repr(self) -> str:
    mode = _mode(self)
    state = "open" if self.IsConnected else "closed"
    return f"<varnock.DSSDatabase {self.Name}{f' mode {mode!r}' if mode else ''}, {state}>"


def _julian_date(julian: int):
    return np.datetime64(int(julian) - _JULIAN_1970, "D") if julian else np.datetime64("NaT")


def _catalog_rows(self, pattern: Optional[str]):
    rows = []
    for entry in _engine_file(self).catalog():
        pathname = entry[0]
        parts = pathname.split("/")[1:7]
        if len(parts) == 6 and _convert.matches_pattern(parts, pattern):
            rows.append((pathname, parts, entry))
    rows.sort(key=lambda row: row[0])
    return rows


def _catalog(self, pattern: Optional[str] = None, condensed: bool = False):
    """The file's records as a pandas DataFrame, one row per record, sorted by pathname.

    Columns: ``pathname`` (as stored, ready for ``read``), ``A`` to ``F``, ``record_type``
    (text such as ``RTS``, ``ITS``, ``PD``) and ``type_code`` (100 regular float, 105 regular
    double, 110/115 irregular, 200/205 paired, ...). ``pattern`` selects pathnames: either
    ``/A/B/C/D/E/F/`` with a glob (``*``, ``?``) or an empty part (anything) in each part, or
    one glob over the whole pathname; matching ignores case. ``condensed=True`` gives one row
    per series (its blocks joined: D part ``first - LAST``) with ``start`` and ``end`` dates
    and the number of ``records``.
    """
    if pattern is not None and not isinstance(pattern, str):
        raise TypeError(f"pattern must be text, not {type(pattern).__name__}")
    rows = _catalog_rows(self, pattern)
    if not condensed:
        return _pandas.catalog_frame(
            [(pathname, *parts, entry[2], entry[1]) for pathname, parts, entry in rows], False)
    groups: dict = {}
    for pathname, parts, entry in rows:
        groups.setdefault(_convert.series_key(parts), []).append((parts, entry))
    condensed_rows = []
    for members in groups.values():
        members.sort(key=lambda member: _convert.parse_block_date(member[0][3]) or 0)
        first, last = members[0][0], members[-1][0]
        parts = list(first)
        if len(members) > 1:
            parts[3] = f"{first[3]} - {last[3].upper()}"
        entries = [entry for _, entry in members]
        starts = [entry[3] for entry in entries if entry[3]]
        ends = [entry[4] for entry in entries if entry[4]]
        condensed_rows.append((
            _convert.join_pathname(parts), *parts, entries[0][2], entries[0][1],
            _julian_date(min(starts)) if starts else np.datetime64("NaT"),
            _julian_date(max(ends)) if ends else np.datetime64("NaT"), len(members)))
    return _pandas.catalog_frame(condensed_rows, True)


def _window(parts, start, end):
    """The inclusive engine window of a read: the dates given, else the blocks D names."""
    if start is not None or end is not None:
        first = None if start is None else _convert.to_seconds(start, "start")
        last = None if end is None else _convert.to_seconds(end, "end")
        if first is not None and last is not None and last < first:
            raise ValueError(f"end ({end}) is before start ({start})")
        return first, last
    named = _convert.d_part_window(parts[3], parts[4])
    if named is None:
        return None, None
    # A block holds the times after its start date up to the next block's start (2400).
    return named[0] + 1, named[1]


def _read_arrays(self, pathname, start=None, end=None) -> dict:
    parts = _convert.split_pathname(pathname)
    text = _convert.join_pathname(parts)
    file = _engine_file(self)
    first, last = _window(parts, start, end)
    if _convert.regular_interval(parts[4]) is not None:
        data = file.read_regular(text, first, last)
    elif _convert.irregular_block(parts[4]) is not None:
        data = file.read_irregular(text, first, last)
    else:
        return {"paired": _read_other(file, text)}
    data["e_part"] = parts[4]
    return data


def _read_other(file, text: str):
    found = file.record_type(text)
    if found is None:
        raise ValueError(f"no record {text} in {file.path}: its E part names no time-series "
                         f"interval and no record has that pathname")
    code, name = found
    if not 200 <= code < 210:
        raise TypeError(f"{text} is a {name} record (type {code}); read() handles time "
                        f"series and paired data")
    return file.read_paired(text)


def _read(self, pathname, start=None, end=None):
    """Read one record into pandas: a Series for time series, a DataFrame for paired data.

    ``pathname`` may be written as ``catalog()`` lists it (``1Hour``, ``15Minute``,
    ``IR-Month``, ``~1Day``, any case) or in the automation spelling (``1HOUR``, ``15MIN``,
    ``1MON``). A blank D part reads the whole series, from its first to its last written
    value; a D part naming a block (``01Jan2021``, or ``01Jan2021 - 01MAR2021`` from a
    condensed catalog) reads those whole blocks; ``start`` and ``end`` (dates, inclusive)
    select a window instead. Missing values are NaN; float records
    give float32, double records float64. ``attrs`` holds ``units``, ``type``, ``interval``
    and ``record_type``.
    """
    data = _read_arrays(self, pathname, start, end)
    name = _convert.pathname_text(pathname)
    if "paired" in data:
        paired = data["paired"]
        curves = np.asarray(paired["curves"])
        ordinates = np.asarray(paired["ordinates"])
        if not paired.get("doubles"):
            curves, ordinates = curves.astype(np.float32), ordinates.astype(np.float32)
        attrs = {"units": tuple(paired["units"]), "type": tuple(paired["types"])}
        return _pandas.to_frame(ordinates, curves, paired["labels"], name, attrs)
    attrs = {"pathname": name, "units": data["units"], "type": data["type"],
             "interval": data["e_part"], "record_type": data["record_type"]}
    return _pandas.to_series(data["times"], data["values"], name, attrs)


def _read_numpy(self, pathname, start=None, end=None):
    """Read one time series as NumPy arrays ``(times, values)``: datetime64[s] and floats.

    Takes the arguments of ``read``; works for every date a DSS file can hold, also those
    outside pandas' years. Missing values are NaN.
    """
    data = _read_arrays(self, pathname, start, end)
    if "paired" in data:
        raise TypeError(f"{_convert.pathname_text(pathname)} is paired data; use read()")
    return (_convert.seconds_to_datetime64(data["times"]),
            _convert.markers_to_nan(data["values"], copy=False))


def _read_many(self, pattern: Optional[str] = None, start=None, end=None):
    """Read every time series whose pathname matches ``pattern`` into one wide DataFrame.

    One column per series (named by its pathname with a blank D part), joined on the union of
    their dates (NaN where a series has no value). ``pattern`` as in ``catalog``; records
    that are not time series are left out.
    """
    columns = {}
    for pathname in _catalog(self, pattern, condensed=True)["pathname"]:
        parts = pathname.split("/")[1:7]
        if _convert.regular_interval(parts[4]) is None and \
                _convert.irregular_block(parts[4]) is None:
            continue
        parts[3] = ""
        name = _convert.join_pathname(parts)
        columns[name] = _read(self, name, start, end)
    return _pandas.wide_frame(columns)


def _write(self, pathname, data, units: Optional[str] = None, type: Optional[str] = None,
           precision: Optional[str] = None) -> None:
    """Write a pandas Series (time series) or DataFrame (paired data) under ``pathname``.

    A Series is written as a regular series when the pathname's E part names a regular
    interval (missing steps become missing values) or, with a blank E part, when the index
    has a constant step that names one (also whole months and years); otherwise as an
    irregular series (E part ``IR-...`` or ``~...``, or a block chosen from the data).
    NaN is written as the missing marker -901. ``units`` and ``type`` default to
    ``data.attrs`` (type ``INST-VAL`` for series, ``UNT`` for paired data); ``precision``
    ("float32" or "float64") defaults to the data's: float64 data make double records.
    A DataFrame whose index is not a DatetimeIndex is paired data: index the first axis,
    columns the curves (their names the labels); ``units``/``type`` are then pairs.
    """
    import pandas as pd

    parts = _convert.split_pathname(pathname)
    file = _engine_file(self, write=True)
    if isinstance(data, pd.DataFrame) and not isinstance(data.index, pd.DatetimeIndex):
        _write_paired(file, parts, data, units, type, precision)
        return
    seconds, series = _pandas.series_parts(data, "data")
    if len(seconds) == 0:
        raise ValueError(f"nothing to write to {_convert.join_pathname(parts)}: the series "
                         f"is empty")
    units = _pandas.optional_text(units, "units")
    type = _pandas.optional_text(type, "type")
    units = units if units is not None else str(series.attrs.get("units", ""))
    type = type if type is not None else str(series.attrs.get("type", "") or "INST-VAL")
    values = _convert.nan_to_markers(series, _convert.float_dtype(series, precision))
    grid = _regular_grid(parts, seconds)
    text = _convert.join_pathname(parts)
    if grid is not None:
        first, slots = grid
        if slots is not None:
            filled = np.full(slots[-1] + 1, _convert.MISSING, dtype=values.dtype)
            filled[slots] = values
            values = filled
        file.write_regular(text, first, values, units, type)
    else:
        file.write_irregular(text, seconds, values, units, type)


def _regular_grid(parts: list, seconds: np.ndarray):
    """(first time, slot of each value or None) for a regular write, None for irregular.

    Fills a blank E part (``parts`` is changed) with the interval the times show, else with
    an irregular block.
    """
    e_part = parts[4].strip()
    interval = _convert.regular_interval(e_part) if e_part else None
    if e_part and interval is None:
        if _convert.irregular_block(e_part) is None:
            raise ValueError(f"E part {e_part!r} names no DSS interval (regular such as "
                             f"1Hour or 15MIN, irregular such as IR-Month or ~1Day)")
        return None
    if interval is None:
        interval = _step_interval(seconds)
        if interval is None:
            parts[4] = _convert.irregular_block_for(seconds)
            return None
        parts[4] = interval.name
    first = int(seconds[0])
    if interval.months:
        expected = np.array([_convert.add_months(first, interval.months * i)
                             for i in range(len(seconds))], dtype=np.int64)
        if not np.array_equal(expected, seconds):
            raise ValueError(f"the dates are not one per {interval.name} without gaps")
        return first, None
    if interval.seconds >= 864000:  # Tri-Month, Semi-Month: taken in order as given
        return first, None
    steps = np.diff(seconds)
    if (steps == interval.seconds).all():
        return first, None
    offsets = seconds - first
    if (offsets % interval.seconds).any():
        raise ValueError(f"the dates do not fall on a {interval.name} grid from {seconds[0]}")
    slots = offsets // interval.seconds
    return first, (None if slots[-1] == len(slots) - 1 else slots)


def _step_interval(seconds: np.ndarray):
    """The regular interval that a constant step of the times names, else None."""
    if len(seconds) < 2:
        return None
    steps = np.diff(seconds)
    if (steps == steps[0]).all():
        fixed = _convert.interval_for_step(int(steps[0]))
        if fixed is not None:
            return fixed
    first = int(seconds[0])
    for interval in (_convert.regular_interval("1Month"), _convert.regular_interval("1Year")):
        if all(_convert.add_months(first, interval.months * i) == seconds[i]
               for i in range(len(seconds))):
            return interval
    return None


def _write_paired(file, parts, frame, units, type, precision) -> None:
    from ._records import _axis_pair

    ordinates, curves, labels = _pandas.frame_parts(frame, "data")
    dtype = _convert.float_dtype(frame.to_numpy(), precision)
    units = _axis_pair(units if units is not None else frame.attrs.get("units", ("", "")),
                       "units")
    types = _axis_pair(type if type is not None else frame.attrs.get("type", ("UNT", "UNT")),
                       "type")
    file.write_paired(_convert.join_pathname(parts),
                      _convert.nan_to_markers(ordinates, dtype),
                      np.stack([_convert.nan_to_markers(curve, dtype) for curve in curves]),
                      labels, units, types, doubles=dtype == np.float64)


def _restore(name: str, mode: Optional[str], connected: bool):
    """Unpickle a database: reopen it by name and mode, or leave it closed."""
    if connected:
        return open(name, mode)
    from ._varnock import DSSDatabase

    db = DSSDatabase()
    db.Name = name
    _state(db, mode)
    return db


def install(module) -> None:
    """Add the members above to the extension's DSSDatabase."""
    cls = module.DSSDatabase
    base_reduce = cls.__reduce_ex__

    def __reduce_ex__(self, protocol):
        mode = _mode(self)
        if mode is None:
            return base_reduce(self, protocol)
        return _restore, (self.Name, mode, self.IsConnected)

    cls.__reduce_ex__ = __reduce_ex__
    cls.__enter__ = _enter
    cls.__exit__ = _exit
    cls.__repr__ = _repr
    cls.close = _close
    cls.closed = property(_closed, doc=_closed.__doc__)
    cls.mode = property(_mode, doc=_mode.__doc__)
    cls.catalog = _catalog
    cls.read = _read
    cls.read_numpy = _read_numpy
    cls.read_many = _read_many
    cls.write = _write
