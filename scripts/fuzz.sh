#!/usr/bin/env bash
# A short fuzzing run: builds the libFuzzer targets in fuzz/ with clang, seeds them with the
# small files make_seeds writes, and runs each target for FUZZ_SECONDS (default 15) seconds.
# An input that crashes a target is copied to fuzz/regressions/ (where engine_tests replays it)
# and the run fails. Without clang's libFuzzer it says so and does nothing.
#   scripts/fuzz.sh                      the short run scripts/test.sh makes
#   FUZZ_SECONDS=3600 scripts/fuzz.sh    a release-time run of an hour a target
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
seconds="${FUZZ_SECONDS:-15}"
build="${FUZZ_BUILD:-build-fuzz}"

probe="$(mktemp -d)"
trap 'rm -rf "$probe"' EXIT
echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' \
  > "$probe/probe.cc"
if ! clang++ -fsanitize=fuzzer "$probe/probe.cc" -o "$probe/probe" 2>/dev/null; then
  echo "clang's libFuzzer is not installed: fuzzing skipped"
  exit 0
fi

cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ -DVARNOCK_FUZZ=ON -DVARNOCK_TESTS=OFF \
  -DVARNOCK_BENCH=OFF -DVARNOCK_PYTHON=OFF -DCMAKE_BUILD_TYPE= -DCMAKE_CXX_FLAGS=-O1 >/dev/null
cmake --build "$build" -j "$(nproc)" --target dss7_fuzz dss6_fuzz codec_fuzz writes_fuzz make_seeds

corpus="$probe/corpus"
"$build/bin/make_seeds" "$corpus"
# target, seed folder, folder of fuzz/regressions/ its findings go to
targets=("dss7 dss7 ." "dss6 dss6 dss6" "codec codecs codecs" "writes writes writes")
failed=0
for entry in "${targets[@]}"; do
  read -r target seeds kept <<<"$entry"
  artifacts="$probe/artifacts-$target/"
  mkdir -p "$artifacts"
  echo "== fuzz $target (${seconds}s)"
  if ! "$build/bin/${target}_fuzz" "$corpus/$seeds" -max_total_time="$seconds" \
      -rss_limit_mb=2048 -timeout=10 -print_final_stats=1 -artifact_prefix="$artifacts" \
      2>"$probe/$target.log"; then
    failed=1
    mkdir -p "fuzz/regressions/$kept"
    for found in "$artifacts"*; do
      [ -f "$found" ] || continue
      name="$target-$(basename "$found")"
      cp "$found" "fuzz/regressions/$kept/$name"
      echo "finding kept as fuzz/regressions/$kept/$name"
    done
    tail -n 40 "$probe/$target.log" >&2
  fi
  grep -E '^stat::number_of_executed_units|^stat::average_exec_per_sec|^stat::new_units_added' \
    "$probe/$target.log" | sed "s/^/  /" || true
done
exit "$failed"
