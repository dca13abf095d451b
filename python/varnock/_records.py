"""NumPy and pandas members added to the automation record classes.

``values`` and ``times`` copy whole arrays through the extension's bulk accessors (no loop per
value in Python); missing values are NaN here and -901 inside the objects and the file.
"""

from __future__ import annotations

import datetime as _dt

import numpy as np

from . import _convert, _pandas


def _record_name(record) -> str:
    try:
        return record.Pathname.Name.strip()
    except Exception:  # a repr or a message must never fail
        return ""


def _datetime(seconds: int) -> _dt.datetime:
    return _dt.datetime(1970, 1, 1) + _dt.timedelta(seconds=int(seconds))


# --- members shared by both series classes ---------------------------------------------------

def _get_values(self) -> np.ndarray:
    """The values as a NumPy array (float32), NaN where the series holds a missing marker."""
    return _convert.markers_to_nan(self._values_array(), copy=False)


def _get_times(self) -> np.ndarray:
    """The date of every value as a NumPy ``datetime64[s]`` array, on the series' clock."""
    if self.ValueCount == 0:
        return np.empty(0, dtype="datetime64[s]")
    return _convert.seconds_to_datetime64(self._times_array())


def _get_flags(self) -> np.ndarray:
    """The quality flags as an int32 array (0 where the series holds none)."""
    return np.asarray(self._flags_array(), dtype=np.int32)


def _iter(self):
    """Pairs (``datetime64[s]``, value) in series order."""
    return iter(zip(self.times, self.values))


def _to_pandas(self):
    """The series as a pandas Series: DatetimeIndex, name the pathname, NaN for missing values.

    ``attrs`` holds ``units``, ``type`` and ``interval`` (the E part). Raises
    ``pandas.errors.OutOfBoundsDatetime`` naming the record when its dates lie outside
    pandas' years; ``times`` and ``values`` still work then.
    """
    name = _record_name(self)
    seconds = self._times_array() if self.ValueCount else np.empty(0, np.int64)
    attrs = {"pathname": name, "units": self.TsUnits, "type": self.TsType,
             "interval": self.Pathname.Epart.strip()}
    return _pandas.to_series(seconds, self._values_array(), name, attrs)


def _apply_pandas_metadata(record, series, pathname, units, type_):
    name = pathname
    if name is None and isinstance(series.name, str) and series.name.startswith("/"):
        name = series.name
    if name is not None:
        record.Pathname.Name = _convert.pathname_text(name)
    units = _pandas.optional_text(units, "units")
    type_ = _pandas.optional_text(type_, "type")
    record.TsUnits = units if units is not None else str(series.attrs.get("units", ""))
    record.TsType = type_ if type_ is not None else str(series.attrs.get("type", ""))


# --- RegularTimeSeries -----------------------------------------------------------------------

def _set_regular_values(self, values) -> None:
    """Replace the values (ValueCount follows the length); NaN is stored as -901."""
    self._set_values_array(_convert.nan_to_markers(values, np.float32))


def _checked_regular_axis(self, seconds: np.ndarray):
    """(interval minutes, first second) after checking that the dates fit this series' grid."""
    if len(seconds) == 0:
        raise ValueError("times must hold at least one date")
    interval = self.Interval
    candidates = [interval] if interval else _interval_candidates(seconds)
    probe = type(self)()
    probe.IntervalSnap = self.IntervalSnap
    for minutes in candidates:
        probe.Interval = minutes
        probe.ValueCount = len(seconds)
        probe.Starting = _datetime(seconds[0])
        if np.array_equal(probe._times_array(), seconds):
            return minutes
    where = f"interval {self.Pathname.Epart.strip()}" if interval else "any interval"
    raise ValueError(f"the times are not regular at {where}: a regular series needs one date "
                     f"per step, without gaps (use an IrregTimeSeries otherwise)")


