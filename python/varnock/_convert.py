"""Conversions shared by the Pythonic layer: missing values, times, E parts and pathnames.

Nothing here touches a file. Times are plain ``int64`` seconds since 1970-01-01 00:00 on the
series' own clock (DSS keeps no time zone); NumPy shows them as ``datetime64[s]``.
"""

from __future__ import annotations

import calendar
import datetime as _dt
import functools
from typing import NamedTuple, Optional, Sequence

import numpy as np

#: The DSS missing-value marker; NaN goes back to the file as exactly this value.
MISSING = -901.0
#: Marks values an operation could not produce; read as NaN like the missing marker.
NOT_COMPUTED = -902.0
# Slots of a DSS-7 block that were never written read back as the lowest float.
UNDEFINED_BELOW = -3.4e38

_SECONDS_PER_DAY = 86400


# --- missing values ------------------------------------------------------------------------

def markers_to_nan(values: np.ndarray, copy: bool = True) -> np.ndarray:
    """``values`` (float32 or float64) with every DSS missing marker as NaN.

    ``copy=False`` changes a float array in place (for arrays the caller owns).
    """
    result = np.array(values, copy=copy)
    if result.dtype.kind != "f":
        result = result.astype(np.float64)
    low = result <= MISSING  # every marker is -901 or below; most series have none
    if low.any():
        low &= (result == MISSING) | (result == NOT_COMPUTED) | (result < UNDEFINED_BELOW)
        result[low] = np.nan
    return result


def nan_to_markers(values, dtype) -> np.ndarray:
    """``values`` as a new contiguous array of ``dtype`` with NaN (and None) as -901."""
    if hasattr(values, "to_numpy"):  # pandas objects: None and pd.NA become NaN first
        values = values.to_numpy() if values.dtype.kind == "f" else \
            values.to_numpy(dtype=np.float64, na_value=np.nan)
    try:
        result = np.array(values, dtype=dtype, copy=True, order="C")
    except (TypeError, ValueError) as error:
        raise TypeError(f"values must be numbers, not {_type_name(values)}: {error}") from None
    if result.ndim != 1:
        raise ValueError(f"values must be one-dimensional, got shape {result.shape}")
    result[np.isnan(result)] = MISSING
    return result


def float_dtype(values, precision: Optional[str]) -> np.dtype:
    """The value type a record is written with: float64 data make double records."""
    if precision is None:
        kind = np.asarray(values).dtype if not hasattr(values, "dtype") else values.dtype
        return np.dtype(np.float64 if np.dtype(kind) == np.float64 else np.float32)
    if precision in ("float32", "single", np.float32):
        return np.dtype(np.float32)
    if precision in ("float64", "double", np.float64):
        return np.dtype(np.float64)
    raise ValueError(f"precision must be 'float32' or 'float64', not {precision!r}")


# --- times ---------------------------------------------------------------------------------

def seconds_to_datetime64(seconds: np.ndarray) -> np.ndarray:
    """int64 seconds since 1970 as ``datetime64[s]`` (no copy when already int64)."""
    return np.asarray(seconds, dtype=np.int64).view("datetime64[s]")


