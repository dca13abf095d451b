"""What the Python layer adds to the C++ time: 200 hourly series of 8760 values read into
pandas Series and written back, beside varnock_bench's figures for the same work.

    PYTHONPATH=BUILD/python /usr/bin/python3 bench/python_bench.py [--cxx BUILD/bin/varnock_bench]

Reports, per direction, the layer (``db.read``/``db.write`` with pandas), the bare engine
binding (``varnock._varnock._engine.File``, arrays only) and, when the C++ benchmark binary is
found, its ``BM_Engine*`` and ``BM_Class*`` times for the 200 x 8760 case; the ratio layer / C++
is what the layer adds (target: below 1.5).
"""

import argparse
import json
import pathlib
import subprocess
import sys
import tempfile
import time

import numpy as np
import pandas as pd

import varnock
from varnock._varnock import _engine

SERIES = 200
VALUES = 8760
REPO = pathlib.Path(__file__).resolve().parents[1]


def pathname(i: int) -> str:
    return f"/BENCH/LOC{i}/FLOW//1HOUR/RUN/"


def hourly_series() -> pd.Series:
    index = pd.date_range("2021-01-01 01:00", periods=VALUES, freq="H")
    values = (100.0 + np.sin(np.arange(VALUES) / 24.0)).astype(np.float32)
    return pd.Series(values, index=index)


def best_of(repeats: int, work) -> tuple:
    """The fastest of ``repeats`` runs of ``work()``: (wall seconds, CPU seconds)."""
    wall = cpu = float("inf")
    for _ in range(repeats):
        begin, begin_cpu = time.perf_counter(), time.process_time()
        work()
        wall = min(wall, time.perf_counter() - begin)
        cpu = min(cpu, time.process_time() - begin_cpu)
    return wall, cpu


def layer_write(path: pathlib.Path, series: pd.Series) -> None:
    path.unlink(missing_ok=True)
    with varnock.open(path, "a") as db:
        for i in range(SERIES):
            db.write(pathname(i), series, units="CFS", type="INST-VAL")


def layer_read(path: pathlib.Path) -> None:
    with varnock.open(path) as db:
        for i in range(SERIES):
            db.read(pathname(i))


def engine_write(path: pathlib.Path, series: pd.Series) -> None:
    path.unlink(missing_ok=True)
    values = series.to_numpy()
    first = int(series.index[0].value // 1_000_000_000)
    with varnock.open(path, "a"):
        pass
    with _engine.File(str(path), writable=True) as file:
        for i in range(SERIES):
            file.write_regular(pathname(i), first, values, "CFS", "INST-VAL")


def engine_read(path: pathlib.Path) -> None:
    with _engine.File(str(path)) as file:
        for i in range(SERIES):
            file.read_regular(pathname(i))


def cxx_figures(binary: pathlib.Path) -> dict:
    """(wall ms, CPU ms) per iteration of the 200 x 8760 cases of varnock_bench."""
    result = subprocess.run(
        [str(binary), "--benchmark_filter=BM_(Engine|Class)(Store|Retrieve)/0(/|$)",
         "--benchmark_format=json"], capture_output=True, text=True, check=True)
    figures = {}
    for case in json.loads(result.stdout)["benchmarks"]:
        scale = {"ms": 1.0, "us": 1e-3, "ns": 1e-6, "s": 1e3}[case.get("time_unit", "ns")]
        figures[case["name"].split("/")[0]] = (case["real_time"] * scale,
                                               case["cpu_time"] * scale)
    return figures


def find_cxx_bench(given):
    if given:
        return pathlib.Path(given)
    for folder in ("build-bench", "build-release", "build"):
        candidate = REPO / folder / "bin" / "varnock_bench"
        if candidate.is_file():
            return candidate
    return None


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--cxx", help="the varnock_bench binary (default: build-bench/bin/)")
    parser.add_argument("--repeats", type=int, default=3)
    options = parser.parse_args()

    series = hourly_series()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="varnock_pybench_"))
    path = folder / "bench.dss"
    try:
        layer = {"write": best_of(options.repeats, lambda: layer_write(path, series)),
                 "read": best_of(options.repeats, lambda: layer_read(path))}
        binding = {"write": best_of(options.repeats, lambda: engine_write(path, series)),
                   "read": best_of(options.repeats, lambda: engine_read(path))}
    finally:
        for item in folder.iterdir():
            item.unlink()
        folder.rmdir()

    binary = find_cxx_bench(options.cxx)
    cxx = cxx_figures(binary) if binary is not None else {}
    print(f"{SERIES} hourly series x {VALUES} values, best of {options.repeats} (ms)")
    for clock, name in ((0, "wall"), (1, "CPU")):
        print(f"{name:8}{'layer+pandas':>14}{'engine binding':>16}{'C++ engine':>12}"
              f"{'C++ classes':>13}{'layer/C++ engine':>18}{'layer/C++ classes':>19}")
        for direction, engine_case, class_case in (
                ("read", "BM_EngineRetrieve", "BM_ClassRetrieve"),
                ("write", "BM_EngineStore", "BM_ClassStore")):
            layer_ms = layer[direction][clock] * 1e3
            binding_ms = binding[direction][clock] * 1e3
            engine_ms = cxx[engine_case][clock] if engine_case in cxx else float("nan")
            class_ms = cxx[class_case][clock] if class_case in cxx else float("nan")
            print(f"{direction:8}{layer_ms:14.1f}{binding_ms:16.1f}{engine_ms:12.1f}"
                  f"{class_ms:13.1f}{layer_ms / engine_ms:18.2f}{layer_ms / class_ms:19.2f}")
    if not cxx:
        print("(C++ figures: build the benchmarks, see README, or pass --cxx)", file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main())
