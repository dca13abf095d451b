"""Plots of time series and paired data with matplotlib.

matplotlib is imported on first use only; without it, plotting raises ``ImportError`` saying
what to install. Everything drawn here takes its labels from the records themselves: the
pathname's parts as the title, units (and for paired data the types) on the axes, curve labels
in the legend. Times are plotted as the series hold them (the file's own clock, no time-zone
conversion), and missing values leave gaps in the lines.
"""

from __future__ import annotations

import os
from typing import Optional, Sequence

import numpy as np

MATPLOTLIB_HINT = "install it with 'apt install python3-matplotlib' (Debian/Ubuntu)"


def pyplot():
    """``matplotlib.pyplot``, or ImportError saying what to install."""
    try:
        import matplotlib.pyplot as plt
    except ImportError as error:
        raise ImportError(f"plotting needs matplotlib, which is not installed: "
                          f"{MATPLOTLIB_HINT}") from error
    return plt


# --- what one item to plot is --------------------------------------------------------------

class _Item:
    """One thing to draw: a time series or one paired-data record, with its labels."""

    def __init__(self, data, pathname: str, kind: str, attrs: dict, source: str = ""):
        self.data = data  # pandas Series (time) or DataFrame (paired)
        self.pathname = pathname
        self.kind = kind  # "time" or "paired"
        self.attrs = attrs
        self.source = source  # the file, for series of read_many_files

    @property
    def parts(self) -> list:
        parts = self.pathname.split("/")[1:7]
        return parts if len(parts) == 6 else ["", "", self.pathname, "", "", ""]

    def panel_key(self) -> tuple:
        """Items with the same key share one set of axes."""
        if self.kind == "time":
            return ("time", str(self.attrs.get("units", "")).upper())
        return ("paired", self.parts[2].upper(), _pair(self.attrs.get("units")))


def _pair(value) -> tuple:
    if isinstance(value, (tuple, list)) and len(value) == 2:
        return (str(value[0]), str(value[1]))
    text = "" if value is None else str(value)
    return (text, text)


def _items(obj) -> list:
    """The items of one argument of ``plot``: records, pandas objects or a list of them."""
    import pandas as pd

    from . import _varnock

    if isinstance(obj, (_varnock.RegularTimeSeries, _varnock.IrregTimeSeries,
                        _varnock.PairedData)):
        obj = obj.to_pandas()
    if isinstance(obj, pd.Series):
        if not isinstance(obj.index, pd.DatetimeIndex):
            raise TypeError("a Series to plot needs a DatetimeIndex (read it with db.read)")
        name = str(obj.attrs.get("pathname") or (obj.name if obj.name is not None else ""))
        return [_Item(obj, name, "time", dict(obj.attrs))]
    if isinstance(obj, pd.DataFrame):
        if isinstance(obj.index, pd.DatetimeIndex):  # wide frame: one series per column
            items = []
            known = obj.attrs.get("series", {})
            for column in obj.columns:
                attrs = dict(known.get(column, obj.attrs))
                source = os.path.basename(str(column[0])) if isinstance(column, tuple) else ""
                name = column[-1] if isinstance(column, tuple) else column
                items.append(_Item(obj[column], str(name), "time", attrs, source))
            return items
        return [_Item(obj, str(obj.attrs.get("pathname", "")), "paired", dict(obj.attrs))]
    if isinstance(obj, (list, tuple)):
        return [item for element in obj for item in _items(element)]
    raise TypeError(f"cannot plot a {type(obj).__name__}: give a series or paired data record, "
                    f"a pandas Series or DataFrame read with db.read, or a list of them")


# --- titles and labels ---------------------------------------------------------------------

def title_of(pathnames: Sequence[str]) -> str:
    """The pathname parts every item shares (D left out), joined: 'BASIN / GAGE / FLOW'."""
    split = [p.split("/")[1:7] for p in pathnames if p.count("/") == 7]
    if not split:
        return ""
    shared = []
    for index in (0, 1, 2, 4, 5):
        values = {parts[index] for parts in split}
        if len(values) == 1 and next(iter(values)).strip():
            shared.append(next(iter(values)).strip())
    return " / ".join(shared)


def _legend_label(pathname: str, others: Sequence[str]) -> str:
    """The parts of ``pathname`` that tell it apart from the other items on the axes."""
    parts = pathname.split("/")[1:7]
    if len(parts) != 6:
        return pathname
    split = [o.split("/")[1:7] for o in others if o.count("/") == 7]
    differing = [parts[i] for i in (0, 1, 2, 4, 5)
                 if any(len(o) == 6 and o[i] != parts[i] for o in split)]
    return " / ".join(part for part in differing if part) or pathname


def _value_label(items: list) -> str:
    parameters = sorted({item.parts[2] for item in items if item.parts[2]})
    units = str(items[0].attrs.get("units", "")).strip()
    name = ", ".join(parameters) if len(parameters) <= 2 else "value"
    return f"{name} ({units})" if units else name


def _axis_label(parameter: str, units: str, kind: str) -> str:
    details = ", ".join(text for text in (units.strip(), kind.strip()) if text)
    return f"{parameter} ({details})" if details else parameter


