#!/usr/bin/env bash
# Installs what is missing, builds, and runs the demo program.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
bash "$root/scripts/setup.sh"
bash "$root/scripts/build.sh" build >/dev/null
"$root/build/bin/varnock-demo" "$@"
