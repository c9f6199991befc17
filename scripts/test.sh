#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UBSan and runs all tests;
# then the tests of hardware faults, whose signals the sanitizers would
# take, in a small build without them (the library, vfl and those tests).
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

# Faults translated into exceptions, in a build without sanitizers (they own
# the signals there).
cmake --preset fault >/dev/null
cmake --build --preset fault
ctest --preset fault -j2
