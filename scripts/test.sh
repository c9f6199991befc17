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
ctest --preset dev -j2

cmake --preset fault >/dev/null
cmake --build --preset fault
ctest --preset fault -j2
