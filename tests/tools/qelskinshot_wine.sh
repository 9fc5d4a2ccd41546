#!/usr/bin/env bash
# qelskinshot.exe under Wine and Xvfb: the real embedded players on the substitute engine,
# from the control's least size (192 x 108) and default extent (192 x 192) up, playing,
# loading and failed, and the chapter dot pop-up, saved as PNGs in OUT_DIR and each
# checked for what a person would see: the right size, a dark control bar with light
# glyphs, a black picture with yellow chapter dots below it, the status line over the
# picture, the audio player's picture, the pop-up's accent border.
#   qelskinshot_wine.sh WINE_RUN PREFIX QELSKINSHOT_EXE OUT_DIR
set -uo pipefail
wine_run=$1; prefix=$2; exe=$3; out=$4
mkdir -p "$out"; failures=0
winpath() { printf 'Z:%s' "$1" | tr '/' '\\'; }
run() { "$wine_run" --run "$prefix" --display "$exe" "$@" > "$out/last.log" 2>&1 < /dev/null; }
expect() {  # NAME CONDITION MESSAGE
  if eval "$2"; then echo "ok   $1"; return 0; fi
  echo "FAIL $1: $3"; failures=$((failures + 1)); return 1
}

# Rows [TOP, BOTTOM) of NAME.png, WIDTH wide: distinct colours, light (luma > 170), dark
# (luma < 70) and non-black pixels, the pixel count, accent-blue and dot-yellow pixels.
band() {  # NAME WIDTH TOP BOTTOM
  ffmpeg -loglevel error -i "$out/$1.png" -f rawvideo -pix_fmt rgb24 - | od -An -v -tu1 -w3 |
    awk -v w="$2" -v top="$3" -v bottom="$4" '
      { row = int((NR - 1) / w) }
      row >= top && row < bottom {
        n++; colours[$0] = 1; luma = 0.299 * $1 + 0.587 * $2 + 0.114 * $3
        light += luma > 170; dark += luma < 70; lit += $1 + $2 + $3 > 0
        accent += $1 < 110 && $2 > 150 && $3 > 220; yellow += $1 > 220 && $2 > 160 && $2 < 225 && $3 < 120
      }
      END { print length(colours), light + 0, dark + 0, lit + 0, n + 0, accent + 0, yellow + 0 }'
}

# Renders NAME with ARGS (OUT stands for its PNG) and checks that it is a PNG of WIDTH x
# HEIGHT with no temporary file left.
shoot() {  # NAME WIDTH HEIGHT ARGS...
  local name=$1 w=$2 h=$3 size rc; shift 3
  rm -f "$out/$name.png"
  run "${@/#OUT/$(winpath "$out/$name.png")}"; rc=$?
  [ "$rc" -eq 0 ] || { expect "$name" false "exit $rc: $(tail -3 "$out/last.log")"; return 1; }
  size=$(ffprobe -loglevel error -show_entries stream=codec_name,width,height -of csv=p=0 "$out/$name.png" 2>/dev/null)
  expect "$name size" '[ "$size" = "png,$w,$h" ] && [ ! -e "$out/$name.png.tmp" ]' "'$size', want png,$w,$h"
}

# The 48-pixel control bar at the bottom: many colours, light glyphs, mostly dark.
bar() {  # NAME WIDTH HEIGHT
  local colours light dark n
  read -r colours light dark _ n _ <<< "$(band "$1" "$2" $(($3 - 48)) "$3")"
  expect "$1 bar" '[ "$colours" -ge 16 ] && [ "$light" -ge 100 ] && [ $((dark * 10)) -ge $((n * 6)) ]' \
    "$colours colours, $light light and $dark dark of $n pixels"
}

for size in 192x108 192x192 320x180 640x360 800x450 1280x720; do
  w=${size%x*}; h=${size#*x}
  if shoot "video-$size" "$w" "$h" video OUT "$w" "$h"; then
    bar "video-$size" "$w" "$h"
    read -r _ _ _ lit n _ <<< "$(band "video-$size" "$w" 0 $((h - 48)))"
    read -r _ _ _ _ _ _ yellow <<< "$(band "video-$size" "$w" $((h - 48)) "$h")"
    expect "video-$size picture" '[ "$lit" -eq 0 ] && [ "$yellow" -ge 45 ]' \
      "$lit of $n picture pixels are not black; $yellow dot pixels in the bar"
  fi
  if shoot "audio-$size" "$w" "$h" audio OUT "$w" "$h"; then
    bar "audio-$size" "$w" "$h"
    read -r colours _ <<< "$(band "audio-$size" "$w" 0 $((h - 48)))"
    expect "audio-$size picture" '[ "$colours" -ge 16 ]' "only $colours colours in the picture area"  # a gradient
  fi
done
# The status line: light words on the black picture, in its middle third.
for state in loading failed; do
  shoot "video-$state" 640 360 "--$state" video OUT 640 360 || continue
  read -r _ light _ <<< "$(band "video-$state" 640 104 208)"
  read -r _ _ _ lit _ <<< "$(band "video-$state" 640 0 104)"
  expect "video-$state line" '[ "$light" -ge 20 ] && [ "$lit" -eq 0 ]' "$light light pixels mid-picture, $lit lit above"
done
if shoot videothumb 200 120 videothumb OUT; then
  read -r _ _ _ _ _ edge _ <<< "$(band videothumb 200 0 1)"
  read -r colours light _ <<< "$(band videothumb 200 0 120)"
  expect videothumb '[ "$edge" -eq 200 ] && [ "$colours" -ge 16 ] && [ "$light" -ge 100 ]' \
    "top edge $edge of 200 accent pixels, $colours colours, $light light pixels"
fi
[ "$failures" -eq 0 ]
