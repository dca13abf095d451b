#!/usr/bin/env bash
# Installs what is missing, builds the library twice (plain and with address and
# undefined-behaviour sanitizers), runs every test in both, and checks the formatting.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
bash scripts/setup.sh

echo "== format check"
files=$(git ls-files '*.cc' '*.h' 2>/dev/null || find src include tests examples bench -name '*.cc' -o -name '*.h')
clang-format --dry-run --Werror $files

echo "== release build"
bash scripts/build.sh build
echo "== sanitizer build"
# The sanitizer build skips debug information and optimises lightly: it compiles faster.
bash scripts/build.sh build-asan -DVARNOCK_SANITIZE=ON -DVARNOCK_BENCH=OFF -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O1

export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
echo "== sanitizer tests"
ctest --test-dir build-asan --output-on-failure -j "$(nproc)"
echo "== tests"
ctest --test-dir build --output-on-failure -j "$(nproc)"
