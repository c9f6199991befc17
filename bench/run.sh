#!/usr/bin/env bash
# Builds the release preset and prints each benchmark as a ratio against its
# reference tool, on the same input in the same run.
#   bench/run.sh            all benchmarks
#   bench/run.sh cat        only the named comparison(s), or benchmark
#                           (unique runs bench_unique)
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

if want convert; then
  # Ten minutes of stereo: each conversion against the same job in sox,
  # best of 3 wall-clock seconds, page cache warm.
  f="$OUT/ten16.wav"
  [ -f "$f" ] || sox -n -r 44100 -c 2 -b 16 "$f" synth 600 sine 200-8000 sine 300-12000 gain -3
  f24="$OUT/ten24.wav"
  [ -f "$f24" ] || sox "$f" -b 24 -t wavpcm "$f24"
  f96="$OUT/ten96.wav"
  [ -f "$f96" ] || sox "$f" -b 24 -r 96000 -t wavpcm "$f96" rate
  cat "$f" "$f24" "$f96" >/dev/null
  compare() { # title, vfl arguments, sox arguments
    local t_vfl t_sox
    t_vfl=$(best_of 3 "'$VFL' convert $2")
    t_sox=$(best_of 3 "sox $3")
    printf "  %-44s vfl %.3fs   sox %.3fs   vfl/sox = %s\n" "$1" "$t_vfl" "$t_sox" "$(ratio "$t_vfl" "$t_sox")"
  }
  echo "10 minutes of stereo, best of 3:"
  compare "24 to 16 bits with dither" "'$f24' -o '$OUT/v.wav' --bits 16" "'$f24' -b 16 '$OUT/s.wav' dither"
  compare "16 to 24 bits" "'$f' -o '$OUT/v.wav' --bits 24" "'$f' -b 24 '$OUT/s.wav'"
  compare "96 kHz/24 to 44.1 kHz/16, 257 taps, dither" "'$f96' -o '$OUT/v.wav' --rate 44100 --bits 16 --quality 4" \
          "'$f96' -b 16 '$OUT/s.wav' rate -v 44100 dither"
  compare "44.1 to 48 kHz, 257 taps" "'$f' -o '$OUT/v.wav' --rate 48000 --quality 4" "'$f' '$OUT/s.wav' rate -v 48k"
  rm -f "$OUT/v.wav" "$OUT/s.wav"
fi

if want mp3; then
  # The encoder's own command line, for the same stream: 128 kb/s constant.
  command -v lame >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get install -y -qq lame >/dev/null
  f="$OUT/ten16.wav"
  [ -f "$f" ] || sox -n -r 44100 -c 2 -b 16 "$f" synth 600 sine 200-8000 sine 300-12000 gain -3
  t_vfl=$(best_of 2 "'$VFL' convert '$f' -o '$OUT/v.mp3'")
  t_lame=$(best_of 2 "lame --quiet -b 128 '$f' '$OUT/l.mp3'")
  t_lame_plain=$(best_of 2 "lame --quiet --noreplaygain -b 128 '$f' '$OUT/l.mp3'")
  echo "10 minutes of 44.1 kHz 16-bit stereo to MP3 at 128 kb/s, best of 2:"
  printf "  vfl convert %.3fs   lame %.3fs   lame --noreplaygain %.3fs\n" "$t_vfl" "$t_lame" "$t_lame_plain"
  echo "  vfl/lame = $(ratio "$t_vfl" "$t_lame")   vfl/lame --noreplaygain = $(ratio "$t_vfl" "$t_lame_plain")"
  rm -f "$OUT/v.mp3" "$OUT/l.mp3"
fi

if want overview; then
  f="$OUT/ten16.wav"
  [ -f "$f" ] || sox -n -r 44100 -c 2 -b 16 "$f" synth 600 sine 200-8000 sine 300-12000 gain -3
  cat "$f" >/dev/null
  t_cat=$(best_of 5 "cat '$f' >/dev/null")
  t_vfl=$(best_of 5 "'$VFL' overview '$f' --spi 1024 >/dev/null")
  echo "overview of a 100 MB 16-bit stereo WAVE against reading it with cat (page cache warm), best of 5:"
  printf "  cat %.3fs   vfl overview %.3fs   vfl/cat = %s\n" "$t_cat" "$t_vfl" "$(ratio "$t_vfl" "$t_cat")"
fi

if want copy; then
  # A reader-writer chain of 1 GiB made durable, against cp and a sync.
  BUILD=build/release OUT="$OUT/chain" bench/chain_vs_cp.sh 3
fi

if want compact; then
  # 1 GiB of 16-bit mono, half of it kept in ten stretches: vfl compact moves
  # them together in place; dd moves the same bytes within the same file,
  # one run per stretch with conv=fsync, and truncate cuts the file behind
  # them. Each run starts from a fresh copy, page cache warm.
  f="$OUT/mono1g.wav"
  # 1 GiB of 16-bit mono at 44.1 kHz is 12174 seconds.
  [ -f "$f" ] || sox -r 44100 -c 1 -n -b 16 "$f" synth 12174 whitenoise gain -3
  work="$OUT/compact.wav"
  frames=$(soxi -s "$f")
  data=$("$VFL" print "$f" | awk '/^Chunk Position:/ {p = $3} /^Chunk ID: data/ {print p + 8; exit}')
  step=$((frames / 10))
  keep=""
  moves=""
  dest=0
  for i in $(seq 0 9); do
    s=$((i * step + step / 4)); e=$((i * step + 3 * step / 4)); len=$((e - s))
    keep+="${keep:+,}$s-$e"
    moves+="dd if='$work' of='$work' bs=245760 iflag=skip_bytes,count_bytes oflag=seek_bytes conv=notrunc,fsync"
    moves+=" status=none skip=$((data + 2 * s)) seek=$((data + 2 * dest)) count=$((2 * len)); "
    dest=$((dest + len))
  done
  moves+="truncate -s $((data + 2 * dest)) '$work'"
  best_on_fresh_copy() {
    local best=""
    for _ in 1 2 3; do
      rm -f "$work"; cp "$f" "$work"; sync; cat "$work" >/dev/null
      local t0 t1 t
      t0=$(date +%s.%N); bash -c "$1" >/dev/null; t1=$(date +%s.%N)
      t=$(echo "$t1 - $t0" | bc -l)
      if [ -z "$best" ] || (( $(echo "$t < $best" | bc -l) )); then best=$t; fi
    done
    echo "$best"
  }
  t_vfl=$(best_on_fresh_copy "'$VFL' compact '$work' --keep $keep")
  t_dd=$(best_on_fresh_copy "$moves")
  rm -f "$work"
  echo "compacting a 1 GiB 16-bit mono WAVE in place, half kept in 10 stretches (made durable), best of 3:"
  printf "  dd %.3fs   vfl compact %.3fs   vfl/dd = %s\n" "$t_dd" "$t_vfl" "$(ratio "$t_vfl" "$t_dd")"
fi

if want direct; then
  OUT="$OUT" bench/direct_vs_fio.sh
fi

if want find; then
  OUT="$OUT/find" bench/find_vs_find.sh
fi

for b in build/release/bench/bench_*; do
  [ -x "$b" ] || continue
  name=$(basename "$b")
  [ "$name" = bench_find ] && continue # needs its tree: run by find_vs_find.sh
  want "${name#bench_}" || continue
  echo "== $name"
  "$b" --benchmark_min_time=0.2
done
