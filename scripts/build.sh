#!/usr/bin/env bash
# Configures and builds one build tree: build.sh DIR [extra cmake arguments...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
dir="$1"; shift
cmake -S "$root" -B "$root/$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVARNOCK_WERROR=ON "$@" >/dev/null
cmake --build "$root/$dir" -j "$(nproc)"
