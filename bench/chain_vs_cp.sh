#!/usr/bin/env bash
# A reader-writer chain copying a 1 GiB WAVE file, against cp and sox on the
# same file in the same run, best of N wall-clock seconds each, page cache
# warm. The chain's writer makes its output durable when it closes it, so
# cp and sox are also timed with a sync of their output. Then the chain's
# cost per block on a RAM disk, which with the default 15360-byte blocks is
# paid about 70000 times per GiB.
#   bench/chain_vs_cp.sh [runs]
# Environment: BUILD (build folder, default build/chain-bench), OUT (where
# the 1 GiB input and the copies go, default bench/out/chain).
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-3}
BUILD=${BUILD:-build/chain-bench}
OUT=${OUT:-$PWD/bench/out/chain}

cmake --preset release -B "$BUILD" >/dev/null
cmake --build "$BUILD" --target bench_chain >/dev/null
BENCH="$PWD/$BUILD/bench/bench_chain"
mkdir -p "$OUT"
in="$OUT/in.wav"
copy="$OUT/copy.wav"
if [ ! -f "$in" ]; then
  # 1 GiB of 16-bit stereo at 44.1 kHz is 6087 seconds.
  sox -n -r 44100 -c 2 -b 16 "$in" synth 6087 whitenoise gain -3
fi
bytes=$(stat -c %s "$in")

# Best of $runs wall-clock seconds of a command; before each run the copy is
# removed and everything written so far is flushed, outside the timing.
best_of() {
  local best=""
  for _ in $(seq "$runs"); do
    rm -f "$copy"; sync
    cat "$in" >/dev/null
    local t0 t1 t
    t0=$(date +%s.%N); bash -c "$*" >/dev/null 2>&1; t1=$(date +%s.%N)
    t=$(echo "$t1 - $t0" | bc -l)
    if [ -z "$best" ] || (( $(echo "$t < $best" | bc -l) )); then best=$t; fi
  done
  echo "$best"
}
ratio() { echo "scale=2; $1 / $2" | bc -l; }
mibps() { echo "scale=0; $bytes / 1048576 / $1" | bc -l; }

chain="VFL_CHAIN_BENCH_IN='$in' VFL_CHAIN_BENCH_OUT='$copy' '$BENCH' --benchmark_filter"
t_cp=$(best_of "cp '$in' '$copy'")
t_cp_sync=$(best_of "cp '$in' '$copy' && sync '$copy'")
t_sox=$(best_of "sox '$in' '$copy'")
t_sox_sync=$(best_of "sox '$in' '$copy' && sync '$copy'")
t_chain=$(best_of "$chain='BM_CopyWaveFile/block_bytes:15360/'")
t_chain_big=$(best_of "$chain='BM_CopyWaveFile/block_bytes:245760/'")
rm -f "$copy"

echo "copy of a $((bytes / 1048576)) MiB 16-bit stereo WAVE, page cache warm, best of $runs:"
printf "  %-34s %7.3f s  %5s MiB/s\n" \
  "cp" "$t_cp" "$(mibps "$t_cp")" \
  "cp + sync" "$t_cp_sync" "$(mibps "$t_cp_sync")" \
  "sox" "$t_sox" "$(mibps "$t_sox")" \
  "sox + sync" "$t_sox_sync" "$(mibps "$t_sox_sync")" \
  "chain, 15360-byte blocks" "$t_chain" "$(mibps "$t_chain")" \
  "chain, 245760-byte blocks" "$t_chain_big" "$(mibps "$t_chain_big")"
echo "  chain/(cp+sync) = $(ratio "$t_chain" "$t_cp_sync")   chain/cp = $(ratio "$t_chain" "$t_cp")" \
     "  chain/(sox+sync) = $(ratio "$t_chain" "$t_sox_sync")"
echo "  with 245760-byte blocks: chain/(cp+sync) = $(ratio "$t_chain_big" "$t_cp_sync")"

echo "cost of one block's trip through the shared threads (RAM disk):"
"$BENCH" --benchmark_filter='BM_ChainOnRamFile' 2>/dev/null | grep BM_ | sed 's/^/  /'
rm -f /dev/shm/vfl_bench_chain_*
