#!/usr/bin/env bash
# Builds the Debian package build/kelvara_<version>_<arch>.deb with CPack, from the build in
# build/ (the tests' RelWithDebInfo build is reused; the package's binaries are stripped).
# Install it with: apt install ./build/kelvara_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
# Manual pages from the programs' --help (help2man), the PNG icon from the SVG (rsvg-convert).
bash scripts/setup.sh help2man librsvg2-bin
# The options of scripts/build.sh, so that nothing already built is built again.
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELVARA_WERROR=ON \
  -DKELVARA_PACKAGE=ON
cmake --build build --target kelvara kelvara-cli kelvara-sim kelvara_sim_gpib \
  kelvara_package_files
rm -f build/kelvara_*.deb
(cd build && cpack -G DEB)
ls build/kelvara_*.deb
