"""The README's Python example runs as written and is the file examples/python_quickstart.py."""

import os
import pathlib
import subprocess
import sys

REPO = pathlib.Path(__file__).resolve().parents[2]
EXAMPLE = REPO / "examples" / "python_quickstart.py"


def test_quickstart_runs_in_a_fresh_folder(tmp_path):
    result = subprocess.run([sys.executable, str(EXAMPLE)], cwd=tmp_path, env=dict(os.environ),
                            capture_output=True, text=True, timeout=60)
    assert result.returncode == 0, result.stderr
    assert "/BASIN/GAGE/FLOW//1Hour/OBS/ CFS 1440 values, 10 missing" in result.stdout
    assert "/BASIN/GAGE/FLOW//1Day/DAILY-MEAN/" in result.stdout
    assert (tmp_path / "quickstart.dss").is_file()


def test_quickstart_starts_from_a_reference_file(tmp_path, fixtures_dir):
    result = subprocess.run([sys.executable, str(EXAMPLE), str(fixtures_dir / "fixture7.dss")],
                            cwd=tmp_path, env=dict(os.environ), capture_output=True, text=True,
                            timeout=60)
    assert result.returncode == 0, result.stderr
    assert "/BASIN/GAGE/FLOW//1Hour/OBS/ CFS" in result.stdout


def test_readme_shows_the_quickstart_code():
    code = EXAMPLE.read_text().split('"""', 2)[2].strip()
    assert code in (REPO / "README.md").read_text()
