"""An ensemble forecast in many DSS files, read in parallel with Dask and drawn as an envelope.

    PYTHONPATH=build/python /usr/bin/python3 examples/ensemble_dask.py [--members 300]
        [--folder ensemble] [--output envelope.png] [--workers 2] [--scheduler ADDRESS]

Writes one small DSS file per member (hourly flows at two gauges, the member tagged in the F
part as HEC's ensemble tools do: ``C:000042|T:20240501-1200``), starts a local Dask cluster of
worker processes, reads every member of one gauge into an xarray.DataArray (member x time) with
``varnock.read_ensemble``, and plots the spread: min/max band, 10-90 % band, median and mean.
Needs python3-dask, python3-distributed, python3-xarray and python3-matplotlib.
"""

from __future__ import annotations

import argparse
import contextlib
import pathlib
import sys
import time

import numpy as np
import pandas as pd

import varnock

FORECAST = "20240501-1200"
HOURS = 240
GAUGES = ("UPPER", "LOWER")


def pathname(gauge: str, member: int) -> str:
    return f"/RIVER/{gauge}/FLOW//1Hour/C:{member:06d}|T:{FORECAST}/"


def write_member(folder: str, member: int) -> str:
    """One member's file: a flood wave whose size and timing vary with the member."""
    rng = np.random.default_rng(member)
    hours = pd.date_range("2024-05-01 13:00", periods=HOURS, freq="H")
    t = np.arange(HOURS, dtype=np.float64)
    peak_hour, peak = rng.normal(72, 12), rng.lognormal(np.log(800), 0.35)
    path = pathlib.Path(folder) / f"member_{member:06d}.dss"
    path.unlink(missing_ok=True)
    with varnock.open(path, "a") as db:
        for lag, gauge in enumerate(GAUGES):
            wave = peak * np.exp(-0.5 * ((t - peak_hour - 18 * lag) / (14 + 6 * lag)) ** 2)
            noise = rng.normal(0, 8, HOURS).cumsum() * 0.2
            flow = pd.Series((120 + wave + noise).astype(np.float32), index=hours)
            db.write(pathname(gauge, member), flow, units="CFS", type="INST-VAL")
    return str(path)


def envelope_statistics(ensemble):
    """Per time across members: min, max, 10/50/90 % quantiles and mean."""
    quantiles = ensemble.quantile([0.1, 0.5, 0.9], dim="member")
    return {"min": ensemble.min("member"), "max": ensemble.max("member"),
            "p10": quantiles.sel(quantile=0.1), "median": quantiles.sel(quantile=0.5),
            "p90": quantiles.sel(quantile=0.9), "mean": ensemble.mean("member")}


def plot_envelope(ensemble, output: str) -> None:
    import matplotlib

    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    stats = envelope_statistics(ensemble)
    times = ensemble["time"].values
    figure, ax = plt.subplots(figsize=(9, 4.5))
    ax.fill_between(times, stats["min"], stats["max"], color="tab:blue", alpha=0.15,
                    label="min - max")
    ax.fill_between(times, stats["p10"], stats["p90"], color="tab:blue", alpha=0.35,
                    label="10 % - 90 %")
    ax.plot(times, stats["median"], color="tab:blue", label="median")
    ax.plot(times, stats["mean"], color="black", linestyle="--", linewidth=1, label="mean")
    parts = str(ensemble["pathname"].values[0]).split("/")
    ax.set_title(f"{parts[1]} / {parts[2]} / {parts[3]}: {ensemble.sizes['member']} members, "
                 f"forecast of {FORECAST}")
    ax.set_ylabel(f"{ensemble.name} ({ensemble.attrs.get('units', '')})")
    ax.set_xlabel("time")
    ax.grid(True, alpha=0.3)
    ax.legend()
    figure.autofmt_xdate()
    figure.tight_layout()
    figure.savefig(output, dpi=110)
    plt.close(figure)


def main(argv=None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--members", type=int, default=300, help="files to make (one each)")
    parser.add_argument("--folder", default="ensemble", help="where the files go")
    parser.add_argument("--output", default="envelope.png", help="the image to write")
    parser.add_argument("--workers", type=int, default=2, help="Dask worker processes")
    parser.add_argument("--scheduler", help="address of a running Dask scheduler to use "
                        "instead of a local cluster (tcp://host:8786)")
    args = parser.parse_args(argv)

    import dask
    from distributed import Client, LocalCluster

    # Reading builds many small pandas objects in Python; the workers' statistical profiler
    # (sampling each task's stack 100 times a second) would slow that down.
    dask.config.set({"distributed.worker.profile.enabled": False})

    folder = pathlib.Path(args.folder)
    folder.mkdir(parents=True, exist_ok=True)
    begin = time.perf_counter()
    cluster = contextlib.nullcontext(args.scheduler) if args.scheduler else LocalCluster(
        n_workers=args.workers, threads_per_worker=1, processes=True, dashboard_address=None)
    with cluster as address, Client(address) as client:
        started = time.perf_counter()
        # Writing is parallel too: each task makes its own file.
        files = client.gather(client.map(write_member, [str(folder)] * args.members,
                                         range(1, args.members + 1)))
        written = time.perf_counter()
        ensemble = varnock.read_ensemble(files, f"/RIVER/UPPER/FLOW/*/1Hour/C:*|T:{FORECAST}/",
                                         client=client)
        read = time.perf_counter()
    plot_envelope(ensemble, args.output)
    print(f"cluster start {started - begin:.1f} s, {args.members} files written in "
          f"{written - started:.1f} s, read in {read - written:.1f} s; "
          f"ensemble {dict(ensemble.sizes)}; peak of the mean "
          f"{float(ensemble.mean('member').max()):.0f} {ensemble.attrs.get('units', '')}; "
          f"envelope in {args.output}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