def _interval_candidates(seconds: np.ndarray) -> list:
    if len(seconds) < 2:
        raise ValueError("one date cannot show the interval: set Interval first")
    step = int(seconds[1] - seconds[0])
    fixed = _convert.interval_for_step(step)
    if fixed is not None and step % 60 == 0:
        return [step // 60]
    return [43200, 525600]


def _set_regular_times(self, times) -> None:
    """Set ``Starting`` (and ``Interval`` when unset) from regular dates, one per value."""
    _set_regular_seconds(self, _convert.datetime64_to_seconds(times))


def _set_regular_seconds(self, seconds: np.ndarray) -> None:
    count = self.ValueCount
    if count and len(seconds) != count:
        raise ValueError(f"times has {len(seconds)} dates but the series has {count} values")
    minutes = _checked_regular_axis(self, seconds)
    if self.Interval != minutes:
        self.Interval = minutes
    self.Starting = _datetime(seconds[0])
    if not count:
        self._set_values_array(np.full(len(seconds), _convert.MISSING, np.float32))


def _regular_from_pandas(cls, series, pathname=None, units=None, type=None):
    """A new RegularTimeSeries from a pandas Series with regular dates.

    The pathname comes from ``pathname`` or the Series' name; the interval from the E part, or
    when that is blank from the step of the index. Missing steps of the index become missing
    values; units and type come from the arguments or ``series.attrs``.
    """
    seconds, series = _pandas.series_parts(series)
    record = cls()
    _apply_pandas_metadata(record, series, pathname, units, type)
    values = _convert.nan_to_markers(series, np.float32)
    interval = record.Interval
    step = interval * 60 if interval and interval not in (43200, 525600) else 0
    if step and len(seconds) and (seconds[-1] - seconds[0]) // step + 1 != len(seconds):
        offsets = seconds - seconds[0]
        if (offsets % step).any():
            raise ValueError(f"the index does not fit the interval "
                             f"{record.Pathname.Epart.strip()}")
        grid = np.full(int(offsets[-1] // step) + 1, _convert.MISSING, np.float32)
        grid[offsets // step] = values
        values = grid
        seconds = seconds[0] + step * np.arange(len(grid), dtype=np.int64)
    _set_regular_seconds(record, seconds)
    record._set_values_array(values)
    return record


# --- IrregTimeSeries -------------------------------------------------------------------------

def _set_irregular_values(self, values) -> None:
    """Replace the values, one per existing date; NaN is stored as -901."""
    values = _convert.nan_to_markers(values, np.float32)
    if len(values) != self.ValueCount:
        raise ValueError(f"values has {len(values)} entries but the series has "
                         f"{self.ValueCount} dates: set times first (or use from_pandas)")
    self._set_times_values(self._times_array(), values)


def _set_irregular_times(self, times) -> None:
    """Replace the dates; values stay (same count) or start missing (empty series)."""
    seconds = _convert.datetime64_to_seconds(times)
    count = self.ValueCount
    if count and len(seconds) != count:
        raise ValueError(f"times has {len(seconds)} dates but the series has {count} values")
    values = self._values_array() if count else np.full(len(seconds), _convert.MISSING,
                                                        np.float32)
    self._set_times_values(seconds, values)


def _irregular_from_pandas(cls, series, pathname=None, units=None, type=None):
    """A new IrregTimeSeries from a pandas Series: one value per index date, NaN as -901."""
    seconds, series = _pandas.series_parts(series)
    record = cls()
    _apply_pandas_metadata(record, series, pathname, units, type)
    record._set_times_values(seconds, _convert.nan_to_markers(series, np.float32))
    return record


# --- PairedData ------------------------------------------------------------------------------

def _get_ordinates(self) -> np.ndarray:
    """The independent (first-axis) ordinates as a float32 array of ``Nord`` values."""
    return _convert.markers_to_nan(self._ordinates_array(), copy=False)


def _get_curves(self) -> np.ndarray:
    """The curves as a float32 array of shape (``Ncurve``, ``Nord``), NaN for missing."""
    return _convert.markers_to_nan(self._curves_array(), copy=False)


def _get_labels(self) -> list:
    """The curve labels, one per curve."""
    return list(self._labels())


def _paired_to_pandas(self):
    """The curves as a DataFrame: index the first axis, one column per curve (its label).

    ``attrs`` holds ``units`` and ``type`` as (first axis, second axis) pairs.
    """
    from ._varnock import axFirstAxis, axSecondAxis

    attrs = {"units": (self.Units(axFirstAxis), self.Units(axSecondAxis)),
             "type": (self.PdType(axFirstAxis), self.PdType(axSecondAxis))}
    return _pandas.to_frame(self._ordinates_array(), self._curves_array(), self._labels(),
                            _record_name(self), attrs)


def _paired_from_pandas(cls, frame, pathname=None, units=None, type=None):
    """A new PairedData from a DataFrame (index: first axis; columns: curves).

    ``units`` and ``type`` are (first axis, second axis) pairs, else taken from
    ``frame.attrs``. Column names become the labels unless the columns are unnamed.
    """
    from ._varnock import axFirstAxis, axSecondAxis

    ordinates, curves, labels = _pandas.frame_parts(frame)
    record = cls()
    name = pathname if pathname is not None else frame.attrs.get("pathname")
    if name:
        record.Pathname.Name = _convert.pathname_text(name)
    record._set_arrays(_convert.nan_to_markers(ordinates, np.float32),
                       np.stack([_convert.nan_to_markers(c, np.float32) for c in curves]),
                       labels)
    for axis, index in ((axFirstAxis, 0), (axSecondAxis, 1)):
        for setter, given, key in ((record.SetUnits, units, "units"),
                                   (record.SetPdType, type, "type")):
            pair = given if given is not None else frame.attrs.get(key)
            if pair is not None:
                setter(axis, _axis_pair(pair, key)[index])
    return record


def _axis_pair(value, what: str) -> tuple:
    if isinstance(value, str):
        return (value, value)
    if isinstance(value, (tuple, list)) and len(value) == 2 and \
            all(isinstance(item, str) for item in value):
        return tuple(value)
    raise TypeError(f"{what} must be text or a pair of texts (first axis, second axis)")


def install(module) -> None:
    """Add the members above to the extension's record classes."""
    for cls, set_values, set_times, from_pandas in (
            (module.RegularTimeSeries, _set_regular_values, _set_regular_times,
             _regular_from_pandas),
            (module.IrregTimeSeries, _set_irregular_values, _set_irregular_times,
             _irregular_from_pandas)):
        cls.values = property(_get_values, set_values, doc=_get_values.__doc__)
        cls.times = property(_get_times, set_times, doc=_get_times.__doc__)
        cls.flags = property(_get_flags, doc=_get_flags.__doc__)
        cls.to_pandas = _to_pandas
        cls.from_pandas = classmethod(from_pandas)
        cls.__iter__ = _iter
    paired = module.PairedData
    paired.ordinates = property(_get_ordinates, doc=_get_ordinates.__doc__)
    paired.curves = property(_get_curves, doc=_get_curves.__doc__)
    paired.labels = property(_get_labels, doc=_get_labels.__doc__)
    paired.to_pandas = _paired_to_pandas
    paired.from_pandas = classmethod(_paired_from_pandas)
