#!/usr/bin/env bash
# Builds the benchmark and runs it in-process and against kelvara-sim on a pseudo-terminal.
#   bench/run_bench.sh [BUILD_DIR]      (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
cmake --build "$build" --target bench_taz_transfer kelvara-sim
status=0
"$build/bench/bench_taz_transfer" || status=1
out=$(mktemp)
"$build/src/app/kelvara-sim" --model TAZ >"$out" 2>/dev/null &
sim=$!
trap 'kill $sim 2>/dev/null; rm -f "$out"' EXIT
until [ -s "$out" ]; do sleep 0.1; done
device=$(head -n 1 "$out")
"$build/bench/bench_taz_transfer" --serial "$device" || status=1
exit $status
