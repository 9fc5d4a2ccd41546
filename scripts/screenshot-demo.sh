#!/usr/bin/env bash
# Takes the README's picture of the demo: qelplay plays the demo's video in its window on a
# private Xvfb display, and ffmpeg grabs a frame from the window's place on the screen.
#   screenshot-demo.sh [OUT.png]     (docs/images/qelplay-demo.png unless told)
set -euo pipefail
cd "$(dirname "$0")/.."

out=${1:-docs/images/qelplay-demo.png}
build=build/linux-release
bash scripts/setup.sh
cmake --preset linux-release >/dev/null
cmake --build --preset linux-release -j "$(nproc 2>/dev/null || echo 2)" --target qelplay >/dev/null
content=$build/demo/content
scripts/make-sample-content.sh "$content" 16

work=$(mktemp -d)
pids=()
trap 'kill "${pids[@]}" 2>/dev/null || true; rm -rf "$work"' EXIT
# Xvfb picks a free display number and writes it to fd 3.
Xvfb -displayfd 3 -screen 0 640x480x24 -nolisten tcp 3> "$work/display" 2>/dev/null &
pids+=($!)
for _ in $(seq 100); do [ -s "$work/display" ] && break; sleep 0.1; done
display=:$(cat "$work/display")

printf 'pcm.!default { type null }\n' > "$work/asound.conf"
DISPLAY=$display XDG_RUNTIME_DIR=$work ALSA_CONFIG_PATH="/usr/share/alsa/alsa.conf:$work/asound.conf" \
  "$build/bin/qelplay" --timeout 60 "$content/hls/index.m3u8" 2> "$work/qelplay.err" &
pids+=($!)
# A few seconds in: the window has the video's size (no window manager: at 0,0) and a
# moving picture.
for _ in $(seq 300); do grep -q '00:04 / ' "$work/qelplay.err" && break; sleep 0.1; done
size=$(sed -n 's/^started after .*, \([0-9]*x[0-9]*\), duration.*/\1/p' "$work/qelplay.err")
mkdir -p "$(dirname "$out")"
ffmpeg -hide_banner -loglevel error -nostdin -y -f x11grab -draw_mouse 0 -video_size "$size" -i "$display+0,0" -frames:v 1 "$out"
echo "$out: a frame of $size"
