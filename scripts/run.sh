#!/usr/bin/env bash
# Builds Kelvara and starts the window. Extra arguments go to the program (--simulate, ...).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
exec ./build/src/app/kelvara "$@"
