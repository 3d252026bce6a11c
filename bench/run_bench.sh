#!/usr/bin/env bash
# Builds the benchmarks and runs them: the 200-point TAZ transfer in-process and against
# kelvara-sim on a pseudo-terminal, then the fault cases of kelvara-cli in real time.
#   bench/run_bench.sh [BUILD_DIR] [bench_faults options, e.g. --cli OTHER/kelvara-cli]
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
shift || true
cmake --build "$build" --target bench_taz_transfer bench_faults kelvara-sim
status=0
"$build/bench/bench_taz_transfer" || status=1
out=$(mktemp)
"$build/src/app/kelvara-sim" --model TAZ >"$out" 2>/dev/null &
sim=$!
trap 'kill $sim 2>/dev/null; rm -f "$out"' EXIT
until [ -s "$out" ]; do sleep 0.1; done
device=$(head -n 1 "$out")
"$build/bench/bench_taz_transfer" --serial "$device" || status=1
"$build/bench/bench_faults" "$@" || status=1
exit $status
