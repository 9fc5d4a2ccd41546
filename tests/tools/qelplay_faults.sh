#!/usr/bin/env bash
# qelplay against the loopback server's faults: what failed is named, the exit code says it.
#   qelplay_faults.sh BIN_DIR SAMPLE_DIR WORK_DIR
set -uo pipefail
bin=$1; samples=$2; work=$3
rm -rf "$work"; mkdir -p "$work"
# Silent, as the other tests: libvlc's sound goes to ALSA's null sink, on machines with
# or without a sound card (without one, a slowed-down libvlc may never reach the end).
printf 'pcm.!default { type null }\n' > "$work/asound.conf"
export ALSA_CONFIG_PATH="/usr/share/alsa/alsa.conf:$work/asound.conf" PULSE_SERVER=unix:/nonexistent/qel-test
export XDG_RUNTIME_DIR=$work

failures=0; passed=0
check() {  # NAME EXPECTED_EXIT EXPECTED_TEXT -- qelserve args...
  local name=$1 want_exit=$2 want_text=$3; shift 4
  local port_file=$work/$name.port
  coproc SERVER { exec "$bin/qelserve" "$samples" --port-file "$port_file" "$@"; }
  local server_pid=$SERVER_PID  # bash unsets SERVER_PID once it has reaped the server
  for _ in $(seq 100); do [ -s "$port_file" ] && break; sleep 0.05; done
  local base="http://127.0.0.1:$(cat "$port_file")/hls"
  awk -v base="$base" '{ print base "/" $1, $2 }' "$samples/hls/sha256.txt" > "$work/$name.sha256"
  if [[ $name == wrong-digest-* ]]; then  # the server's segment N no longer matches
    local n=${name#wrong-digest-}
    sed -i "s|^$base/index$n.ts .*|$base/index$n.ts $(printf '0%.0s' $(seq 64))|" "$work/$name.sha256"
  fi
  "$bin/qelplay" --headless --timeout 120 --cache "$work/cache-$name" --update-time 1 --sha256 "$work/$name.sha256" \
    "$base/index.m3u8" > "$work/$name.out" 2> "$work/$name.err"
  local got=$?
  kill "$server_pid" 2>/dev/null; wait "$server_pid" 2>/dev/null
  if [ "$got" != "$want_exit" ] || ! grep -q "$want_text" "$work/$name.err"; then
    echo "FAIL $name: exit $got (want $want_exit), output:"; grep -v '^\[' "$work/$name.err" | tail -15
    failures=$((failures + 1))
  else
    echo "ok   $name: exit $got, \"$want_text\""; passed=$((passed + 1))
  fi
}

check playlist-404 2 "the playlist could not be downloaded" -- --status /hls/index.m3u8 404
check segment-500  4 "failed: segment 3 .*index3.ts" -- --status /hls/index3.ts 500
check wrong-digest-3 4 "digest mismatch: segment 3 .*index3.ts" --
check all-good     0 "playback           reached the end" --
# Segments 0 and 1 come before the start: without either, it can never come.
check segment0-404 4 "playback cannot start: segment 0" -- --status /hls/index0.ts 404

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
