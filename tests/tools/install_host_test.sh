#!/usr/bin/env bash
# A host built from an install alone: installs the build tree into a fresh prefix, builds
# examples/host against it with find_package (and, natively, with pkg-config), and plays the
# sample HLS video from the loopback server with it. Natively it also checks that the
# library exports nothing but the component's interface.
#   install_host_test.sh BUILD_DIR EXAMPLE_DIR SAMPLE_DIR WORK_DIR SANITIZE [TOOLCHAIN WINE_RUN WINE_PREFIX]
set -uo pipefail
build=$1; example=$2; samples=$3; work=$4; sanitize=$5; toolchain=${6:-}; wine_run=${7:-}; wine_prefix=${8:-}
rm -rf "$work"; mkdir -p "$work"
prefix=$work/prefix
fail() { echo "FAIL $*"; exit 1; }

cmake --install "$build" --prefix "$prefix" > "$work/install.log" || fail "cmake --install"

host_args=(-G Ninja -DCMAKE_BUILD_TYPE=Release)
if [ -n "$toolchain" ]; then
  # The cross toolchain finds packages only under its own root; the package folder itself is named.
  host_args+=(-DCMAKE_TOOLCHAIN_FILE="$toolchain" -DQelMediaPlayer_DIR="$prefix/lib/cmake/QelMediaPlayer")
else
  host_args+=(-DCMAKE_PREFIX_PATH="$prefix")
  # A sanitized library needs its runtime first in the host, so the host is built the same way.
  [ "$sanitize" = address ] && host_args+=(-DCMAKE_CXX_FLAGS=-fsanitize=address,undefined)
fi
cmake -S "$example" -B "$work/host" "${host_args[@]}" > "$work/host-configure.log" 2>&1 ||
  { cat "$work/host-configure.log"; fail "configure examples/host"; }
cmake --build "$work/host" > "$work/host-build.log" 2>&1 || { cat "$work/host-build.log"; fail "build examples/host"; }
root=$(cd "$example/../.." && pwd)
grep -Eq "$root/(src|platform|include)/|$build/(bin|include|src|platform)/" "$work/host/build.ninja" &&
  fail "the host's build names a path of the source or build tree"

if [ -z "$toolchain" ]; then
  lib=$prefix/lib/libQelMediaPlayer.so
  internals=$(nm -D --defined-only "$lib" | c++filt | cut -d' ' -f3- |
              grep -Ev '^(QelVideoPlayerManager::|qel::MessageQueue::|PostMessageW\(|IsWindow\(|__bss_start$|_edata$|_end$)')
  [ -z "$internals" ] || fail "libQelMediaPlayer.so exports more than its interface:"$'\n'"$internals"
  pc=$(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs qelmediaplayer) || fail "pkg-config"
  flags=""; [ "$sanitize" = address ] && flags=-fsanitize=address,undefined
  # shellcheck disable=SC2086
  c++ -std=c++17 $flags "$example/main.cpp" $pc -o "$work/host-pkgconfig" || fail "build with pkg-config"
fi

# The loopback server, serving until its standard input (a pipe held here) closes.
mkfifo "$work/hold"; exec 3<>"$work/hold"
if [ -n "$toolchain" ]; then
  winpath() { printf 'Z:%s' "$1" | tr '/' '\\'; }
  "$wine_run" --run "$wine_prefix" "$build/bin/qelserve.exe" "$(winpath "$samples")" \
    --port-file "$(winpath "$work/port")" < "$work/hold" > /dev/null 2>&1 &
else
  "$build/bin/qelserve" "$samples" --port-file "$work/port" < "$work/hold" > /dev/null 2>&1 &
fi
server=$!
for _ in $(seq 300); do [ -s "$work/port" ] && break; sleep 0.1; done
url="http://127.0.0.1:$(tr -d '\r\n' < "$work/port")/hls/index.m3u8"

if [ -n "$toolchain" ]; then
  # No libvlc.dll under Wine: the start is posted, with nothing open (exit 2).
  WINEPATH="$(winpath "$prefix/bin")" "$wine_run" --run "$wine_prefix" "$work/host/qel_host_example.exe" "$url" \
    "$(winpath "$work/cache")" 60 > "$work/host.out" 2>&1 < /dev/null
  got=$?; want=2
else
  printf 'pcm.!default { type null }\n' > "$work/asound.conf"
  export ALSA_CONFIG_PATH="/usr/share/alsa/alsa.conf:$work/asound.conf" PULSE_SERVER=unix:/nonexistent/qel-test
  export XDG_RUNTIME_DIR=$work
  "$work/host/qel_host_example" "$url" "$work/cache" 60 > "$work/host.out" 2>&1
  got=$?; want=0
fi
exec 3>&-; kill "$server" 2>/dev/null; wait "$server" 2>/dev/null
cat "$work/host.out"
[ "$got" = "$want" ] || fail "qel_host_example exit $got (want $want)"
grep -q "^QEL_VIDEO_STARTED 0 0" "$work/host.out" || fail "no start message"
echo "ok: installed, built against the install, played"
