#!/usr/bin/env bash
# Builds the release preset and prints each benchmark as a ratio against its
# reference tool, on the same input in the same run.
#   bench/run.sh            all benchmarks
#   bench/run.sh cat        only the named comparison(s)
# Inputs are made under bench/out/ (large: about 1 GiB each).
set -euo pipefail
cd "$(dirname "$0")/.."
. scripts/deps.sh
vfl_install_deps

cmake --preset release >/dev/null
cmake --build --preset release
VFL="$PWD/build/release/vfl"
OUT="$PWD/bench/out"
mkdir -p "$OUT"
only=("$@")
want() { [ ${#only[@]} -eq 0 ] || [[ " ${only[*]} " == *" $1 "* ]]; }

# Best of N wall-clock seconds of a shell command.
best_of() {
  local n=$1; shift
  local best=""
  for _ in $(seq "$n"); do
    local t0 t1 t
    t0=$(date +%s.%N); bash -c "$*" >/dev/null; t1=$(date +%s.%N)
    t=$(echo "$t1 - $t0" | bc -l)
    if [ -z "$best" ] || (( $(echo "$t < $best" | bc -l) )); then best=$t; fi
  done
  echo "$best"
}
ratio() { echo "scale=2; $1 / $2" | bc -l; }

big_wav() {
  local f="$OUT/big16.wav"
  if [ ! -f "$f" ]; then
    # 1 GiB of 16-bit stereo at 44.1 kHz is 6087 seconds.
    sox -n -r 44100 -c 2 -b 16 "$f" synth 6087 whitenoise gain -3
  fi
  echo "$f"
}

if want cat; then
  f=$(big_wav)
  cat "$f" >/dev/null # warm the page cache for every contender alike
  t_cat=$(best_of 3 "cat '$f' >/dev/null")
  t_vfl=$(best_of 3 "'$VFL' cat '$f' >/dev/null")
  t_sox=$(best_of 3 "sox '$f' -t raw -e signed -L - >/dev/null")
  echo "cat of a 1 GiB 16-bit stereo WAVE (page cache warm), best of 3:"
  printf "  cat %.3fs   vfl cat %.3fs   sox -t raw %.3fs\n" "$t_cat" "$t_vfl" "$t_sox"
  echo "  vfl/cat = $(ratio "$t_vfl" "$t_cat")   vfl/sox = $(ratio "$t_vfl" "$t_sox")"
fi

if want new; then
  f=$(big_wav)
  raw="$OUT/big16.raw"
  [ -f "$raw" ] || sox "$f" -t raw -e signed -L "$raw"
  cat "$raw" >/dev/null
  t_dd=$(best_of 3 "dd if='$raw' of='$OUT/dd.out' bs=1M conv=fsync status=none")
  t_vfl=$(best_of 3 "'$VFL' new '$OUT/vfl.wav' --rate 44100 --bits 16 --channels 2 < '$raw'")
  t_sox=$(best_of 3 "sox -t raw -r 44100 -c 2 -b 16 -e signed -L '$raw' '$OUT/sox.wav' && sync '$OUT/sox.wav'")
  echo "writing a 1 GiB 16-bit stereo WAVE from raw PCM (each made durable), best of 3:"
  printf "  dd %.3fs   vfl new %.3fs   sox %.3fs\n" "$t_dd" "$t_vfl" "$t_sox"
  echo "  vfl/dd = $(ratio "$t_vfl" "$t_dd")   vfl/sox = $(ratio "$t_vfl" "$t_sox")"
  rm -f "$OUT/dd.out" "$OUT/vfl.wav" "$OUT/sox.wav"
fi

for b in build/release/bench/bench_*; do
  [ -x "$b" ] || continue
  name=$(basename "$b")
  want "${name#bench_}" || continue
  echo "== $name"
  "$b" --benchmark_min_time=0.2
done
