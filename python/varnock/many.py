"""Reading one series (or one pattern) from many DSS files: serially, or in parallel processes
through a Dask ``distributed.Client``; and ensembles (HEC's ``C:`` member tags) as xarray.

Each task opens its own files and closes them before returning: nothing is shared between
tasks but the file names, so the same call runs on a laptop, a workstation or a cluster whose
workers see the same file system.
"""

from __future__ import annotations

import functools
import os
import re
import threading
from typing import Optional, Sequence

XARRAY_HINT = "install it with 'apt install python3-xarray' (Debian/Ubuntu)"
# Tasks per worker process: enough to balance files of unequal size, few enough that each
# task's work outweighs the scheduler's cost of sending it and gathering its result.
_TASKS_PER_WORKER = 2


def _is_pattern(pathname: str) -> bool:
    return "*" in pathname or "?" in pathname


def _file_label(path) -> str:
    return os.fspath(path)


_per_thread = threading.local()


def _reused_database(path):
    """``path`` opened read-only on this thread's one DSSDatabase, reconnected for each file.

    Keeping the object alive matters beyond saving its set-up: a DSSDatabase that is destroyed
    waits for the engine with the GIL released in the middle of pybind11's deallocation, which
    can abort the process when another thread runs Python meanwhile, and Dask's clients and
    workers always have such a thread (their event loop).
    """
    from . import _database, _varnock

    db = getattr(_per_thread, "database", None)
    if db is None:
        db = _per_thread.database = _varnock.DSSDatabase()
    db.Name = os.fspath(path)
    db.Connect(False)
    _database._state(db, "r")
    return db


@functools.lru_cache(maxsize=256)
def _is_series_e_part(e_part: str) -> bool:
    from . import _convert

    return bool(_convert.regular_interval(e_part) or _convert.irregular_block(e_part))


def _series_names(db, pattern: str) -> list:
    """Pathnames (D part blank) of the time series in ``db`` that ``pattern`` matches, one per
    series in catalogue order (``db.catalog(pattern, condensed=True)`` without the frame)."""
    from . import _convert, _database

    names: dict = {}
    for _, parts, _ in _database._catalog_rows(db, pattern):
        if _is_series_e_part(parts[4]):
            key = _convert.series_key(parts)
            if key not in names:
                names[key] = _convert.join_pathname([*parts[:3], "", *parts[4:]])
    return list(names.values())


def read_file(path, pathname_or_pattern: str, start=None, end=None):
    """One file's part of ``read_many_files``: a DataFrame with one column per series;
    ``attrs["series"]`` holds each column's own ``attrs`` (units, type, interval)."""
    import pandas as pd

    with _reused_database(path) as db:
        names = _series_names(db, pathname_or_pattern) if _is_pattern(pathname_or_pattern) \
            else [pathname_or_pattern]
        columns = {}
        for name in names:
            series = db.read(name, start, end)
            if not isinstance(series, pd.Series):
                raise TypeError(f"{name} in {path} is paired data; read_many_files reads "
                                f"time series")
            columns[series.name] = series
    frame = _columns_frame(columns)
    frame.attrs = {"series": {name: dict(series.attrs) for name, series in columns.items()}}
    return frame


def _columns_frame(columns: dict):
    """Series of one file joined on their times."""
    import pandas as pd

    if not columns:
        return pd.DataFrame(index=pd.DatetimeIndex([], name="time"))
    frame = _side_by_side(list(columns.values()), pd.Index(list(columns)))
    return frame if frame is not None else pd.concat(columns, axis=1, join="outer", copy=False)


def _side_by_side(pieces: list, columns):
    """Series or frames as one block of values when they share their times and value type:
    much faster than aligning each column, and the usual case for the files of one model.
    None when they differ (the caller then aligns them)."""
    import numpy as np
    import pandas as pd

    index = pieces[0].index
    dtypes = {dtype for piece in pieces
              for dtype in (piece.dtypes if isinstance(piece, pd.DataFrame) else [piece.dtype])}
    if len(dtypes) != 1 or not all(piece.index.equals(index) for piece in pieces[1:]):
        return None
    values = np.column_stack([piece.to_numpy() for piece in pieces])
    return pd.DataFrame(values, index=index, columns=columns, copy=False)


