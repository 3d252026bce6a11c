#!/usr/bin/env bash
# Installs the Debian packages Kelvara needs when any is missing (run as root on Debian 12).
#   scripts/setup.sh [PACKAGE...]   also the given packages (the packaging scripts' tools)
set -euo pipefail
packages=(build-essential cmake ninja-build pkg-config
          qt6-base-dev qt6-base-dev-tools qt6-serialport-dev qt6-charts-dev qt6-svg-dev libgl-dev
          libgtest-dev libgmock-dev clang libclang-rt-14-dev xvfb xauth "$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update
  apt-get install -y "${missing[@]}"
fi
