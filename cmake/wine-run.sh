#!/usr/bin/env bash
# Runs the Windows test executables under Wine with a prefix of the build tree's own.
#   wine-run.sh --setup    PREFIX           create the prefix, start a persistent wineserver
#   wine-run.sh --run      PREFIX [--display] EXE [ARGS...]
#   wine-run.sh --shutdown PREFIX           stop the wineserver
set -euo pipefail

mode=$1; prefix=$2; shift 2

# CTest hands its own pipes down; a wineserver that outlived the test would keep them open
# and CTest would wait for it forever. Only stdin, stdout and stderr go on.
for fd in /proc/$$/fd/*; do
  fd=${fd##*/}
  if [ "$fd" -gt 2 ] 2>/dev/null; then eval "exec $fd>&-" 2>/dev/null || true; fi
done
export WINEPREFIX=$prefix
export WINEDEBUG=-all
export WINEARCH=win64
# No Mono or Gecko installers: tests never need them and they would prompt.
export WINEDLLOVERRIDES="mscoree,mshtml="

wineserver_bin=/usr/lib/wine/wineserver; [ -x "$wineserver_bin" ] || wineserver_bin=$(command -v wineserver)

wine_bin=/usr/lib/wine/wine64; [ -x "$wine_bin" ] || wine_bin=$(command -v wine64 || command -v wine)

case $mode in
  --setup)
    mkdir -p "$prefix"
    if [ ! -f "$prefix/system.reg" ]; then
      timeout 240 "$wine_bin" wineboot --init >/dev/null 2>&1 </dev/null || true
      # Returns once the boot's processes are gone and the registry is written; bounded,
      # since a lingering helper process would hold it.
      timeout 120 "$wineserver_bin" -w >/dev/null 2>&1 </dev/null || true
    fi
    [ -f "$prefix/system.reg" ] || { echo "wine prefix not created at $prefix" >&2; exit 1; }
    # One server for the whole run: each test start then skips the server's start-up.
    "$wineserver_bin" -p >/dev/null 2>&1 </dev/null || true
    # Start Wine's services now, away from any test's output. They outlive the process
    # that starts them under a persistent server; started by a test they would keep its
    # output pipe open and CTest would wait for it until the time-out.
    "$wine_bin" cmd /c exit >/dev/null 2>&1 </dev/null || true
    ;;
  --shutdown)
    "$wineserver_bin" -k >/dev/null 2>&1 || true
    ;;
  --run)
    display=0
    if [ "${1:-}" = "--display" ]; then display=1; shift; fi
    "$wineserver_bin" -p >/dev/null 2>&1 || true
    if [ $display -eq 1 ] && [ -z "${DISPLAY:-}" ]; then
      exec xvfb-run -a -s "-screen 0 1280x1024x24" "$wine_bin" "$@"
    fi
    exec "$wine_bin" "$@"
    ;;
  *)
    echo "usage: $0 --setup|--run|--shutdown PREFIX ..." >&2; exit 2 ;;
esac
