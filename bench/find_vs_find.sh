#!/usr/bin/env bash
# vfl find against find(1) on the same tree in the same run, page cache warm:
# a walk by name over 50,000 files in 2,500 folders (half of them .wav),
# the same count from both, best of N wall-clock seconds each. Then the
# find-file task's abort latency in one folder of 200,000 entries.
#   bench/find_vs_find.sh [runs]
# Environment: BUILD (build folder, default build/release), OUT (where the
# trees go, default bench/out/find).
set -euo pipefail
cd "$(dirname "$0")/.."
runs=${1:-5}
BUILD=${BUILD:-build/release}
OUT=${OUT:-$PWD/bench/out/find}

cmake --preset release -B "$BUILD" >/dev/null
cmake --build "$BUILD" --target vfl_tool bench_find >/dev/null
VFL="$PWD/$BUILD/vfl"
BENCH="$PWD/$BUILD/bench/bench_find"

tree="$OUT/tree"
big="$OUT/big"
mkdir -p "$OUT"
if [ ! -d "$tree" ]; then
  # 50 folders of 49 folders each: 2,500 folders; 20 files in each.
  python3 - "$tree" <<'EOF'
import os, sys
root = sys.argv[1]
for a in range(50):
    top = os.path.join(root, "Session %02d" % a)
    for b in range(50):
        folder = top if b == 0 else os.path.join(top, "Take Folder %02d" % b)
        os.makedirs(folder, exist_ok=True)
        for f in range(20):
            name = "Audio %02d-%02d-%02d.%s" % (a, b, f, "wav" if f % 2 == 0 else "txt")
            open(os.path.join(folder, name), "w").close()
EOF
fi
if [ ! -d "$big" ]; then
  python3 - "$big" <<'EOF'
import os, sys
os.makedirs(sys.argv[1])
for i in range(200000):
    open(os.path.join(sys.argv[1], "take%06d.wav" % i), "w").close()
EOF
fi

# Best of $runs wall-clock seconds of a command.
best_of() {
  local best=""
  for _ in $(seq "$runs"); do
    local t0 t1 t
    t0=$(date +%s.%N); bash -c "$*" >/dev/null; t1=$(date +%s.%N)
    t=$(echo "$t1 - $t0" | bc -l)
    if [ -z "$best" ] || (( $(echo "$t < $best" | bc -l) )); then best=$t; fi
  done
  echo "$best"
}
ratio() { echo "scale=2; $1 / $2" | bc -l; }

folders=$(find "$tree" -type d | wc -l)
files=$(find "$tree" -type f | wc -l)
find "$tree" >/dev/null # warm the page cache for both alike
n_find=$(find "$tree" -iname '*.wav' | wc -l)
n_vfl=$("$VFL" find '*.wav' --in "$tree" --tree | wc -l)
t_find=$(best_of "find '$tree' -iname '*.wav'")
t_vfl=$(best_of "'$VFL' find '*.wav' --in '$tree' --tree")
echo "a walk by name over $files files in $folders folders (page cache warm), best of $runs:"
printf "  find -iname %.3fs (%s found)   vfl find %.3fs (%s found)\n" "$t_find" "$n_find" "$t_vfl" "$n_vfl"
echo "  vfl/find = $(ratio "$t_vfl" "$t_find")   same count: $([ "$n_find" = "$n_vfl" ] && echo yes || echo NO)"

find "$big" >/dev/null
echo "abort of the find-file task at a random moment, one folder of $(find "$big" -type f | wc -l) entries:"
VFL_FIND_BENCH_DIR="$big" "$BENCH" --benchmark_counters_tabular=true 2>/dev/null | grep -E 'BM_|Benchmark' | sed 's/^/  /'