def datetime64_to_seconds(times) -> np.ndarray:
    """Any sequence of dates (datetime64 of any unit, datetimes, texts) as int64 seconds.

    Sub-second parts are rounded to the nearest second; time zones are dropped (the wall
    clock is kept), as DSS stores clock times only.
    """
    if hasattr(times, "tz") and getattr(times, "tz", None) is not None:
        times = times.tz_localize(None)
    if getattr(times, "asi8", None) is not None and str(times.dtype) == "datetime64[ns]":
        array = times.asi8.view("datetime64[ns]")  # a DatetimeIndex: its ticks, no copy
    else:
        array = np.asarray(times.to_numpy() if hasattr(times, "to_numpy") else times)
    if array.dtype.kind == "M":
        if np.isnat(array).any():
            raise ValueError("times must not contain NaT")
        unit, count = np.datetime_data(array.dtype)
        if unit in ("ms", "us", "ns", "ps", "fs", "as"):
            per_second = int(np.timedelta64(1, "s") // np.timedelta64(count, unit))
            ticks = array.view(np.int64)
            seconds = ticks // per_second
            if (ticks - seconds * per_second).any():  # round, only where there is a fraction
                seconds = (ticks + per_second // 2) // per_second
            return seconds
        return array.astype("datetime64[s]").view(np.int64).copy()
    if array.dtype.kind in "iu":
        raise TypeError("times must be dates (datetime64, datetime or date texts), not integers")
    return np.array([to_seconds(item, "time") for item in array.ravel()], dtype=np.int64)


def to_seconds(value, what: str = "date") -> int:
    """One date given as datetime, date, numpy.datetime64, pandas Timestamp or ISO text."""
    if isinstance(value, np.datetime64):
        if np.isnat(value):
            raise ValueError(f"{what} must not be NaT")
        return int(value.astype("datetime64[s]").astype(np.int64))
    if isinstance(value, _dt.datetime):
        if value.tzinfo is not None:
            value = value.replace(tzinfo=None)
        delta = value - _dt.datetime(1970, 1, 1)
        return delta.days * _SECONDS_PER_DAY + delta.seconds + round(delta.microseconds / 1e6)
    if isinstance(value, _dt.date):
        return (value - _dt.date(1970, 1, 1)).days * _SECONDS_PER_DAY
    if isinstance(value, str):
        hec = _hec_date_text(value)
        if hec is not None:
            return hec
        try:
            return to_seconds(np.datetime64(value.strip().replace(" ", "T", 1)), what)
        except ValueError:
            pass
        try:
            import pandas as pd

            return to_seconds(pd.Timestamp(value).to_pydatetime(), what)
        except (ValueError, TypeError):
            raise ValueError(f"{what} {value!r} is not a date") from None
    raise TypeError(f"{what} must be a date (datetime, numpy.datetime64, pandas.Timestamp or "
                    f"text), not {_type_name(value)}")


def _hec_date_text(text: str) -> Optional[int]:
    """Seconds of HEC's own date text: ``01Feb2021``, ``01Feb2021 0100``, ``01FEB2021 01:00``."""
    pieces = text.split()
    if not 1 <= len(pieces) <= 2:
        return None
    day = parse_block_date(pieces[0])
    if day is None:
        return None
    clock = pieces[1].replace(":", "") if len(pieces) == 2 else "0000"
    if len(clock) != 4 or not clock.isdigit() or int(clock[:2]) > 24 or int(clock[2:]) > 59:
        return None
    return day + int(clock[:2]) * 3600 + int(clock[2:]) * 60


def add_months(seconds: int, months: int) -> int:
    """``seconds`` moved by whole calendar months, the day clamped to the month's end."""
    day, time_of_day = divmod(seconds, _SECONDS_PER_DAY)
    date = _dt.date(1970, 1, 1) + _dt.timedelta(days=day)
    index = date.year * 12 + date.month - 1 + months
    year, month = divmod(index, 12)
    last = calendar.monthrange(year, month + 1)[1]
    moved = _dt.date(year, month + 1, min(date.day, last))
    return (moved - _dt.date(1970, 1, 1)).days * _SECONDS_PER_DAY + time_of_day


# --- E parts -------------------------------------------------------------------------------

class Interval(NamedTuple):
    """A regular interval: its DSS-7 name, nominal seconds, calendar months (0 if fixed)."""
    name: str
    seconds: int
    months: int


# In the order names are recognised: case-insensitive, over the shorter of the two lengths,
# so that the automation vocabulary's spellings (1HOUR, 15MIN, 1MON) resolve as well.
REGULAR_INTERVALS: Sequence[Interval] = tuple(Interval(*row) for row in (
    ("1Year", 31536000, 12), ("1Month", 2592000, 1), ("Semi-Month", 1296000, 0),
    ("Tri-Month", 864000, 0), ("1Week", 604800, 0), ("1Day", 86400, 0),
    ("12Hour", 43200, 0), ("8Hour", 28800, 0), ("6Hour", 21600, 0), ("4Hour", 14400, 0),
    ("3Hour", 10800, 0), ("2Hour", 7200, 0), ("1Hour", 3600, 0), ("30Minute", 1800, 0),
    ("20Minute", 1200, 0), ("15Minute", 900, 0), ("12Minute", 720, 0), ("10Minute", 600, 0),
    ("6Minute", 360, 0), ("5Minute", 300, 0), ("4Minute", 240, 0), ("3Minute", 180, 0),
    ("2Minute", 120, 0), ("1Minute", 60, 0), ("30Second", 30, 0), ("20Second", 20, 0),
    ("15Second", 15, 0), ("10Second", 10, 0), ("6Second", 6, 0), ("5Second", 5, 0),
    ("4Second", 4, 0), ("3Second", 3, 0), ("2Second", 2, 0), ("1Second", 1, 0)))

# Irregular block names, smallest block first.
IRREGULAR_BLOCKS = ("IR-Day", "IR-Month", "IR-Year", "IR-Decade", "IR-Century")


def _matches(text: str, name: str) -> bool:
    length = min(len(text), len(name))
    return len(text) >= 4 and text[:length].upper() == name[:length].upper()


@functools.lru_cache(maxsize=256)
def regular_interval(e_part: str) -> Optional[Interval]:
    """The regular interval an E part names (``1Hour``, ``1HOUR``, ``15MIN``), else None."""
    text = e_part.strip()
    for interval in REGULAR_INTERVALS:
        if _matches(text, interval.name):
            return interval
    return None


@functools.lru_cache(maxsize=256)
def irregular_block(e_part: str) -> Optional[str]:
    """The irregular block an E part names (``IR-Day``, ``~1Day`` -> its block), else None."""
    text = e_part.strip()
    if text.startswith("~"):
        interval = regular_interval(text[1:])
        if interval is None:
            return None
        limits = (1800, 21600, 604800, 2592000)
        rank = sum(interval.seconds >= limit for limit in limits)
        return IRREGULAR_BLOCKS[rank]
    for name in IRREGULAR_BLOCKS:
        if text.upper() == name.upper():
            return name
    return None


def interval_for_step(seconds: int) -> Optional[Interval]:
    """The fixed-length regular interval of exactly ``seconds``, else None."""
    for interval in REGULAR_INTERVALS:
        if interval.months == 0 and interval.seconds == seconds and seconds < 864000:
            return interval
    return None


def irregular_block_for(times: np.ndarray) -> str:
    """A block size for irregular data: a few hundred values per block at the mean spacing."""
    if len(times) < 2:
        return "IR-Month"
    spacing = (int(times[-1]) - int(times[0])) / (len(times) - 1)
    limits = (900, 86400, 604800, 2592000)
    return IRREGULAR_BLOCKS[sum(spacing >= limit for limit in limits)]


# --- pathnames -----------------------------------------------------------------------------

def pathname_text(pathname) -> str:
    """A pathname given as text or as a ``Pathname`` object, trimmed of the padding."""
    if isinstance(pathname, str):
        return pathname.strip()
    name = getattr(pathname, "Name", None)
    if isinstance(name, str):
        return name.strip()
    raise TypeError(f"pathname must be text like '/A/B/C/D/E/F/' or a Pathname, "
                    f"not {_type_name(pathname)}")


def split_pathname(pathname) -> list:
    """The six parts of a pathname; ValueError naming the text when it is not one."""
    text = pathname_text(pathname)
    parts = text.split("/")
    if len(parts) != 8 or parts[0] or parts[7]:
        raise ValueError(f"{text!r} is not a DSS pathname: it must have six parts, "
                         f"written /A/B/C/D/E/F/")
    if len(text) > 391:
        raise ValueError(f"pathname {text!r} is longer than 391 characters")
    return parts[1:7]


def join_pathname(parts: Sequence[str]) -> str:
    return "/" + "/".join(parts) + "/"


def series_key(parts: Sequence[str]) -> tuple:
    """Parts that name one series whatever its D part and the spelling of its E part."""
    e_part = parts[4].strip()
    interval = regular_interval(e_part)
    if interval is not None:
        e_key = interval.name
    else:
        e_key = e_part
        if e_part.startswith("~") and regular_interval(e_part[1:]) is not None:
            e_key = "~" + regular_interval(e_part[1:]).name
        elif irregular_block(e_part) is not None:
            e_key = irregular_block(e_part)
    return (parts[0].upper(), parts[1].upper(), parts[2].upper(), e_key.upper(),
            parts[5].upper())


_MONTHS = ("JAN", "FEB", "MAR", "APR", "MAY", "JUN", "JUL", "AUG", "SEP", "OCT", "NOV", "DEC")


def parse_block_date(text: str) -> Optional[int]:
    """Seconds of a D part date such as ``01Jan2021`` (any case), else None."""
    text = text.strip()
    if len(text) < 9 or not text[:2].isdigit() or not text[5:].lstrip("-").isdigit():
        return None
    month = text[2:5].upper()
    if month not in _MONTHS:
        return None
    try:
        date = _dt.date(int(text[5:]), _MONTHS.index(month) + 1, int(text[:2]))
    except ValueError:
        return None
    return (date - _dt.date(1970, 1, 1)).days * _SECONDS_PER_DAY


def block_end(block_start: int, e_part: str) -> Optional[int]:
    """Start of the block after the one starting at ``block_start`` for this E part."""
    interval = regular_interval(e_part)
    if interval is not None:
        limits = (900, 86400, 604800, 31536000)
        rank = sum(interval.seconds >= limit for limit in limits)
    else:
        block = irregular_block(e_part)
        if block is None:
            return None
        rank = IRREGULAR_BLOCKS.index(block)
    if rank == 0:
        return block_start + _SECONDS_PER_DAY
    return add_months(block_start, (1, 12, 120, 1200)[rank - 1])


def d_part_window(d_part: str, e_part: str) -> Optional[tuple]:
    """The times (first, last] that a D part names: one block, or ``first - LAST`` blocks."""
    pieces = [piece.strip() for piece in d_part.split(" - ")] if d_part.strip() else []
    if not pieces or len(pieces) > 2:
        return None
    starts = [parse_block_date(piece) for piece in pieces]
    if any(start is None for start in starts):
        return None
    end = block_end(starts[-1], e_part)
    return None if end is None else (starts[0], end)


def matches_pattern(parts: Sequence[str], pattern: Optional[str]) -> bool:
    """Whether a pathname matches a catalog pattern (see ``DSSDatabase.catalog``)."""
    if pattern is None:
        return True
    import fnmatch

    pattern = pattern.strip()
    pieces = pattern.split("/")
    if len(pieces) == 8 and not pieces[0] and not pieces[7]:
        return all(not want or fnmatch.fnmatchcase(part.upper(), want.upper())
                   for part, want in zip(parts, pieces[1:7]))
    return fnmatch.fnmatchcase(join_pathname(parts).upper(), pattern.upper())


def _type_name(value) -> str:
    return type(value).__name__
