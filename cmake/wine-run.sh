#!/usr/bin/env bash
# Runs the Windows test executables under Wine with a prefix of the build tree's own.
#   wine-run.sh --setup    PREFIX           create the prefix, start a persistent wineserver
#   wine-run.sh --run      PREFIX [--display] EXE [ARGS...]
#   wine-run.sh --shutdown PREFIX           stop the wineserver (and the X server)
#
# Wine's desktop process, started once with the prefix's services, decides whether the
# whole run can show windows. So the setup starts one virtual X server (Xvfb) for the run
# when it can, and every test runs on that display.
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
# No Mono or Gecko installers: tests never need them and they would prompt. No crash
# debugger either: it would wait for ever, and a crash must end the test as a failure.
export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe=d"

wineserver_bin=/usr/lib/wine/wineserver; [ -x "$wineserver_bin" ] || wineserver_bin=$(command -v wineserver)

wine_bin=/usr/lib/wine/wine64; [ -x "$wine_bin" ] || wine_bin=$(command -v wine64 || command -v wine)

display_file=$prefix/.xvfb-display
pid_file=$prefix/.xvfb-pid

stop_xvfb() {
  if [ -f "$pid_file" ]; then kill "$(cat "$pid_file")" 2>/dev/null || true; fi
  rm -f "$pid_file" "$display_file"
}

# Starts Xvfb on a free display; its number lands in $display_file.
start_xvfb() {
  command -v Xvfb >/dev/null 2>&1 || return 0
  rm -f "$display_file"
  setsid Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$display_file" </dev/null >/dev/null 2>&1 &
  echo $! >"$pid_file"
  for _ in $(seq 100); do
    [ -s "$display_file" ] && return 0
    sleep 0.1
  done
  echo "Xvfb did not start; windows cannot be shown" >&2
  stop_xvfb
}

use_xvfb_display() {
  if [ -s "$display_file" ]; then export DISPLAY=":$(head -n1 "$display_file")"; fi
}

case $mode in
  --setup)
    mkdir -p "$prefix"
    # A server left from an earlier run may have started its desktop without a display.
    "$wineserver_bin" -k >/dev/null 2>&1 || true
    stop_xvfb
    start_xvfb
    use_xvfb_display
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
    # Windows are left unmanaged: with no window manager on the virtual display, Wine
    # would otherwise wait for one on every window it maps or unmaps.
    "$wine_bin" reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1 </dev/null || true
    ;;
  --shutdown)
    "$wineserver_bin" -k >/dev/null 2>&1 || true
    stop_xvfb
    ;;
  --run)
    display=0
    if [ "${1:-}" = "--display" ]; then display=1; shift; fi
    "$wineserver_bin" -p >/dev/null 2>&1 || true
    use_xvfb_display
    if [ $display -eq 1 ] && [ -z "${DISPLAY:-}" ]; then
      exec xvfb-run -a -s "-screen 0 1280x1024x24" "$wine_bin" "$@"
    fi
    exec "$wine_bin" "$@"
    ;;
  *)
    echo "usage: $0 --setup|--run|--shutdown PREFIX ..." >&2; exit 2 ;;
esac