def _read_chunk(paths: Sequence, pathname_or_pattern: str, start, end):
    """A task: the frames of several files joined under a ``file`` column level."""
    return _join({_file_label(path): read_file(path, pathname_or_pattern, start, end)
                  for path in paths})


def _join(frames: dict):
    """Frames keyed by file joined on their times, the per-series attrs kept by column."""
    import pandas as pd

    series_attrs = {}
    for label, frame in frames.items():
        for name, attrs in frame.attrs.get("series", {}).items():
            key = name if isinstance(name, tuple) else (label, name)
            series_attrs[key] = attrs
    frames = {label: frame for label, frame in frames.items() if frame.shape[1]}
    if not frames:
        index = pd.MultiIndex.from_arrays([[], []], names=["file", "pathname"])
        joined = pd.DataFrame(index=pd.DatetimeIndex([], name="time"), columns=index)
    else:
        columns = [key if isinstance(key, tuple) else (label, key)
                   for label, frame in frames.items() for key in frame.columns]
        joined = _side_by_side(list(frames.values()), pd.MultiIndex.from_tuples(columns))
        if joined is None:
            joined = pd.concat(list(frames.values()), axis=1, join="outer", copy=False)
            joined.columns = pd.MultiIndex.from_tuples(columns)
        joined.columns = joined.columns.set_names(["file", "pathname"])
    joined.attrs = {"series": series_attrs}
    units = {str(attrs.get("units", "")) for attrs in series_attrs.values()}
    if len(units) == 1:
        joined.attrs["units"] = units.pop()
    return joined


def _chunks(items: list, count: int) -> list:
    """``items`` cut into ``count`` runs of nearly equal length, order kept."""
    count = max(1, min(count, len(items)))
    size, extra = divmod(len(items), count)
    runs, begin = [], 0
    for index in range(count):
        end = begin + size + (1 if index < extra else 0)
        runs.append(items[begin:end])
        begin = end
    return runs


def _worker_count(client) -> int:
    try:
        workers = client.scheduler_info().get("workers", {})
        return max(1, sum(int(w.get("nthreads", 1)) for w in workers.values()))
    except Exception:  # a client without scheduler information still works
        return 1


def read_many_files(files, pathname_or_pattern: str, start=None, end=None, client=None,
                    files_per_task: Optional[int] = None):
    """Read one series, or every series a pattern matches, from each of ``files``.

    Returns one pandas DataFrame: index the union of the times, columns a MultiIndex of
    (``file``, ``pathname``); ``file`` is each path as given. ``pathname_or_pattern`` is a
    pathname as ``db.read`` takes it (a blank D part reads the whole series), or a pattern
    with ``*`` or ``?`` read as ``db.read_many`` does (one column per series, D part blank).
    ``start`` and ``end`` select a window (inclusive).

    Without ``client`` the files are read one after the other in this process. With a Dask
    ``distributed.Client`` they are read by its workers: the files are cut into a few tasks
    per worker (``files_per_task`` to choose), each task opens its own files, and the
    results are gathered in file order. A failure names its file and is raised here.
    """
    if isinstance(files, (str, bytes, os.PathLike)):
        files = [files]
    files = list(files)
    if not isinstance(pathname_or_pattern, str):
        raise TypeError(f"pathname_or_pattern must be text, not "
                        f"{type(pathname_or_pattern).__name__}")
    labels = [_file_label(path) for path in files]
    if len(set(labels)) != len(labels):
        raise ValueError("a file is listed twice: each file gives one column level entry")
    if client is None or not files:
        return _read_chunk(files, pathname_or_pattern, start, end)
    if files_per_task:
        chunks = [files[i:i + files_per_task] for i in range(0, len(files), files_per_task)]
    else:
        chunks = _chunks(files, _worker_count(client) * _TASKS_PER_WORKER)
    futures = client.map(_read_chunk, chunks, pathname_or_pattern=pathname_or_pattern,
                         start=start, end=end, pure=False)
    return _join(dict(enumerate(client.gather(futures))))


