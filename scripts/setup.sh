#!/usr/bin/env bash
# Installs the Debian packages the builds and tests need; only the missing ones.
# Idempotent and quiet when everything is already there. Run as root (or with sudo).
set -euo pipefail

packages=(
  # toolchains and build
  cmake ninja-build g++ pkg-config
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  # libraries, native
  libgtest-dev googletest libcurl4-openssl-dev libssl-dev zlib1g-dev
  libspdlog-dev libfmt-dev libvlc-dev vlc-plugin-base
  # vlc-cache-gen, whose trigger writes libvlc's plugin cache: without it every libvlc
  # instance dlopens all ~400 plugins, which takes minutes under ThreadSanitizer
  libvlc-bin
  # the engine's picture in an X11 window: its child window, libvlc's X11 video outputs
  libxcb1-dev vlc-plugin-video-output
  # libraries, Windows build
  libz-mingw-w64-dev
  # the ActiveX control's type library: widl, and the IDL files it imports (Wine's)
  mingw-w64-tools libwine-dev
  # running and testing
  wine wine64 xvfb xauth ffmpeg procps
  # the peer of the fill benchmark (bench/host_cost_bench.cpp)
  curl
  # fuzzing (libFuzzer and its sanitizer runtimes)
  clang libclang-rt-14-dev
  # locale data, to test number parsing under a comma-decimal locale
  locales
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
