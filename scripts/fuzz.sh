#!/usr/bin/env bash
# Fuzzes the curve-file readers with libFuzzer for N seconds (default 300).
#   scripts/fuzz.sh [SECONDS]
# Builds with clang in build-fuzz, writes a seed corpus from the file writers into
# build-fuzz/corpus, and keeps what the fuzzer finds in that corpus for the next run.
# Crashing inputs land in build-fuzz/artifacts.
set -euo pipefail
seconds=${1:-300}
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-fuzz"
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DKELVARA_FUZZ=ON -DKELVARA_GUI=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target reader_fuzz kelvara_fuzz_seeds -j2
mkdir -p "$build/corpus" "$build/artifacts"
"$build/fuzz/kelvara_fuzz_seeds" "$build/corpus"
# Every input goes through real files; keep them in memory when the system offers it.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi
"$build/fuzz/reader_fuzz" -max_total_time="$seconds" -max_len=16384 -print_final_stats=1 \
  -artifact_prefix="$build/artifacts/" "$build/corpus"
