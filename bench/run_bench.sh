#!/usr/bin/env bash
# Builds the benchmark and runs it in-process, against kelvara-sim on a pseudo-terminal, through
# the simulated GPIB library, and through kelvara-sim's GPIB adapters on a pseudo-terminal (USB)
# and on TCP (Ethernet). Each run writes and reads back 200 points: several minutes in all.
# Then the fault cases of kelvara-cli in real time (bench_faults).
#   bench/run_bench.sh [BUILD_DIR] [bench_faults options, e.g. --cli OTHER/kelvara-cli]
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
shift || true
cmake --build "$build" --target bench_taz_transfer bench_faults kelvara-sim kelvara_sim_gpib
bench="$build/bench/bench_taz_transfer"
status=0
"$bench" || status=1
"$bench" --gpib-library "$(ls "$build"/src/sim/libkelvara_sim_gpib.so)" || status=1

# kelvara-sim with the given options while the benchmark runs against what it serves.
sims=()
out=$(mktemp -d)
trap 'for p in "${sims[@]}"; do kill "$p" 2>/dev/null; done; rm -rf "$out"' EXIT
against() {  # against BENCH_OPTION SIM_OPTIONS...
  local option=$1 file="$out/${#sims[@]}"
  shift
  "$build/src/app/kelvara-sim" --model TAZ "$@" >"$file" 2>/dev/null &
  sims+=($!)
  until [ -s "$file" ]; do sleep 0.1; done
  "$bench" "$option" "$(head -n 1 "$file")" || status=1
}
against --serial
against --prologix --prologix
against --prologix-host --prologix-tcp 0
"$build/bench/bench_faults" "$@" || status=1
exit $status
