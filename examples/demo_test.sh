#!/usr/bin/env bash
# Runs the demo in a private temporary folder: it must succeed, print ISO dates, keep its file
# with --keep and leave nothing behind without it.
set -euo pipefail
demo="$1"
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
out="$(TMPDIR="$tmp" "$demo" --keep)"
grep -q '^  2024-05-05 00:00:00 ' <<<"$out" || { echo "no ISO dates in the demo's output"; exit 1; }
[ -s "$tmp/varnock-demo/demo.dss" ] || { echo "--keep did not keep the file"; exit 1; }
grep -q "^kept $tmp/varnock-demo/demo.dss\$" <<<"$out" || { echo "--keep did not say where"; exit 1; }
TMPDIR="$tmp" "$demo" >/dev/null
[ ! -e "$tmp/varnock-demo" ] || { echo "the demo left its folder behind"; exit 1; }
if TMPDIR="$tmp" "$demo" --bogus 2>/dev/null; then echo "an unknown option was accepted"; exit 1; fi
echo ok
