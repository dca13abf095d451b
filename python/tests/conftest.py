"""Shared fixtures of the Python tests: reference files, their dumps, scratch DSS files."""

import gzip
import os
import pathlib

import numpy as np
import pytest

REPO = pathlib.Path(__file__).resolve().parents[2]


def _under_ci() -> bool:
    return os.environ.get("CI", "").strip().lower() not in ("", "false", "0")


@pytest.fixture(scope="session")
def fixtures_dir() -> pathlib.Path:
    """The reference files: $VARNOCK_FIXTURES_DIR, else <repo>/../shared/fixtures.

    Missing files fail the run under CI (env CI set and not false/0) and skip otherwise.
    """
    folder = pathlib.Path(os.environ.get("VARNOCK_FIXTURES_DIR") or REPO.parent / "shared" /
                          "fixtures")
    if not (folder / "fixture7.dss").is_file():
        message = f"reference files not found in {folder}"
        if _under_ci():
            pytest.fail(message)
        pytest.skip(message)
    return folder


def read_dump(path: pathlib.Path) -> dict:
    """A canonical dump as {pathname: record}; a record holds the lines of its block.

    Time series: rectype, units, type, times (datetime64[s]) and values (text, converted by
    the caller at the record's precision). Paired data: ordinates, curves, labels, units and
    types. Other records: rectype only.
    """
    opener = gzip.open if path.suffix == ".gz" else open
    with opener(path, "rt") as stream:
        lines = stream.read().split("\n")
    records, record, rows = {}, None, []
    for line in lines:
        key, _, rest = line.partition(" ")
        if key == "record":
            record, rows = {"pathname": rest}, []
            records[rest] = record
        elif record is None:
            continue
        elif key == "end":
            _finish(record, rows)
            record = None
        elif key[:1].isdigit() or key == "row":
            rows.append(line)
        elif key == "labels":
            record["has_labels"] = rest == "1"
        elif key == "label":
            record.setdefault("labels", []).append(rest.partition(" ")[2])
        else:
            record[key] = rest
    return records


def _finish(record: dict, rows: list) -> None:
    rectype = int(record["rectype"])
    record["rectype"] = rectype
    dtype = np.float64 if rectype % 10 == 5 else np.float32
    if 100 <= rectype < 120:
        times, values = zip(*(row.split(" ") for row in rows)) if rows else ((), ())
        record["times"] = np.array(times, dtype="datetime64[s]")
        record["values"] = np.array(values, dtype=np.float64).astype(dtype)
    elif 200 <= rectype < 210:
        table = np.array([row.split(" ")[1:] for row in rows], dtype=np.float64).astype(dtype)
        record["ordinates"], record["curves"] = table[:, 0], table[:, 1:].T


@pytest.fixture(scope="session")
def dump_of(fixtures_dir):
    """dump_of("fixture7.dss") -> the parsed canonical dump of that reference file."""
    cache = {}

    def load(name: str) -> dict:
        if name not in cache:
            stem = fixtures_dir / name
            candidates = [stem.with_suffix(".dump.txt"), pathlib.Path(f"{stem}.dump.txt"),
                          pathlib.Path(f"{stem}.dump.txt.gz")]
            cache[name] = read_dump(next(path for path in candidates if path.is_file()))
        return cache[name]

    return load


@pytest.fixture
def dss_path(tmp_path) -> pathlib.Path:
    """A name for a new DSS file in a scratch folder."""
    return tmp_path / "test.dss"
