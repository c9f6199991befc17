#!/usr/bin/env bash
# Builds the library and its vfl host (release), then shows what vfl does
# with a test signal. Installs the Debian packages it needs.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/deps.sh
vfl_install_deps

cmake --preset release >/dev/null
cmake --build --preset release --target vfl_tool

VFL=build/release/vfl
DEMO=build/demo
mkdir -p "$DEMO"

echo "== A one-second stereo test signal made by sox (440 Hz left, 660 Hz right)"
sox -n -r 44100 -c 2 -b 16 "$DEMO/tone.wav" synth 1 sine 440 sine 660 gain -6

echo "== vfl info"
"$VFL" info "$DEMO/tone.wav"

echo "== vfl info --json"
"$VFL" info --json "$DEMO/tone.wav"

echo "== The first four frames through vfl cat (16-bit signed, little endian, L R)"
"$VFL" cat "$DEMO/tone.wav" --frames 4 | od -A d -t d2 -w4

echo "== The same frames as sox decodes them"
sox "$DEMO/tone.wav" -t raw -e signed -L - trim 0 4s | od -A d -t d2 -w4
