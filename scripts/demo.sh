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

echo "== A three-second stereo test signal made by sox (440 Hz left, 660 Hz right, fading in and out)"
sox -n -r 44100 -c 2 -b 16 "$DEMO/tone.wav" synth 3 sine 440 sine 660 gain -6 fade 0.5 3 1

echo "== vfl info, and its single fields as soxi gives them"
"$VFL" info "$DEMO/tone.wav"
"$VFL" info -r -c -D "$DEMO/tone.wav"
soxi -r "$DEMO/tone.wav"; soxi -c "$DEMO/tone.wav"; soxi -D "$DEMO/tone.wav"

echo "== The first four frames through vfl cat (16-bit signed, little endian, L R), and as sox decodes them"
"$VFL" cat "$DEMO/tone.wav" --length 4 | od -A d -t d2 -w4
sox "$DEMO/tone.wav" -t raw -e signed -L - trim 0 4s | od -A d -t d2 -w4

echo "== The main job: convert to 48 kHz 24-bit (windowed sinc, 257 taps), and to two mono AIFF files"
"$VFL" convert "$DEMO/tone.wav" -o "$DEMO/tone48.wav" -r 48k -b 24 --quality 4
"$VFL" convert "$DEMO/tone.wav" -o "$DEMO/left.aif" "$DEMO/right.wav"
"$VFL" info "$DEMO/tone48.wav" "$DEMO/left.aif"
"$VFL" info -t "$DEMO/left.aif" "$DEMO/right.wav"
soxi "$DEMO/tone48.wav" | grep -E 'Sample Rate|Precision|Duration'

echo "== To MP3 at 192 kb/s with a title, as ffprobe sees it"
"$VFL" convert "$DEMO/tone.wav" --bitrate 192 --title "Test tone" -o "$DEMO/tone.mp3"
ffprobe -v error -show_entries stream=codec_name,sample_rate,channels,bit_rate:format_tags=title \
  -of default=nw=1 "$DEMO/tone.mp3"

echo "== A folder of files, two at a time"
mkdir -p "$DEMO/batch"
"$VFL" convert -d "$DEMO/batch" -j 2 -r 22050 "$DEMO/tone.wav" "$DEMO/right.wav"
"$VFL" info -r "$DEMO/batch/tone.wav" "$DEMO/batch/right.wav"

echo "== Regions and the waveform overview"
"$VFL" regions "$DEMO/tone48.wav" --add "middle" 1s 2s
"$VFL" regions "$DEMO/tone48.wav"
"$VFL" overview "$DEMO/tone48.wav" --spi 24000
"$VFL" overview "$DEMO/tone48.wav" --png "$DEMO/tone48.png"
echo "(picture of the waveform: $DEMO/tone48.png)"

echo "== Files other tools write: a 6-channel 24-bit WAVE from ffmpeg (extensible format, with a broadcast chunk)"
ffmpeg -v error -y -i "$DEMO/tone.wav" -filter_complex "[0:a]pan=5.1|c0=c0|c1=c1|c2=c0|c3=c1|c4=c0|c5=c1" \
  -c:a pcm_s24le -write_bext 1 -metadata description="Scene 4 take 2" "$DEMO/surround.wav"
"$VFL" info "$DEMO/surround.wav" | grep -E 'channels|bits|channel mask|broadcast description'
before=$(sox "$DEMO/surround.wav" -t raw - | md5sum)
"$VFL" adopt "$DEMO/surround.wav"
after=$(sox "$DEMO/surround.wav" -t raw - | md5sum)
[ "$before" = "$after" ] && echo "adopted: every sample as sox decodes it is unchanged, and the other tool's chunks kept"
