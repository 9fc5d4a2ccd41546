#!/usr/bin/env bash
# Redraws the PNG images of the sample skins under skins/ (common/, video/, audio/).
# The images are committed; run this after changing scripts/make-skin-images.cpp.
#   scripts/make-skin-images.sh [SKINS_FOLDER]     (default: the repository's skins/)
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
out=${1:-$here/../skins}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

g++ -std=c++17 -O2 -Wall -Wextra -o "$work/make-skin-images" "$here/make-skin-images.cpp" -lz
mkdir -p "$out/common" "$out/video" "$out/audio"
out=$(cd "$out" && pwd)
"$work/make-skin-images" "$out"
echo "skin images written under $out"