def _paired_names(c_part: str) -> tuple:
    """Names of the two axes from a C part such as 'ELEV-STORAGE'."""
    names = c_part.split("-")
    if len(names) == 2 and all(names):
        return names[0], names[1]
    return (c_part or "independent"), (c_part or "dependent")


# --- drawing -------------------------------------------------------------------------------

def _draw_time(ax, items: list) -> None:
    names = [item.pathname for item in items]
    for item in items:
        series = item.data
        values = np.asarray(series.to_numpy(dtype=np.float64, na_value=np.nan))
        times = series.index.to_numpy()
        irregular = not str(item.attrs.get("interval", "")).strip() or \
            str(item.attrs.get("interval", "")).upper().startswith(("IR-", "~"))
        # Period values (averages, totals) hold for the interval that ends at their time.
        period = str(item.attrs.get("type", "")).upper().startswith("PER-")
        label = _legend_label(item.pathname, names) if len(items) > 1 else item.pathname
        if item.source and len(items) > 1:
            label = f"{item.source}: {label}" if label != item.pathname else item.source
        ax.plot(times, values, label=label, marker="." if irregular else None,
                markersize=4, drawstyle="steps-pre" if period and not irregular else "default",
                linewidth=1.2)
    ax.set_ylabel(_value_label(items))
    zone = str(items[0].attrs.get("time_zone", "") or "").strip()
    ax.set_xlabel(f"time ({zone})" if zone else "time")
    ax.grid(True, alpha=0.3)
    if len(items) > 1:
        ax.legend(fontsize="small")
    for label in ax.get_xticklabels():
        label.set_rotation(25)
        label.set_horizontalalignment("right")


def _draw_paired(ax, items: list) -> None:
    first = items[0]
    units, kinds = _pair(first.attrs.get("units")), _pair(first.attrs.get("type"))
    x_name, y_name = _paired_names(first.parts[2])
    names = [item.pathname for item in items]
    lines = 0
    for item in items:
        frame = item.data
        ordinates = frame.index.to_numpy(dtype=np.float64)
        prefix = _legend_label(item.pathname, names) + ": " if len(items) > 1 else ""
        for column in frame.columns:
            curve = frame[column].to_numpy(dtype=np.float64, na_value=np.nan)
            label = str(column) if not isinstance(column, (int, np.integer)) else \
                f"curve {column}"
            ax.plot(ordinates, curve, label=prefix + label, linewidth=1.2)
            lines += 1
    ax.set_xlabel(_axis_label(x_name, units[0], kinds[0]))
    ax.set_ylabel(_axis_label(y_name, units[1], kinds[1]))
    ax.grid(True, alpha=0.3)
    labelled = any(not isinstance(c, (int, np.integer)) for i in items for c in i.data.columns)
    if lines > 1 or labelled:
        ax.legend(fontsize="small")


def _draw(ax, items: list) -> None:
    if items[0].kind == "time":
        _draw_time(ax, items)
    else:
        _draw_paired(ax, items)
    ax.set_title(title_of([item.pathname for item in items]) or None)


def plot(data, ax=None, figsize: Optional[tuple] = None):
    """Plot time series and paired data; returns the matplotlib Axes.

    ``data`` is one record (``RegularTimeSeries``, ``IrregTimeSeries``, ``PairedData``), a
    pandas Series or DataFrame as ``db.read`` returns them (a wide frame from ``read_many``
    plots each column), or a list of these. Series with the same units share one set of axes,
    paired data with the same parameters another; each further group gets its own axes below
    (time axes shared). Returns the Axes when everything fits on one, else a list of Axes.
    With ``ax`` given, everything is drawn on it.
    """
    items = _items(data)
    if not items:
        raise ValueError("nothing to plot")
    if ax is not None:
        if len({item.kind for item in items}) > 1:
            raise ValueError("time series and paired data cannot share one set of axes")
        _draw(ax, items)
        return ax
    groups: dict = {}
    for item in items:
        groups.setdefault(item.panel_key(), []).append(item)
    plt = pyplot()
    panels = list(groups.values())
    size = figsize or (9, 3.2 + 2.6 * len(panels))
    figure, axes = plt.subplots(len(panels), 1, figsize=size, squeeze=False)
    axes = list(axes[:, 0])
    time_axes = [a for a, group in zip(axes, panels) if group[0].kind == "time"]
    for other in time_axes[1:]:
        other.sharex(time_axes[0])
    for axis, group in zip(axes, panels):
        _draw(axis, group)
    figure.tight_layout()
    return axes[0] if len(axes) == 1 else axes


def _record_plot(self, ax=None, figsize: Optional[tuple] = None):
    """Plot this record with matplotlib (see ``varnock.plot``); returns the Axes."""
    return plot(self, ax=ax, figsize=figsize)


def install(module) -> None:
    """Add ``plot()`` to the record classes."""
    for cls in (module.RegularTimeSeries, module.IrregTimeSeries, module.PairedData):
        cls.plot = _record_plot
