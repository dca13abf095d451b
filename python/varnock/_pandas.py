"""pandas objects from and to the arrays the records hold.

pandas is imported on first use only, so ``import varnock`` stays quick for scripts that never
need it. Series values keep the record's precision (float32 for float records, float64 for
double records); missing values are NaN.
"""

from __future__ import annotations

from typing import Optional, Sequence

import numpy as np

from . import _convert

# The instants a pandas DatetimeIndex (nanoseconds in 64 bits) can hold, in whole seconds.
_PANDAS_FIRST_SECOND = -9223372036
_PANDAS_LAST_SECOND = 9223372036


def _pd():
    import pandas

    return pandas


def time_index(seconds: np.ndarray, record: str):
    """A DatetimeIndex of int64 seconds; a clear error naming ``record`` when out of range."""
    pd = _pd()
    seconds = np.asarray(seconds, dtype=np.int64)
    if len(seconds) and (seconds.min() < _PANDAS_FIRST_SECOND
                         or seconds.max() > _PANDAS_LAST_SECOND):
        first = _convert.seconds_to_datetime64(seconds[:1])[0]
        last = _convert.seconds_to_datetime64(seconds[-1:])[0]
        raise pd.errors.OutOfBoundsDatetime(
            f"{record}: its dates ({first} to {last}) lie outside the years pandas can hold "
            f"(1677-09-22 to 2262-04-11); read .times and .values as NumPy arrays instead")
    return pd.DatetimeIndex((seconds * 1_000_000_000).view("datetime64[ns]"), name="time")


def to_series(seconds: np.ndarray, values: np.ndarray, name: str, attrs: dict):
    """A pandas Series named ``name`` with NaN for missing values and ``attrs`` attached.

    Takes ``values`` over (markers are replaced in place): pass an array nobody else holds.
    """
    pd = _pd()
    series = pd.Series(_convert.markers_to_nan(values, copy=False),
                       index=time_index(seconds, name), name=name, copy=False)
    series.attrs.update(attrs)
    return series


def series_parts(series, what: str = "series"):
    """(seconds, values) of a pandas Series with a DatetimeIndex, sorted check included."""
    pd = _pd()
    if isinstance(series, pd.DataFrame):
        if series.shape[1] != 1:
            raise TypeError(f"{what} must be a pandas Series (a DataFrame with one column "
                            f"will do), not a DataFrame with {series.shape[1]} columns")
        series = series.iloc[:, 0]
    if not isinstance(series, pd.Series):
        raise TypeError(f"{what} must be a pandas Series, not {type(series).__name__}")
    if not isinstance(series.index, pd.DatetimeIndex):
        raise TypeError(f"{what} needs a DatetimeIndex, not {type(series.index).__name__}")
    seconds = _convert.datetime64_to_seconds(series.index)
    if len(seconds) > 1 and (np.diff(seconds) <= 0).any():
        raise ValueError(f"{what}: the times must increase strictly (sort the index and drop "
                         f"duplicate times first)")
    return seconds, series


def to_frame(ordinates: np.ndarray, curves: np.ndarray, labels: Sequence[str], name: str,
             attrs: dict):
    """Paired data as a DataFrame: index the independent ordinates, one column per curve."""
    pd = _pd()
    curves = np.atleast_2d(curves)
    columns = list(labels) if labels and any(label.strip() for label in labels) else \
        list(range(1, curves.shape[0] + 1))
    frame = pd.DataFrame(_convert.markers_to_nan(curves.T), columns=columns,
                         index=pd.Index(ordinates, name=attrs.get("independent") or None))
    frame.attrs.update(attrs)
    frame.attrs["pathname"] = name
    return frame


def frame_parts(frame, what: str = "paired data"):
    """(ordinates, curves[ncurve, nord], labels) of a DataFrame, labels None when unnamed."""
    pd = _pd()
    if isinstance(frame, pd.Series):
        frame = frame.to_frame()
    if not isinstance(frame, pd.DataFrame):
        raise TypeError(f"{what} must be a pandas DataFrame, not {type(frame).__name__}")
    if frame.shape[1] == 0 or frame.shape[0] == 0:
        raise ValueError(f"{what} needs at least one row and one column")
    try:
        ordinates = frame.index.to_numpy(dtype=np.float64)
        curves = frame.to_numpy(dtype=np.float64, na_value=np.nan).T
    except (TypeError, ValueError):
        raise TypeError(f"{what}: the index and the columns must hold numbers") from None
    labels = None if isinstance(frame.columns, pd.RangeIndex) else \
        [str(column) for column in frame.columns]
    return ordinates, curves, labels


def catalog_frame(rows: list, condensed: bool):
    """The catalog DataFrame of ``DSSDatabase.catalog``."""
    pd = _pd()
    columns = ["pathname", "A", "B", "C", "D", "E", "F", "record_type", "type_code"]
    if condensed:
        columns += ["start", "end", "records"]
    frame = pd.DataFrame(rows, columns=columns)
    if condensed:
        for column in ("start", "end"):
            frame[column] = pd.to_datetime(frame[column])
    return frame


def wide_frame(columns: dict):
    """Series of one pattern joined on the union of their times (``read_many``)."""
    pd = _pd()
    if not columns:
        return pd.DataFrame(index=pd.DatetimeIndex([], name="time"))
    return pd.concat(columns, axis=1, join="outer", copy=False)


def optional_text(value: Optional[str], what: str) -> Optional[str]:
    if value is not None and not isinstance(value, str):
        raise TypeError(f"{what} must be text, not {type(value).__name__}")
    return value
