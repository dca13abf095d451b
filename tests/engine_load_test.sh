#!/usr/bin/env bash
# The library finds the engine beside itself, else on the search path, else fails cleanly.
# Usage: engine_load_test.sh PROBE LIBVARNOCK LIBVARNOCKDSS
set -u
probe="$1"; lib="$2"; engine="$3"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/app" "$work/elsewhere"
cp "$probe" "$work/app/probe"
cp "$lib" "$work/app/"
failures=0
expect() {  # expect DESCRIPTION EXPECTED_OUTPUT_PREFIX COMMAND...
  local what="$1" want="$2"; shift 2
  local got
  got="$("$@" 2>&1)"
  if [[ "$got" == "$want"* ]]; then echo "ok: $what"; else echo "FAIL: $what: got '$got'"; failures=$((failures + 1)); fi
}
export -n LD_LIBRARY_PATH
unset LD_LIBRARY_PATH

cp "$engine" "$work/app/"
expect "engine beside the library" "loaded 36956" "$work/app/probe"

mv "$work/app/$(basename "$engine")" "$work/elsewhere/"
expect "engine on the search path" "loaded 36956" env LD_LIBRARY_PATH="$work/elsewhere" "$work/app/probe"
expect "engine nowhere" "error -2147221502 Problem loading the HEC library DLL." "$work/app/probe"
[ "$failures" -eq 0 ]
