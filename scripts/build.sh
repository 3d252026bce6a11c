#!/usr/bin/env bash
# Configures and builds Kelvara in build/ (warnings are errors).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELVARA_WERROR=ON
cmake --build build
