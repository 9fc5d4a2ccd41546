#!/usr/bin/env bash
# qelplay.exe, the Windows console build of the demo host, under Wine: its command line and
# exit codes where nothing can be played (no libvlc.dll, nothing listening).
#   qelplay_wine_smoke.sh WINE_RUN PREFIX QELPLAY_EXE WORK_DIR
set -uo pipefail
wine_run=$1; prefix=$2; exe=$3; work=$4
rm -rf "$work"; mkdir -p "$work"

failures=0; passed=0
check() {  # NAME EXPECTED_EXIT EXPECTED_TEXT ARGS...
  local name=$1 want_exit=$2 want_text=$3; shift 3
  "$wine_run" --run "$prefix" "$exe" "$@" > "$work/$name.out" 2> "$work/$name.err" < /dev/null
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
check refused      2 "could not be downloaded"    --headless --timeout 30 --cache 'C:\qelplay-smoke' http://127.0.0.1:9/v/index.m3u8
check missing-file 2 "could not be opened"        --headless --timeout 30 'C:\no-such-file.mp4'
check no-libvlc    2 "could not be opened"        --audio --timeout 30 'C:\no-such-file.mp3'

echo "$passed passed, $failures failed"
[ "$failures" -eq 0 ]
