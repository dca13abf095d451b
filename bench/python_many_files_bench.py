"""Many files into pandas: N files x M hourly series (by default 400 ensemble-like files of 50
week-long series) read with varnock.read_many_files, serially in this process against a local
Dask cluster of worker processes.

    PYTHONPATH=BUILD/python /usr/bin/python3 bench/python_many_files_bench.py
        [--files 400] [--series 50] [--values 168] [--workers 2] [--repeats 5]

Reports the best of ``--repeats`` runs of each, taking turns (after one warm-up run, so both
read files the page cache already holds and the workers have imported the module), values
per second, and serial / parallel (above 1: the cluster is faster). The cluster's start-up is
not timed. On a shared machine the figures follow its load: compare them at the same time.
"""

from __future__ import annotations

import argparse
import os
import pathlib
import tempfile
import time

import numpy as np
import pandas as pd

import varnock

PATTERN = "/BENCH/*/FLOW/*/1Hour/*/"


def make_files(folder: pathlib.Path, files: int, series: int, values: int) -> list:
    index = pd.date_range("2021-01-01 01:00", periods=values, freq="H")
    base = (100.0 + np.sin(np.arange(values) / 24.0)).astype(np.float32)
    paths = []
    for number in range(files):
        path = folder / f"run_{number:04d}.dss"
        with varnock.open(path, "a") as db:
            for location in range(series):
                db.write(f"/BENCH/LOC{location}/FLOW//1Hour/RUN{number}/",
                         pd.Series(base + number + location, index=index), units="CFS")
        paths.append(str(path))
    return paths


def cpu_seconds(client) -> dict:
    """CPU seconds used so far by each worker process."""
    return client.run(time.process_time)


def best_times(repeats: int, works: dict) -> tuple:
    """(fastest time in seconds of each work, this process' CPU seconds per run of each,
    result of each) after one untimed warm-up run; the works take turns, so a change in the
    machine's load touches them alike."""
    results = {name: work() for name, work in works.items()}
    best = {name: float("inf") for name in works}
    cpu = {name: 0.0 for name in works}
    for _ in range(repeats):
        for name, work in works.items():
            begin, begin_cpu = time.perf_counter(), time.process_time()
            results[name] = work()
            best[name] = min(best[name], time.perf_counter() - begin)
            cpu[name] += (time.process_time() - begin_cpu) / repeats
    return best, cpu, results


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--files", type=int, default=400)
    parser.add_argument("--series", type=int, default=50)
    parser.add_argument("--values", type=int, default=168)
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--repeats", type=int, default=5)
    args = parser.parse_args()

    import dask
    from distributed import Client, LocalCluster

    # The workers' statistical profiler samples every task's stack 100 times a second, which
    # slows pure-Python work such as building pandas objects; off for the timing.
    dask.config.set({"distributed.worker.profile.enabled": False})

    with tempfile.TemporaryDirectory(prefix="varnock_many_") as folder:
        begin = time.perf_counter()
        files = make_files(pathlib.Path(folder), args.files, args.series, args.values)
        print(f"{args.files} files x {args.series} series x {args.values} values written in "
              f"{time.perf_counter() - begin:.1f} s")
        with LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                          dashboard_address=None) as cluster, Client(cluster) as client:
            cpu_before = cpu_seconds(client)
            best, cpu, results = best_times(args.repeats, {
                "serial": lambda: varnock.read_many_files(files, PATTERN),
                "parallel": lambda: varnock.read_many_files(files, PATTERN, client=client)})
            cpu_after = cpu_seconds(client)
        serial_s, parallel_s = best["serial"], best["parallel"]
        serial, parallel = results["serial"], results["parallel"]
        assert parallel.shape == serial.shape == (args.values, args.files * args.series)
        pd.testing.assert_frame_equal(parallel, serial)
    workers_cpu = [(cpu_after[w] - cpu_before[w]) / (args.repeats + 1) for w in cpu_after]
    total = args.files * args.series * args.values
    print(f"{'':28}{'seconds':>10}{'values/s':>14}")
    print(f"{'serial (this process)':28}{serial_s:10.3f}{total / serial_s:14.3g}")
    print(f"{f'Dask, {args.workers} worker processes':28}{parallel_s:10.3f}"
          f"{total / parallel_s:14.3g}")
    print(f"serial / parallel = {serial_s / parallel_s:.2f}")
    # Where the machine is shared, the processes of one session share what the scheduler gives
    # that session (Linux autogroups), so the CPU seconds show the work each process did: with
    # a core each, the parallel run lasts about as long as its busiest worker.
    print(f"CPU seconds per run: serial {cpu['serial']:.2f}; parallel: this process "
          f"{cpu['parallel']:.2f}, workers {', '.join(f'{used:.2f}' for used in workers_cpu)}")
    load = os.getloadavg()[0]
    if load > os.cpu_count():
        print(f"load average {load:.1f} on {os.cpu_count()} cores: the figures are bounded by "
              f"the share of the machine this session gets")


if __name__ == "__main__":
    main()
