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
# Tests that press keys and pick menus in real windows, on an X server of
# their own (24-bit colour, so that their screenshots look as on a desktop),
# with a home and XDG folders of their own that GTK may write settings to.
gui_home=$(mktemp -d)
trap 'rm -rf "$gui_home"' EXIT
mkdir -m 700 "$gui_home/runtime"
mkdir -p build/dev/screenshots
env HOME="$gui_home" XDG_CONFIG_HOME="$gui_home/config" XDG_CACHE_HOME="$gui_home/cache" \
    XDG_DATA_HOME="$gui_home/data" XDG_RUNTIME_DIR="$gui_home/runtime" NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory \
    VFL_SCREENSHOT_DIR="$PWD/build/dev/screenshots" \
    xvfb-run -a -s "-screen 0 1280x800x24" ctest --preset dev -L gui

# Faults translated into exceptions, in a build without sanitizers (they own
# the signals there).
cmake --preset fault >/dev/null
cmake --build --preset fault
ctest --preset fault -j2