# --- ensembles -----------------------------------------------------------------------------

_TAG = re.compile(r"^\s*([A-Za-z]+)\s*:(.*)$")


def ensemble_tags(f_part: str) -> dict:
    """The tags of an F part in HEC's ensemble convention, upper-case keys:
    ``'C:000123|T:20240501-1200|V:20240501-1305'`` -> ``{'C': '000123', 'T': ..., 'V': ...}``.
    Pieces without ``KEY:`` are left out."""
    tags = {}
    for piece in f_part.split("|"):
        match = _TAG.match(piece)
        if match:
            tags[match.group(1).upper()] = match.group(2).strip()
    return tags


def ensemble_member(f_part: str) -> int:
    """The member number of an F part's ``C:`` tag; ValueError when it has none."""
    text = ensemble_tags(f_part).get("C")
    if text is None or not text.isdigit():
        raise ValueError(f"F part {f_part!r} has no ensemble member tag 'C:<number>'")
    return int(text)


def xarray():
    try:
        import xarray as xr
    except ImportError as error:
        raise ImportError(f"read_ensemble returns an xarray.DataArray and needs xarray, which "
                          f"is not installed: {XARRAY_HINT}") from error
    return xr


def read_ensemble(files, pattern: str, start=None, end=None, client=None,
                  files_per_task: Optional[int] = None):
    """Read ensemble members tagged ``C:<member>`` in their F part into an xarray.DataArray.

    ``files`` is one DSS file or many (read as ``read_many_files`` does, with a Dask
    ``client`` in parallel); ``pattern`` selects the members' series, for example
    ``/RIVER/GAGE/FLOW/*/1Hour/C:*|T:20240501-1200*/``. Each matching series must carry a
    member tag, and each member number may occur once. Returns a DataArray of dims
    (``member``, ``time``): coordinates ``member`` (the numbers, sorted), ``time``, and per
    member its ``file`` and ``pathname``; ``name`` the C part, ``attrs`` units and type.
    Statistics across members: ``ens.mean("member")``, ``ens.quantile([0.1, 0.9], "member")``.
    """
    xr = xarray()
    if not isinstance(pattern, str):
        raise TypeError(f"pattern must be text, not {type(pattern).__name__}")
    frame = read_many_files(files, pattern, start, end, client=client,
                            files_per_task=files_per_task)
    if frame.shape[1] == 0:
        raise ValueError(f"no series matches {pattern} in the files given")
    members, seen = [], {}
    for file, pathname in frame.columns:
        parts = pathname.split("/")
        member = ensemble_member(parts[6] if len(parts) == 8 else "")
        if member in seen:
            raise ValueError(f"member {member} occurs twice: {seen[member][1]} in "
                             f"{seen[member][0]} and {pathname} in {file}; narrow the pattern "
                             f"(for example to one forecast time T:)")
        seen[member] = (file, pathname)
        members.append(member)
    order = sorted(range(len(members)), key=members.__getitem__)
    values = frame.to_numpy().T[order]
    columns = [frame.columns[i] for i in order]
    c_parts = {pathname.split("/")[3] for _, pathname in columns}
    first = frame.attrs.get("series", {}).get(columns[0], {})
    attrs = {key: first.get(key) for key in ("units", "type")}
    return xr.DataArray(
        values, dims=("member", "time"),
        coords={"member": [members[i] for i in order], "time": frame.index.to_numpy(),
                "file": ("member", [file for file, _ in columns]),
                "pathname": ("member", [pathname for _, pathname in columns])},
        name=c_parts.pop() if len(c_parts) == 1 else None,
        attrs={key: value for key, value in attrs.items() if value is not None})
