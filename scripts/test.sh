#!/usr/bin/env bash
# Builds Kelvara and runs every test (core, link, simulator, window offscreen, end-to-end).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
export QT_QPA_PLATFORM=offscreen
ctest --test-dir build --output-on-failure -j2
