#!/usr/bin/env bash
# Installs what is missing, checks the formatting, builds the library twice (g++ with light
# optimisation, and clang with the address and undefined-behaviour sanitizers) and runs every
# test in both builds, a short run of each fuzz target, then the Python module's tests against
# the first build.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
bash scripts/setup.sh

echo "== format check"
files=$(git ls-files '*.cc' '*.h' 2>/dev/null || find src include tests examples bench tools python -name '*.cc' -o -name '*.h')
clang-format --dry-run --Werror $files

# Test builds optimise lightly and carry no debug information: they compile in about half the
# time, and the benchmarks have their own optimised build (README).
echo "== build (g++)"
bash scripts/build.sh build -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O1
echo "== sanitizer build (clang)"
bash scripts/build.sh build-asan -DCMAKE_CXX_COMPILER=clang++ -DVARNOCK_SANITIZE=ON \
  -DVARNOCK_BENCH=OFF -DVARNOCK_PYTHON=OFF -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O1

# Tests read the shared reference files and must never write beside them.
fixtures="$root/../shared/fixtures"
fixture_state() { [ -d "$fixtures" ] && (cd "$fixtures" && ls -A | sort && md5sum -- *) || true; }
fixtures_before="$(fixture_state)"

echo "== sanitizer tests"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir build-asan --output-on-failure -j "$(nproc)"
echo "== tests"
ctest --test-dir build --output-on-failure -j "$(nproc)"
# Each libFuzzer target for a few seconds (skipped without clang's libFuzzer); findings are
# kept in fuzz/regressions/ and fail the run.
echo "== fuzz (short run)"
bash scripts/fuzz.sh
if [ -f scripts/test_python.sh ]; then
  echo "== Python tests"
  bash scripts/test_python.sh build
  echo "== Python install"
  # The installed package imports from a staged install with no help from the build tree.
  stage="$(mktemp -d)"
  trap 'rm -rf "$stage"' EXIT
  DESTDIR="$stage" cmake --install build --component python >/dev/null
  site="$(sed -n 's/^VARNOCK_PYTHON_INSTALL_DIR:PATH=//p' build/CMakeCache.txt)"
  (cd / && PYTHONPATH="$stage$site" /usr/bin/python3 -c \
    "import varnock; varnock.CreateObject('Varnock23.DSSDatabase'); print('installed package imports')")
fi

if [ "$(fixture_state)" != "$fixtures_before" ]; then
  echo "error: the tests changed or added files in $fixtures" >&2
  exit 1
fi
