#!/usr/bin/env bash
# Speed of the sinc converter against sox on the same samples, single-threaded,
# in one run: 60 s of mono 16-bit audio at 44.1 kHz resampled to 48 kHz.
#   bench/src_vs_sox.sh [path/to/bench_src]
# Without an argument, build/release/bench_src is used (bench/run.sh builds it).
# Prints each contender's input samples per second and the ratios.
set -euo pipefail
cd "$(dirname "$0")/.."
BENCH="${1:-$PWD/build/release/bench_src}"
OUT="$PWD/bench/out"
mkdir -p "$OUT"
in_wav="$OUT/src_in.wav"
in_raw="$OUT/src_in.raw"
if [ ! -f "$in_wav" ]; then
  sox -n -r 44100 -c 1 -b 16 "$in_wav" synth 60 sine 1000 synth 60 whitenoise mix gain -3
fi
sox "$in_wav" -t raw -e signed -b 16 -L "$in_raw"
samples=$(( $(stat -c %s "$in_raw") / 2 ))

# Best of 5 CPU seconds (user + system) of one sox conversion.
sox_cpu() {
  local best=""
  for _ in 1 2 3 4 5; do
    local t
    t=$( { /usr/bin/time -f "%U %S" sox --single-threaded "$in_wav" -r 48000 "$OUT/src_out.wav" rate "$1" >/dev/null; } 2>&1 | awk '{print $1 + $2}')
    if [ -z "$best" ] || (( $(echo "$t < $best" | bc -l) )); then best=$t; fi
  done
  echo "$best"
}
t_v=$(sox_cpu -v)
t_h=$(sox_cpu -h)
sox_v=$(echo "$samples / $t_v" | bc -l)
sox_h=$(echo "$samples / $t_h" | bc -l)

json="$OUT/bench_src.json"
VFL_SRC_INPUT="$in_raw" "$BENCH" --benchmark_filter='Up441To48Mono' --benchmark_repetitions=3 \
  --benchmark_out="$json" --benchmark_out_format=json >/dev/null 2>&1

printf "44.1 to 48 kHz, %d mono 16-bit samples, single-threaded, input samples per CPU second:\n" "$samples"
printf "  sox rate -v  %6.1f M/s\n  sox rate -h  %6.1f M/s\n" "$(echo "$sox_v / 1000000" | bc -l)" "$(echo "$sox_h / 1000000" | bc -l)"
# The best of the repetitions, one line per quality.
python3 - "$json" "$sox_v" "$sox_h" <<'PY'
import json, sys
runs = json.load(open(sys.argv[1]))["benchmarks"]
sox_v, sox_h = float(sys.argv[2]), float(sys.argv[3])
best = {}
for r in runs:
    if r.get("run_type") != "iteration":
        continue
    q = int(r["run_name"].split("/")[1])
    best[q] = max(best.get(q, 0.0), r["items_per_second"])
for q in sorted(best):
    name = "linear" if q == 0 else "%d taps" % q
    print("  vfl %-8s %6.1f M/s   %.2f x sox -v   %.2f x sox -h" % (name, best[q] / 1e6, best[q] / sox_v, best[q] / sox_h))
PY
