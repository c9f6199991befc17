#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UBSan and runs all tests.
# Installs the Debian packages it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/deps.sh
vfl_install_deps

cmake --preset dev >/dev/null
cmake --build --preset dev
ctest --preset dev -j2 -LE gui
# Tests that press keys in real windows, on an X server of their own.
xvfb-run -a ctest --preset dev -L gui
