#!/usr/bin/env bash
# The main job in one command: installs what is missing, builds, makes a 16-second HLS
# video, serves it on loopback (throttled like a modest network) with its SHA-256 digests,
# and plays it with qelplay in three phases:
#   1. remote: segments 0 and 1 first, playback as soon as they are cached, then a seek
#      into the part not cached yet, whose group is fetched first; the groups after it
#      follow as playback reaches them, and the ones the seek skipped are left (a seek
#      halts the prefetch chain);
#   2. remote again from the start: what is cached plays from the cache, and the segments
#      the seek skipped are fetched as playback reaches them;
#   3. offline: the server is stopped and the video plays from the cache alone.
# With DISPLAY set each phase shows the video in a window. Exit 0 when every phase reached
# the end with every digest right.
set -euo pipefail
cd "$(dirname "$0")/.."

preset=linux-release
build=build/$preset
jobs=$(nproc 2>/dev/null || echo 2)

bash scripts/setup.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" -j "$jobs" --target qelplay qelserve >/dev/null

demo=$build/demo
content=$demo/content
cache=$demo/cache
rm -rf "$cache" "$demo/server.port"
mkdir -p "$demo"
scripts/make-sample-content.sh "$content" 16

# The demo machine may have no sound card: libvlc's ALSA output then goes to ALSA's null
# sink instead of printing errors. A machine with sound keeps its own configuration.
if ! grep -qs '^ *[0-9]' /proc/asound/cards; then
  printf 'pcm.!default { type null }\n' > "$demo/asound-null.conf"
  export ALSA_CONFIG_PATH="/usr/share/alsa/alsa.conf:$PWD/$demo/asound-null.conf"
fi
# libvlc's plugins want a private runtime folder and complain on every start without one.
if [ ! -d "${XDG_RUNTIME_DIR:-}" ] || [ ! -O "$XDG_RUNTIME_DIR" ]; then
  export XDG_RUNTIME_DIR=$PWD/$demo/runtime
  mkdir -p -m 700 "$XDG_RUNTIME_DIR"
fi
headless=--headless
if [ -n "${DISPLAY:-}" ]; then headless=""; fi

# 64 KiB/s per connection: a segment takes most of a second, and so does a group of three.
coproc SERVER { exec "$build/bin/qelserve" "$content" --throttle 65536 --port-file "$demo/server.port"; }
# Bash unsets SERVER_PID as soon as it reaps the server, which may come before a 'wait'.
server_pid=$SERVER_PID
trap 'kill "$server_pid" 2>/dev/null || true' EXIT
for _ in $(seq 50); do [ -s "$demo/server.port" ] && break; sleep 0.1; done
port=$(cat "$demo/server.port")
base="http://127.0.0.1:$port/hls"
awk -v base="$base" '{ print base "/" $1, $2 }' "$content/hls/sha256.txt" > "$demo/sha256.txt"

update_time=1700000000000
play() {
  "$build/bin/qelplay" $headless --cache "$cache" --update-time "$update_time" --sha256 "$demo/sha256.txt" \
    --timeout 120 "$@" "$base/index.m3u8"
}

echo "== Phase 1: remote, served on $base, throttled; seek to 0:10 as soon as playback starts"
play --seek 10

echo
echo "== Phase 2: remote again from the start; the segments the seek skipped are fetched now"
play

echo
echo "== Phase 3: the server is stopped; the same video plays from the cache alone"
kill "$server_pid" 2>/dev/null || true
wait "$server_pid" 2>/dev/null || true
play

echo
echo "Demo finished: every phase reached the end with every segment verified."
