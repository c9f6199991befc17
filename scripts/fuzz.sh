#!/usr/bin/env bash
# Builds the libFuzzer targets (clang) and runs each for the given number of
# seconds (default 30) on a copy of its seed corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/deps.sh
vfl_install_deps
seconds="${1:-30}"

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
for target in build/fuzz/fuzz/fuzz_*; do
  [ -x "$target" ] || continue
  name=$(basename "$target")
  seeds="fuzz/corpus/${name#fuzz_}"
  work="build/fuzz/corpus-$name"
  mkdir -p "$work"
  [ -d "$seeds" ] && cp -n "$seeds"/* "$work"/ 2>/dev/null || true
  echo "== $name for ${seconds}s"
  "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -max_len=65536 -print_final_stats=1 "$work"
done
