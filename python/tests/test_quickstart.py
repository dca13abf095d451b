"""The README's Python example runs as written and is the file examples/python_quickstart.py."""

import os
import pathlib
import subprocess
import sys

import varnock

REPO = pathlib.Path(__file__).resolve().parents[2]
EXAMPLE = REPO / "examples" / "python_quickstart.py"


def run_example(folder, *arguments):
    """The example in a fresh process, finding this same varnock package."""
    env = dict(os.environ)
    package_root = str(pathlib.Path(varnock.__file__).resolve().parents[1])
    env["PYTHONPATH"] = os.pathsep.join(filter(None, [package_root, env.get("PYTHONPATH")]))
    return subprocess.run([sys.executable, str(EXAMPLE), *map(str, arguments)], cwd=folder,
                          env=env, capture_output=True, text=True, timeout=60)


def test_quickstart_runs_in_a_fresh_folder(tmp_path):
    result = run_example(tmp_path)
    assert result.returncode == 0, result.stderr
    assert "/BASIN/GAGE/FLOW//1Hour/OBS/ CFS 1440 values, 10 missing" in result.stdout
    assert "/BASIN/GAGE/FLOW//1Day/DAILY-MEAN/" in result.stdout
    assert (tmp_path / "quickstart.dss").is_file()


def test_quickstart_starts_from_a_reference_file(tmp_path, fixtures_dir):
    result = run_example(tmp_path, fixtures_dir / "fixture7.dss")
    assert result.returncode == 0, result.stderr
    assert "/BASIN/GAGE/FLOW//1Hour/OBS/ CFS" in result.stdout


def test_readme_shows_the_quickstart_code():
    code = EXAMPLE.read_text().split('"""', 2)[2].strip()
    assert code in (REPO / "README.md").read_text()
