"""Varnock from Python in one page: write, read into pandas, resample, write back, catalog.

Run it from any folder (it makes quickstart.dss there), optionally with a DSS file to take
the hourly series from (its first one), such as a reference file:
    /usr/bin/python3 examples/python_quickstart.py [../shared/fixtures/fixture7.dss]
"""

import os
import sys

import numpy as np
import pandas as pd

import varnock

FILE = "quickstart.dss"
HOURLY = "/BASIN/GAGE/FLOW//1Hour/OBS/"
DAILY = "/BASIN/GAGE/FLOW//1Day/DAILY-MEAN/"

if os.path.exists(FILE):
    os.remove(FILE)

if len(sys.argv) > 1:  # the first hourly series of the given file
    with varnock.open(sys.argv[1]) as source:
        flow = source.read(source.catalog("*/1Hour/*", condensed=True)["pathname"][0])
else:  # sixty days of hourly flows with a gap (NaN is stored as the DSS missing value -901)
    hours = pd.date_range("2021-01-01 01:00", periods=24 * 60, freq="H")
    flow = pd.Series(250 + 40 * np.sin(np.arange(len(hours)) / 24), index=hours,
                     dtype="float32")
    flow.iloc[100:110] = np.nan

with varnock.open(FILE, "a") as db:  # "a": read-write, created when missing
    db.write(HOURLY, flow, units="CFS", type="INST-VAL")

with varnock.open(FILE) as db:  # "r": read-only
    hourly = db.read(HOURLY)  # a pandas Series, name = pathname, attrs = units, type, ...
    print(hourly.name, hourly.attrs["units"], len(hourly), "values,",
          int(hourly.isna().sum()), "missing")

    # Daily means, labelled at the end of each day as DSS does (24:00 = 00:00 next day).
    daily = hourly.resample("D", label="right", closed="right").mean().dropna()

with varnock.open(FILE, "a") as db:
    db.write(DAILY, daily, units="CFS", type="PER-AVER")
    again = db.read(DAILY)
    assert np.allclose(again[daily.index].to_numpy(), daily.to_numpy())  # same values
    print(again.head(3))
    catalog = db.catalog(condensed=True)
    print(catalog[["pathname", "record_type", "start", "end"]].to_string())
