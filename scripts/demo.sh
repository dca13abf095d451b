#!/usr/bin/env bash
# Installs what is missing, builds the library and the demo (no tests), and runs the demo.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" build-demo -DVARNOCK_TESTS=OFF -DVARNOCK_BENCH=OFF >/dev/null
"$root/build-demo/bin/varnock-demo" "$@"
