#!/usr/bin/env bash
# Unbuffered reads of Sys_File against fio on the same 1 GiB file, direct
# I/O on both sides, best of N runs each:
#   1 MiB sequential reads, one at a time: Sys_File::Read against
#     fio --direct=1 --bs=1m --ioengine=psync;
#   1 MiB queued reads, 8 in flight: Sys_File::ReadAsync (io_uring, then
#     the worker threads) against fio --ioengine=io_uring --iodepth=8;
#   heap allocations per unbuffered Read.
#   bench/direct_vs_fio.sh [runs]
# Environment: BUILD (build folder, default build/release), OUT (where the
# file goes, default bench/out; it must be on a disk, not tmpfs).
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-3}
BUILD=${BUILD:-build/release}
OUT=${OUT:-$PWD/bench/out}

command -v fio >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq fio >/dev/null
cmake --preset release -B "$BUILD" >/dev/null
cmake --build "$BUILD" --target direct_read >/dev/null
READ="$PWD/$BUILD/bench/direct_read"

mkdir -p "$OUT"
f="$OUT/direct1g.bin"
[ -f "$f" ] || head -c 1073741824 /dev/urandom >"$f"

# fio's read rate in MB/s (10^6 bytes).
fio_rate() {
  fio --name=direct --filename="$f" --readonly --rw=read --direct=1 --bs=1m --size=1g "$@" \
      --output-format=json | python3 -c 'import json,sys; print("%.1f" % (json.load(sys.stdin)["jobs"][0]["read"]["bw_bytes"] / 1e6))'
}
best() { sort -g | tail -1; }
ratio() { echo "scale=2; $1 / $2" | bc -l; }

fio_seq=$(for _ in $(seq "$runs"); do fio_rate --ioengine=psync; done | best)
vfl_seq=$(for _ in $(seq "$runs"); do "$READ" "$f" seq | awk '{print $1}'; done | best)
allocs=$("$READ" "$f" seq | awk '{print $3}')
echo "1 MiB unbuffered sequential reads of a 1 GiB file, best of $runs:"
echo "  fio psync $fio_seq MB/s   Sys_File::Read $vfl_seq MB/s   ratio $(ratio "$vfl_seq" "$fio_seq")   allocations per call $allocs"

fio_q=$(for _ in $(seq "$runs"); do fio_rate --ioengine=io_uring --iodepth=8; done | best)
ring=$(for _ in $(seq "$runs"); do "$READ" "$f" queued 8 ring | awk '{print $1}'; done | best)
workers=$(for _ in $(seq "$runs"); do "$READ" "$f" queued 8 workers | awk '{print $1}'; done | best)
echo "1 MiB queued reads, 8 in flight, best of $runs:"
echo "  fio io_uring $fio_q MB/s   ReadAsync io_uring $ring MB/s (ratio $(ratio "$ring" "$fio_q"))   worker threads $workers MB/s (ratio $(ratio "$workers" "$fio_q"))"
