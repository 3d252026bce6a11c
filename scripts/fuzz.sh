#!/usr/bin/env bash
# Fuzzes with libFuzzer for N seconds (default 300): the curve-file readers, or the instrument
# reply parsers (the catalogue and every model's read, write and delete, on both buses).
#   scripts/fuzz.sh [SECONDS] [readers|replies]
# Builds with clang in build-fuzz, writes a seed corpus (from the file writers, or from the
# simulated instruments' replies) into build-fuzz/corpus or build-fuzz/corpus-replies, and keeps
# what the fuzzer finds in that corpus for the next run. Crashing inputs land in
# build-fuzz/artifacts (replies: build-fuzz/artifacts-replies).
set -euo pipefail
seconds=${1:-300}
what=${2:-readers}
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-fuzz"
case "$what" in
  readers) fuzzer=reader_fuzz seeds=kelvara_fuzz_seeds corpus="$build/corpus"
           artifacts="$build/artifacts" ;;
  replies) fuzzer=reply_fuzz seeds=kelvara_reply_seeds corpus="$build/corpus-replies"
           artifacts="$build/artifacts-replies" ;;
  *) echo "usage: $0 [SECONDS] [readers|replies]" >&2; exit 2 ;;
esac
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DKELVARA_FUZZ=ON -DKELVARA_GUI=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target "$fuzzer" "$seeds" -j2
mkdir -p "$corpus" "$artifacts"
"$build/fuzz/$seeds" "$corpus"
# Every reader input goes through real files; keep them in memory when the system offers it.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then export TMPDIR=/dev/shm; fi
# An input that takes more than 10 s (the replies run on a virtual clock) is a hang.
"$build/fuzz/$fuzzer" -max_total_time="$seconds" -max_len=16384 -timeout=10 \
  -print_final_stats=1 -artifact_prefix="$artifacts/" "$corpus"
