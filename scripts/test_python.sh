#!/usr/bin/env bash
# Runs the Python tests against a build tree with Debian's interpreter:
#   scripts/test_python.sh BUILD_DIR [pytest arguments]
# The build tree must have been configured with VARNOCK_PYTHON=ON (the default when pybind11 is
# installed); the package folder BUILD_DIR/python/varnock is brought up to date first.
set -euo pipefail
build="${1:?usage: scripts/test_python.sh BUILD_DIR [pytest arguments]}"
shift
root="$(cd "$(dirname "$0")/.." && pwd)"
python=/usr/bin/python3

for module in pytest numpy pandas; do
  if ! "$python" -c "import $module" 2>/dev/null; then
    echo "error: $python cannot import $module; install python3-$module (scripts/setup.sh)" >&2
    exit 1
  fi
done
if ! grep -q '^VARNOCK_PYTHON:BOOL=ON' "$build/CMakeCache.txt" 2>/dev/null; then
  echo "error: $build is not a build tree with VARNOCK_PYTHON=ON" >&2
  exit 1
fi
cmake --build "$build" --target varnock_python >/dev/null
package="$(cd "$build" && pwd)/python"
cd "$root"
PYTHONPATH="$package" exec "$python" -m pytest -q -p no:cacheprovider "$root/python/tests" "$@"
