#!/usr/bin/env bash
# qelplay.exe, the Windows console build of the demo host, under Wine: its command line and
# exit codes where nothing can be played (no libvlc.dll, no such file).
#   qelplay_wine_smoke.sh WINE_RUN PREFIX QELPLAY_EXE SUBSTITUTE_EXE QELSERVE_EXE SAMPLE_DIR WORK_DIR
# The substitute-engine build then caches and verifies a remote HLS video served by
# qelserve.exe; the substitute never reports an end, so that run ends by its time-out.
set -uo pipefail
wine_run=$1; prefix=$2; exe=$3; substitute=$4; qelserve=$5; samples=$6; work=$7
rm -rf "$work"; mkdir -p "$work"

failures=0; passed=0
check() {  # NAME EXPECTED_EXIT EXPECTED_TEXT ARGS...
  local name=$1 want_exit=$2 want_text=$3; shift 3
  "$wine_run" --run "$prefix" "${program:-$exe}" "$@" > "$work/$name.out" 2> "$work/$name.err" < /dev/null
  local got=$?
  if [ "$got" != "$want_exit" ] || ! grep -q "$want_text" "$work/$name.out" "$work/$name.err"; then
    echo "FAIL $name: exit $got (want $want_exit)"; tail -5 "$work/$name.err"
    failures=$((failures + 1))
  else
    echo "ok   $name: exit $got"; passed=$((passed + 1))
  fi
}

check help         0 "usage: qelplay"             --help
check no-source    1 "no URL or path given"       --headless
check bad-option   1 "unknown option --fast"      --fast x.mp4
check missing-file 2 "could not be opened"        --headless --timeout 30 'C:\no-such-file.mp4'
check no-libvlc    2 "could not be opened"        --audio --timeout 30 'C:\no-such-file.mp3'

# Remote HLS through the substitute engine: every segment cached and verified.
winpath() { printf 'Z:%s' "$1" | tr '/' '\\'; }
# The server serves until its standard input closes: a pipe this script holds open.
mkfifo "$work/hold"
exec 3<>"$work/hold"
"$wine_run" --run "$prefix" "$qelserve" "$(winpath "$samples")" --port-file "$(winpath "$work/port")" \
  < "$work/hold" > /dev/null 2>&1 &
server=$!
for _ in $(seq 200); do [ -s "$work/port" ] && break; sleep 0.1; done
port=$(tr -d '\r\n' < "$work/port" 2>/dev/null)
base="http://127.0.0.1:$port/hls"
awk -v base="$base" '{ print base "/" $1, $2 }' "$samples/hls/sha256.txt" > "$work/sha256.txt"
program=$substitute check substitute-remote 3 "digests checked    5, 0 mismatched" \
  --headless --timeout 8 --update-time 1 --cache "$(winpath "$work/cache")" --sha256 "$(winpath "$work/sha256.txt")" \
  "$base/index.m3u8"
grep -q "segments cached    5/5" "$work/substitute-remote.err" || { echo "FAIL substitute-remote: not all cached"; failures=$((failures + 1)); }
exec 3>&-
kill "$server" 2>/dev/null; wait "$server" 2>/dev/null

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
